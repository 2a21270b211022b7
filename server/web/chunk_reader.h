// A body that comes in chunks (RFC 9112, 7.1), with any extensions and trailer, which are passed
// over: they could say what the head must say.
#pragma once

#include <cstddef>
#include <string>

namespace web {

enum class chunk_part { size, bytes, end, trailer };

struct chunk_reader {
    chunk_part next = chunk_part::size;
    std::size_t left = 0;    // bytes of the chunk
    std::size_t trailer = 0; // bytes of it so far
};

enum class chunk_reading { more, whole, malformed, too_large };

// Takes from the input's front what it can and appends the chunks to the body, at most
// LONGEST_BODY.
chunk_reading read_chunks(chunk_reader& reader, std::string& input, std::string& body);

} // namespace web
