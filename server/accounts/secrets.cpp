#include "server/accounts/secrets.h"

#include <cstdlib>
#include <sodium.h>

namespace accounts {

namespace {
constexpr int VARIANT = sodium_base64_VARIANT_URLSAFE_NO_PADDING;
constexpr std::size_t SECRET_BYTES = 32;
constexpr std::size_t SECRET_LETTERS = 43;
constexpr std::string_view CODE_ALPHABET = "0123456789ABCDEFGHJKMNPQRSTVWXYZ"; // 5 bits each
constexpr std::size_t CODE_LETTERS = 16;
constexpr std::size_t CODE_GROUP = 4;

using secret_bytes = std::array<unsigned char, SECRET_BYTES>;

// What the costs are spent on when an account has no password.
const std::string& nobodys_hash()
{
    static const std::string hash = hash_password(new_secret());
    return hash;
}

bool matches(const std::string& hash, const std::string& password)
{
    return hash.size() < crypto_pwhash_STRBYTES &&
           crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}
} // namespace

void begin_secrets()
{
    if (sodium_init() < 0) std::abort();
}

std::string new_secret()
{
    secret_bytes bytes{};
    randombytes_buf(bytes.data(), bytes.size());
    std::string text(SECRET_LETTERS + 1, '\0'); // and the terminator
    sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), VARIANT);
    text.resize(SECRET_LETTERS);
    return text;
}

bool hash_secret(std::string_view secret, secret_hash& hash)
{
    secret_bytes bytes{};
    std::size_t length = 0;
    if (secret.size() != SECRET_LETTERS ||
        sodium_base642bin(bytes.data(), bytes.size(), secret.data(), secret.size(), nullptr,
                          &length, nullptr, VARIANT) != 0 ||
        length != bytes.size())
        return false;
    crypto_generichash(hash.data(), hash.size(), bytes.data(), bytes.size(), nullptr, 0);
    return true;
}

secret_hash hash_text(std::string_view text)
{
    secret_hash hash{};
    crypto_generichash(hash.data(), hash.size(),
                       reinterpret_cast<const unsigned char*>(text.data()), text.size(), nullptr,
                       0);
    return hash;
}

std::string new_code()
{
    std::string code;
    for (std::size_t i = 0; i < CODE_LETTERS; ++i) {
        if (i > 0 && i % CODE_GROUP == 0) code += '-';
        code += CODE_ALPHABET[randombytes_uniform(CODE_ALPHABET.size())];
    }
    return code;
}

secret_hash hash_code(std::string_view code)
{
    std::string letters;
    for (const char letter : code) {
        const bool is_small = letter >= 'a' && letter <= 'z';
        if (letter != '-' && letter != ' ')
            letters += is_small ? static_cast<char>(letter - 'a' + 'A') : letter;
    }
    return hash_text(letters);
}

bool same_secret(const secret_hash& one, const secret_hash& other)
{
    return sodium_memcmp(one.data(), other.data(), one.size()) == 0;
}

std::string text_of(const secret_hash& hash)
{
    std::string text(2 * hash.size() + 1, '\0');
    sodium_bin2hex(text.data(), text.size(), hash.data(), hash.size());
    text.pop_back();
    return text;
}

bool read_hash(std::string_view text, secret_hash& hash)
{
    std::size_t length = 0;
    return text.size() == 2 * hash.size() &&
           sodium_hex2bin(hash.data(), hash.size(), text.data(), text.size(), nullptr, &length,
                          nullptr) == 0 &&
           length == hash.size();
}

std::string hash_password(const std::string& password)
{
    std::array<char, crypto_pwhash_STRBYTES> hash{};
    if (crypto_pwhash_str(hash.data(), password.data(), password.size(),
                          crypto_pwhash_OPSLIMIT_INTERACTIVE,
                          crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0)
        return "";
    return hash.data();
}

bool password_matches(const std::string& hash, const std::string& password)
{
    if (hash.empty()) {
        matches(nobodys_hash(), password);
        return false;
    }
    return matches(hash, password);
}

} // namespace accounts
