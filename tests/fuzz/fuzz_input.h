// The fuzzer's bytes, read piece by piece as choices. When they are used up, every number is 0 and
// every text empty.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

struct fuzz_input {
    std::string_view rest;
};

inline fuzz_input input_of(const std::uint8_t* data, std::size_t size)
{
    return {{reinterpret_cast<const char*>(data), size}}; // the fuzzer's bytes are our characters
}

inline std::string read_bytes(fuzz_input& input, std::size_t count)
{
    const std::string bytes(input.rest.substr(0, count));
    input.rest.remove_prefix(bytes.size());
    return bytes;
}

inline unsigned read_number(fuzz_input& input)
{
    const std::string byte = read_bytes(input, 1);
    return byte.empty() ? 0 : static_cast<unsigned char>(byte[0]);
}

// One byte of length, then the text.
inline std::string read_text(fuzz_input& input)
{
    const std::size_t length = read_number(input);
    return read_bytes(input, length);
}
