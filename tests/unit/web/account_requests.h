// A server on which people sign in: Ana, who administers, and Ben. The test plays the worker:
// the hash of a password is "hash of" and the password.
#pragma once

#include "server/accounts/sessions.h"
#include "unit/web/server_test.h"

namespace web_test {

using plain = nlohmann::json; // whose members have no order

struct AccountRequests : ServerTest {
    AccountRequests()
    {
        accounts::begin_secrets();
        server.settings.demonstration = false;
        accounts::person ana;
        ana.name = "Ana K.";
        ana.password = "hash of correct horse battery staple";
        ana.may.usual = desk::right::administer;
        ana.created = now.utc;
        accounts::person ben = ana;
        ben.name = "Ben L.";
        ben.password = "hash of river otter lantern";
        ben.may = {desk::right::view, {{"r1", desk::right::operate}}, {{"Monitors"}}};
        server.accounts.people = {{"ana", ana}, {"ben", ben}};
    }

    static plain json_of(const web::response& response)
    {
        return plain::parse(response.body, nullptr, false);
    }

    // Does what the worker has been asked, until nothing is asked any more.
    void answer_passwords()
    {
        while (!server.passwords.questions.empty()) {
            const accounts::password_question asked = server.passwords.questions.front();
            server.passwords.questions.pop_front();
            const std::string hash = "hash of " + asked.password;
            server.passwords.results.push_back({asked.number,
                                                !asked.to_be_hashed && asked.hash == hash,
                                                asked.to_be_hashed ? hash : ""});
            if (server.passwords.questions.empty()) pass();
        }
    }

    web::response ask_with_password(web::method method, const std::string& target,
                                    const std::string& body)
    {
        const web::request_id id = send(method, target, body);
        wait(accounts::LONGEST_WAIT);
        answer_passwords();
        EXPECT_TRUE(answers.contains(id)) << "no answer to " << target;
        return answers[id];
    }

    web::request_id send_password(const std::string& person, const std::string& password = "wrong")
    {
        return send(web::method::post, "/api/v1/session",
                    plain{{"person", person}, {"password", password}}.dump());
    }

    // As a browser sends it from a page of the server, with the cookie of this `Set-Cookie`.
    void with_cookie(const std::string& set_cookie)
    {
        headers = {{"cookie", set_cookie.substr(0, set_cookie.find(';'))},
                   {"origin", "http://localhost"}};
    }

    void as(const std::string& person)
    {
        with_cookie("session=" + accounts::open_session(server.accounts, now, person, "127.0.0.1"));
    }
};

} // namespace web_test
