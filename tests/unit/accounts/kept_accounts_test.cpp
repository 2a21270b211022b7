#include <random>

#include "server/accounts/kept_accounts.h"
#include "server/desk/limits.h"
#include "unit/accounts/accounts_test.h"
#include "unit/journal/journal_test.h"

using namespace accounts;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {
class KeptAccounts : public AccountsTest {
  protected:
    journal::tables tables;
    std::vector<journal::note> notes; // that have been kept

    KeptAccounts()
    {
        for (const auto& [id, person] : accounts.people)
            accounts.events.push_back({now.utc, "", "", event::kind::person_set, id});
        keep();
        notes.clear();
    }

    void keep()
    {
        SQLite::Transaction transaction(*tables.opened.file);
        for (journal::note& each : take_notes(accounts)) {
            keep_note(tables.store, each);
            notes.push_back(std::move(each));
        }
        transaction.commit();
    }

    // Whether they are the same again, but for uses that have not been told.
    bool come_again()
    {
        accounts_state again = kept_accounts(tables.store, now);
        for (auto& [hash, session] : accounts.sessions)
            session.used = session.use_told;
        for (auto& [id, token] : accounts.tokens)
            token.used = token.use_told;
        return again.people == accounts.people && again.tokens == accounts.tokens &&
               again.sessions == accounts.sessions && again.events.empty();
    }

    std::string complaint(const std::string& key, const std::string& value)
    {
        set(tables.store, key, value);
        std::string text;
        try {
            kept_accounts(tables.store, now);
        } catch (const journal::misfit& thrown) {
            text = thrown.what();
        }
        remove(tables.store, key);
        return text;
    }

    std::vector<std::string> kinds()
    {
        std::vector<std::string> all;
        for (const journal::note& each : notes)
            all.push_back(each.kind);
        return all;
    }
};

// Somebody who does things with accounts, by chance.
struct random_user {
    std::mt19937_64 chance;
    accounts_state& accounts;
    desk::moment& now;
    std::vector<std::string> secrets{};       // of sessions, also of ended ones
    std::vector<std::string> token_secrets{}; // likewise

    std::size_t below(std::size_t count)
    {
        return chance() % count;
    }

    std::string somebody()
    {
        constexpr std::array NAMES = {"eve", "anna", "ben", "kim@studio", "guest", "nobody"};
        return NAMES.at(below(NAMES.size()));
    }

    desk::rights some_rights()
    {
        desk::rights may{static_cast<desk::right>(below(5)), {}, {}};
        for (std::size_t i = below(3); i > 0; --i)
            may.exceptions["r" + std::to_string(i)] = static_cast<desk::right>(below(5));
        if (below(2) == 0) may.groups.emplace();
        if (may.groups && below(2) == 0) may.groups->insert({"Monitors", "Gallery \"2\""});
        return may;
    }

    void manage(const desk::actor& actor)
    {
        person wanted;
        token program;
        std::string secret;
        switch (below(7)) {
        case 0:
            wanted.name = "Søren \"2\" " + std::to_string(below(100));
            wanted.may = some_rights();
            wanted.disabled = below(4) == 0;
            set_person(accounts, now, actor, somebody(), wanted);
            break;
        case 1:
            remove_person(accounts, now, actor, somebody());
            break;
        case 2:
            set_password(accounts, now, actor, somebody(), below(4) == 0 ? "" : "a hash");
            break;
        case 3:
            set_settings(accounts, now, actor, R"({"theme": "dark"})");
            break;
        case 4:
        case 5:
            program.name = "playout";
            program.kind = static_cast<token_kind>(below(2));
            program.may = some_rights();
            if (below(2) == 0) program.expires = now.utc + desk::wall(below(100'000'000));
            make_token(accounts, now, actor, somebody(), program, secret);
            if (!secret.empty()) token_secrets.push_back(secret);
            break;
        case 6:
            if (!accounts.tokens.empty())
                remove_token(accounts, now, actor, accounts.tokens.begin()->first);
            break;
        }
    }

    void sign_in_or_out()
    {
        desk::actor actor;
        const std::string known = secrets.empty() ? "" : secrets[below(secrets.size())];
        switch (below(5)) {
        case 4:
            for (const std::string& each : token_secrets)
                actor_of_token(accounts, now, each, token_kind::api, actor);
            break;
        case 0:
            secrets.push_back(open_session(accounts, now, somebody(), "10.0.0.7"));
            break;
        case 1:
            actor_of_session(accounts, now, known, actor);
            break;
        case 2:
            if (below(3) == 0) end_session(accounts, now, known);
            break;
        case 3:
            end_old_sessions(accounts, now);
            break;
        }
    }
};
} // namespace

TEST_F(KeptAccounts, AreTheSameAfterAnyHistory)
{
    const std::uint64_t seed = std::random_device{}();
    random_user user{std::mt19937_64(seed), accounts, now};
    for (int i = 0; i < 2000; ++i) {
        advance(std::chrono::minutes(user.below(20)) - std::chrono::minutes(2));
        user.manage(user.below(3) == 0 ? anna : eve);
        user.sign_in_or_out();
        keep();
        if (i % 20 != 0) continue;
        ASSERT_TRUE(come_again()) << "seed " << seed << ", step " << i;
    }
    EXPECT_TRUE(come_again()) << "seed " << seed;
}

TEST_F(KeptAccounts, AreTheSameWhenTheyAreKeptWholeAfterALoss)
{
    random_user user{std::mt19937_64(7), accounts, now};
    for (int i = 0; i < 200; ++i) {
        user.manage(eve);
        user.sign_in_or_out();
        if (user.below(2) == 0) take_notes(accounts); // which are lost
        keep();
    }
    ASSERT_FALSE(come_again());
    keep_note(tables.store, whole_note(accounts));
    EXPECT_TRUE(come_again());
}

TEST_F(KeptAccounts, TellTheHistoryWhatHasHappened)
{
    person ben;
    ben.name = "Ben L.";
    ben.may = {desk::right::view, {{"r1", desk::right::operate}}, {{"Monitors"}}};
    set_person(accounts, now, eve, "ben", ben);
    set_password(accounts, now, eve, "ben", "a hash");
    token program;
    program.name = "playout";
    program.may.usual = desk::right::operate;
    std::string secret;
    make_token(accounts, now, eve, "automation", program, secret);
    keep();
    ASSERT_THAT(kinds(), ElementsAre(PERSON_SET, PASSWORD_SET, TOKEN_MADE));
    EXPECT_EQ(notes[0].at, now.utc);
    EXPECT_EQ(notes[0].person, "eve");
    EXPECT_EQ(notes[0].origin, "test");
    EXPECT_EQ(notes[0].data, R"({"disabled":false,"id":"ben","name":"Ben L.","rights":)"
                             R"({"exceptions":{"r1":"operate"},"groups":["Monitors"],)"
                             R"("usual":"view"}})");
    EXPECT_EQ(notes[1].data, R"({"id":"ben"})");
    EXPECT_EQ(notes[2].data, R"({"id":"automation","kind":"api","name":"playout","rights":)"
                             R"({"exceptions":{},"usual":"operate"}})");
    notes.clear();
    remove_token(accounts, now, eve, "automation");
    remove_person(accounts, now, eve, "ben");
    keep();
    EXPECT_THAT(kinds(), ElementsAre(TOKEN_REMOVED, PERSON_REMOVED));
    EXPECT_EQ(notes[0].data, R"({"id":"automation"})");
    EXPECT_EQ(notes[1].data, R"({"id":"ben"})");
}

TEST_F(KeptAccounts, TellTheHistoryOfSignIns)
{
    const std::string secret = open_session(accounts, now, "anna", "10.0.0.7");
    advance(SESSION_USE_KEPT);
    desk::actor actor;
    actor_of_session(accounts, now, secret, actor);
    end_session(accounts, now, secret);
    tell(accounts, now, {"anna", "10.0.0.8", {}}, event::kind::sign_in_failed, "");
    tell(accounts, now, {"my password", "10.0.0.8", {}}, event::kind::sign_in_failed, "");
    keep();
    EXPECT_THAT(kinds(), ElementsAre(SIGNED_IN, "", SESSION_ENDED, SIGN_IN_FAILED, SIGN_IN_FAILED));
    EXPECT_EQ(notes[0].person, "anna");
    EXPECT_EQ(notes[0].origin, "10.0.0.7");
    EXPECT_EQ(notes[3].person, "anna");
    EXPECT_EQ(notes[4].person, "") << "there is nobody of this name";
    EXPECT_EQ(notes[4].origin, "10.0.0.8");
}

TEST_F(KeptAccounts, TellTheHistoryNoSecretAndNoHash)
{
    set_password(accounts, now, eve, "anna", "a hash that nobody may see");
    set_settings(accounts, now, anna, R"({"theme": "dark"})");
    token program;
    program.name = "playout";
    std::string secret;
    make_token(accounts, now, eve, "automation", program, secret);
    open_session(accounts, now, "anna", "10.0.0.7");
    const std::string token_hash = text_of(accounts.tokens.begin()->second.hash);
    const std::string session_hash = text_of(accounts.sessions.begin()->first);
    keep();
    std::string told;
    for (const journal::note& each : notes)
        if (!each.kind.empty()) told += each.kind + each.person + each.origin + each.data;
    for (const std::string& hidden :
         {std::string("nobody may see"), secret, token_hash, session_hash, std::string("theme")})
        EXPECT_THAT(told, Not(HasSubstr(hidden)));
}

TEST_F(KeptAccounts, ForgetWhatIsOfNobody)
{
    set(tables.store, "sessions/" + text_of(secret_hash{}),
        R"({"person": "ben", "address": "", "begun": 7, "used": 7})");
    accounts = kept_accounts(tables.store, now);
    EXPECT_THAT(accounts.sessions, IsEmpty());
    keep();
    EXPECT_THAT(kinds(), ElementsAre(SESSION_ENDED));
    EXPECT_THAT(list(tables.store, "sessions/"), IsEmpty());
}

TEST_F(KeptAccounts, PassOverMembersThatTheyDoNotKnow)
{
    set(tables.store, "people/ben", R"({"name": "Ben", "disabled": true, "created": 7, "colour": 1,
        "rights": {"usual": "view", "exceptions": {}, "from": "18:00"}})");
    const person ben = kept_accounts(tables.store, now).people.at("ben");
    EXPECT_EQ(ben.name, "Ben");
    EXPECT_TRUE(ben.disabled);
}

TEST_F(KeptAccounts, TakeTextThatIsNoUtf8)
{
    person odd;
    odd.name = std::string(desk::TEXT_LENGTH, '\xff');
    set_person(accounts, now, eve, "ben", odd);
    keep();
    EXPECT_EQ(kept_accounts(tables.store, now).people.at("ben").name,
              std::string(desk::TEXT_LENGTH, '?'));
}

TEST_F(KeptAccounts, SayWhichKeyIsWrong)
{
    EXPECT_EQ(complaint("people/ben", "["), "people/ben is no JSON");
    EXPECT_EQ(complaint("people/ben", "{}"), "people/ben has no \"name\"");
    EXPECT_EQ(complaint("people/Ben", "{}"), "people/Ben is no person's key");
    EXPECT_EQ(complaint("people/ben/x", "{}"), "people/ben/x is no key of the accounts");
    EXPECT_EQ(complaint("people/ben", R"({"name": "Ben", "created": 7,
                        "rights": {"usual": "all", "exceptions": {}}})"),
              "people/ben.rights.usual must not be \"all\"");
    EXPECT_EQ(complaint("people/ben", R"({"name": "Ben", "created": -7,
                        "rights": {"usual": "view", "exceptions": {"r1": "none"}}})"),
              "people/ben.created must be a whole number from 0 to 253402300799999");
    EXPECT_EQ(complaint("tokens/P", "{}"), "tokens/P is no token's key");
    EXPECT_EQ(complaint("tokens/p", R"({"name": "x", "kind": "api", "created": 7, "hash": "12",
                        "rights": {"usual": "view", "exceptions": {}}})"),
              "tokens/p.hash is no hash");
    EXPECT_EQ(complaint("sessions/12", "{}"), "sessions/12 is no hash");
}
