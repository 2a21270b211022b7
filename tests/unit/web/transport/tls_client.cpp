#include "unit/web/transport/tls_client.h"

#include <array>
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace {
// True when the call is to be made again, later.
bool waits(tls_client& client, int result)
{
    const int kind = SSL_get_error(client.tls.get(), result);
    if (kind == SSL_ERROR_WANT_READ || kind == SSL_ERROR_WANT_WRITE) return true;
    client.ended = true;
    if (kind == SSL_ERROR_SSL) client.failure = ERR_GET_REASON(ERR_peek_error());
    return false;
}

X509_NAME* subject_of(const X509* certificate)
{
    return X509_get_subject_name(certificate);
}
} // namespace

tls_client::tls_client(common::owned_descriptor connected) : socket(std::move(connected))
{
    std::string error;
    EXPECT_TRUE(common::set_nonblocking(socket.number, error)) << error;
}

void go_on(tls_client& client)
{
    if (!client.tls) {
        client.tls.reset(SSL_new(client.settings.get()));
        SSL_set_fd(client.tls.get(), client.socket.number);
        SSL_set_connect_state(client.tls.get());
    }
    ERR_clear_error();
    SSL* const tls = client.tls.get();
    if (client.ended) return;
    if (SSL_is_init_finished(tls) == 0) {
        const int result = SSL_do_handshake(tls);
        if (result != 1) {
            waits(client, result);
            return;
        }
    }
    while (!client.to_send.empty()) {
        const int sent =
            SSL_write(tls, client.to_send.data(), static_cast<int>(client.to_send.size()));
        if (sent <= 0) {
            waits(client, sent);
            break;
        }
        client.to_send.erase(0, static_cast<std::size_t>(sent));
    }
    std::array<char, 16'384> bytes{};
    while (!client.ended) {
        const int size = SSL_read(tls, bytes.data(), static_cast<int>(bytes.size()));
        if (size > 0)
            client.got.append(bytes.data(), static_cast<std::size_t>(size));
        else if (waits(client, size))
            return;
    }
}

std::string server_name(const tls_client& client)
{
    const X509* const certificate = SSL_get0_peer_certificate(client.tls.get());
    if (certificate == nullptr) return "";
    std::array<char, 64> name{};
    X509_NAME_get_text_by_NID(subject_of(certificate), NID_commonName, name.data(),
                              static_cast<int>(name.size()));
    return name.data();
}

void write_certificate(const web::tls_files& files, const char* name)
{
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"), EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> made(X509_new(), X509_free);
    constexpr long HOUR = 3600;
    X509_set_version(made.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(made.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(made.get()), -HOUR);
    X509_gmtime_adj(X509_getm_notAfter(made.get()), HOUR);
    X509_set_pubkey(made.get(), key.get());
    X509_NAME_add_entry_by_txt(subject_of(made.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
    X509_set_issuer_name(made.get(), subject_of(made.get()));
    X509_sign(made.get(), key.get(), EVP_sha256());
    const std::unique_ptr<BIO, decltype(&BIO_free)> certificate(
        BIO_new_file(files.certificate.c_str(), "w"), BIO_free);
    const std::unique_ptr<BIO, decltype(&BIO_free)> secret(BIO_new_file(files.key.c_str(), "w"),
                                                           BIO_free);
    ASSERT_EQ(PEM_write_bio_X509(certificate.get(), made.get()), 1);
    ASSERT_EQ(
        PEM_write_bio_PrivateKey(secret.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr),
        1);
}
