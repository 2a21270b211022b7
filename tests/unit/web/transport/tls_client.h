// A client that speaks TLS, and certificates for its server.
#pragma once

#include <memory>
#include <openssl/ssl.h>
#include <string>

#include "server/web/tls_files.h"
#include "tools/common/descriptors.h"

struct tls_client {
    common::owned_descriptor socket; // connected
    std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> settings{SSL_CTX_new(TLS_client_method()),
                                                               SSL_CTX_free};
    std::unique_ptr<SSL, decltype(&SSL_free)> tls{nullptr, SSL_free};
    std::string to_send;
    std::string got;    // so far
    bool ended = false; // in order, or not
    int failure = 0;    // a reason of OpenSSL's; 0: none

    explicit tls_client(common::owned_descriptor connected);
};

// Goes on as far as it can without a wait: shakes hands, sends, reads what there is.
void go_on(tls_client& client);

// The name in the server's certificate; "" before the handshake.
std::string server_name(const tls_client& client);

// Makes a key and a certificate for this name that is its own root, and writes both.
void write_certificate(const web::tls_files& files, const char* name);
