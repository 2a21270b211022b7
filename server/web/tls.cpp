#include "server/web/tls.h"

#include <openssl/ssl.h>

namespace web {

namespace {
namespace ssl = boost::asio::ssl;

constexpr const char* CIPHERS_OF_TLS_1_2 =
    "ECDHE-ECDSA-AES128-GCM-SHA256:ECDHE-RSA-AES128-GCM-SHA256:"
    "ECDHE-ECDSA-AES256-GCM-SHA384:ECDHE-RSA-AES256-GCM-SHA384:"
    "ECDHE-ECDSA-CHACHA20-POLY1305:ECDHE-RSA-CHACHA20-POLY1305";
} // namespace

std::shared_ptr<ssl::context> read_tls(const tls_files& files, std::string& error)
{
    auto tls = std::make_shared<ssl::context>(ssl::context::tls_server);
    SSL_CTX* const native = tls->native_handle();
    SSL_CTX_set_min_proto_version(native, TLS1_2_VERSION);
    SSL_CTX_set_cipher_list(native, CIPHERS_OF_TLS_1_2);
    SSL_CTX_set_options(native, SSL_OP_NO_COMPRESSION | SSL_OP_NO_RENEGOTIATION);
    SSL_CTX_set_mode(native, SSL_MODE_RELEASE_BUFFERS); // most connections are idle
    // Nobody is there to type one.
    SSL_CTX_set_default_passwd_cb(native, [](char*, int, int, void*) { return 0; });

    boost::system::error_code failure;
    tls->use_certificate_chain_file(files.certificate, failure);
    if (failure) {
        error = files.certificate + ": " + failure.message();
        return nullptr;
    }
    tls->use_private_key_file(files.key, ssl::context::pem, failure); // compares them
    if (failure) {
        error = files.key + ": " + failure.message();
        return nullptr;
    }
    return tls;
}

} // namespace web
