// Secrets: those that we make, and passwords. What is kept of either is a hash.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace accounts {

using secret_hash = std::array<unsigned char, 32>;

// Before anything else here; ends the process when the system has no random source.
void begin_secrets();

// 256 random bits in 43 letters of base 64 as in addresses: letters, digits, '-' and '_'.
std::string new_secret();

// False when the text is none that new_secret makes.
bool hash_secret(std::string_view secret, secret_hash& hash);

// Of any text; for passwords see below.
secret_hash hash_text(std::string_view text);
// 80 random bits to be typed by a person: "4Q2K-9WTX-7HNP-3RVD". Its hash is the same in small
// letters and without the hyphens.
std::string new_code();
secret_hash hash_code(std::string_view code);

// In a time that does not tell where they differ.
bool same_secret(const secret_hash& one, const secret_hash& other);

std::string text_of(const secret_hash& hash); // 64 hexadecimal digits
bool read_hash(std::string_view text, secret_hash& hash);

// Argon2id with its salt and costs, as text. Takes 64 MiB and some tenths of a second: not for a
// loop that serves others. Empty when there is no memory for it.
std::string hash_password(const std::string& password);

// As costly. A hash that is none, as that of nobody's account, never matches and costs the same.
bool password_matches(const std::string& hash, const std::string& password);

} // namespace accounts
