// Requests, streams and WebSockets inside of TLS.
#include <filesystem>
#include <openssl/sslerr.h>

#include "support/patience.h"
#include "unit/web/transport/tls_client.h"
#include "unit/web/transport/transport_test.h"

using namespace web;
using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;

namespace {
const std::string REQUEST = "GET /a HTTP/1.1\r\nHost: localhost\r\n\r\n";
const std::string LAST = "GET /a HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";

class Tls : public TransportTest {
  protected:
    std::string folder = testing::TempDir() + "tls_" +
                         testing::UnitTest::GetInstance()->current_test_info()->name() +
                         std::to_string(getpid());
    tls_files files{folder + "/certificate.pem", folder + "/key.pem"};
    std::list<tls_client> tls_clients;

    Tls()
    {
        std::filesystem::create_directories(folder);
        write_certificate(files, "localhost");
    }

    ~Tls() override
    {
        std::filesystem::remove_all(folder);
    }

    tls_client& open(const std::string& bytes = "")
    {
        tls_client& client = tls_clients.emplace_back(std::move(connect().socket));
        client.to_send = bytes;
        return client;
    }

    void until_with(tls_client& client, const std::string& what, const std::function<bool()>& holds)
    {
        until(what, [&] {
            go_on(client);
            return holds();
        });
    }

    void until_got(tls_client& client, const std::string& text)
    {
        until_with(client, text, [&] { return client.got.find(text) != std::string::npos; });
    }

    void until_ended(tls_client& client)
    {
        until_with(client, "its end", [&] { return client.ended; });
    }
};
} // namespace

TEST_F(Tls, AnswersARequest)
{
    start(&files);
    tls_client& client = open(LAST);
    SSL_CTX_load_verify_file(client.settings.get(), files.certificate.c_str());
    SSL_CTX_set_verify(client.settings.get(), SSL_VERIFY_PEER, nullptr);
    until_ended(client);
    EXPECT_EQ(client.failure, 0);
    EXPECT_EQ(server_name(client), "localhost");
    EXPECT_STREQ(SSL_get_version(client.tls.get()), "TLSv1.3");
    EXPECT_EQ(status_line(client.got), "HTTP/1.1 200 OK");
    EXPECT_THAT(client.got, EndsWith("\r\n\r\n/a "));
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_TRUE(requests.begin()->second.encrypted);
    // Its end was told: nobody can have cut the answer short.
    EXPECT_NE(SSL_get_shutdown(client.tls.get()) & SSL_RECEIVED_SHUTDOWN, 0);
}

TEST_F(Tls, SpeaksVersion12WithForwardSecrecyAlone)
{
    start(&files);
    tls_client& older = open(LAST);
    SSL_CTX_set_max_proto_version(older.settings.get(), TLS1_2_VERSION);
    until_ended(older);
    EXPECT_STREQ(SSL_get_version(older.tls.get()), "TLSv1.2");
    EXPECT_THAT(older.got, EndsWith("\r\n\r\n/a "));
    tls_client& weak = open(LAST);
    SSL_CTX_set_max_proto_version(weak.settings.get(), TLS1_2_VERSION);
    SSL_CTX_set_cipher_list(weak.settings.get(), "ECDHE-ECDSA-AES128-SHA");
    until_ended(weak);
    EXPECT_EQ(weak.failure, SSL_R_SSLV3_ALERT_HANDSHAKE_FAILURE);
}

TEST_F(Tls, SpeaksNoOlderVersion)
{
    start(&files);
    tls_client& client = open(LAST);
    SSL_CTX_set_cipher_list(client.settings.get(), "ALL:@SECLEVEL=0"); // else it would not try
    SSL_CTX_set_min_proto_version(client.settings.get(), TLS1_VERSION);
    SSL_CTX_set_max_proto_version(client.settings.get(), TLS1_1_VERSION);
    until_ended(client);
    EXPECT_EQ(client.failure, SSL_R_TLSV1_ALERT_PROTOCOL_VERSION);
    EXPECT_TRUE(requests.empty());
}

TEST_F(Tls, EndsAClientThatSpeaksNone)
{
    limits.handshake = PATIENCE * 2;
    start(&files);
    test_client& client = connect(REQUEST);
    TransportTest::until_ended(client);
    EXPECT_THAT(client.got, testing::Not(HasSubstr("HTTP")));
    EXPECT_TRUE(requests.empty());
}

TEST_F(Tls, BoundsTheTimeOfTheHandshake)
{
    limits.handshake = 300ms;
    start(&files);
    test_client& silent = connect();
    test_client& begun = connect("\x16\x03\x01\x02");
    TransportTest::until_ended(silent);
    TransportTest::until_ended(begun);
    EXPECT_EQ(counters(*served).open, 0U);
}

TEST_F(Tls, SaysThatARequestIsTooSlow)
{
    limits.request = 300ms;
    start(&files);
    tls_client& client = open("GET /a HTTP/1.1\r\n");
    until_ended(client);
    EXPECT_EQ(problem_of(client.got), "408 tooSlow");
}

TEST_F(Tls, SendsALongAnswerWhole)
{
    start(&files);
    const std::string body(4 << 20, 'x');
    on_request = [&](request_id id, const request&) {
        respond(*served, id, {200, "", body, {}});
    };
    tls_client& client = open(LAST);
    until_ended(client);
    EXPECT_TRUE(body_of(client.got) == body);
}

TEST_F(Tls, CarriesAStreamToItsEnd)
{
    start(&files);
    on_request = [&](request_id id, const request&) {
        open_stream(*served, id, {200, "text/event-stream", "one", {}});
    };
    tls_client& client = open(REQUEST);
    until_got(client, "3\r\none\r\n");
    finish(*served, requests.begin()->first);
    until_got(client, "\r\n0\r\n\r\n");
    EXPECT_FALSE(client.ended);
}

TEST_F(Tls, CarriesAWebsocketToItsEnd)
{
    start(&files);
    on_request = [&](request_id id, const request&) {
        open_websocket(*served, id, "");
    };
    tls_client& client = open("GET /live HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\n"
                              "Connection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                              "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n");
    until_got(client, "\r\n\r\n");
    client.to_send = std::string("\x81\x82\0\0\0\0hi", 8);
    until_with(client, "the message", [&] { return !messages.empty(); });
    EXPECT_EQ(messages[0], "hi");
    const stream_id stream = requests.begin()->first;
    send(*served, stream, std::make_shared<const std::string>("yes"));
    send(*served, stream, std::make_shared<const std::string>("more"));
    finish(*served, stream);
    until_got(client, std::string("\x81\x03yes\x81\x04more\x88\x02\x03\xe8", 15)); // 1000
}

TEST_F(Tls, TakesANewCertificateForWhoeverComesFromNowOn)
{
    start(&files);
    tls_client& before = open(REQUEST);
    until_got(before, "/a ");
    write_certificate(files, "renewed.example");
    std::string error;
    EXPECT_TRUE(reload_certificates(*served, error)) << error;
    tls_client& after = open(REQUEST);
    until_got(after, "/a ");
    EXPECT_EQ(server_name(after), "renewed.example");
    before.got.clear();
    before.to_send = REQUEST;
    until_got(before, "/a ");
    EXPECT_EQ(server_name(before), "localhost");
}

TEST_F(Tls, KeepsItsCertificateWhenTheNewOneCannotBeUsed)
{
    start(&files);
    const tls_files other{folder + "/other.pem", folder + "/other_key.pem"};
    write_certificate(other, "other.example");
    std::filesystem::rename(other.certificate, files.certificate); // the key is not its own
    std::string error;
    EXPECT_FALSE(reload_certificates(*served, error));
    EXPECT_THAT(error, testing::StartsWith(files.key + ": key values mismatch"));
    tls_client& client = open(REQUEST);
    until_got(client, "/a ");
    EXPECT_EQ(server_name(client), "localhost");
}

TEST_F(Tls, SaysWhichFileCannotBeUsed)
{
    start();
    std::string error;
    const tls_files none{folder + "/none.pem", files.key};
    EXPECT_EQ(listen(*served, "127.0.0.1", 0, &none, error), 0);
    EXPECT_THAT(error, testing::StartsWith(none.certificate + ": No such file or directory"));
}
