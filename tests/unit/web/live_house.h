// A house in which anything may happen, for tests of those who follow it.
#pragma once

#include <random>
#include <set>
#include <string>

#include "unit/web/server_test.h"

namespace web_test {

struct live_house : ServerTest {
    std::mt19937 chance;
    int named = 0; // how often something was given a new name

    explicit live_house(unsigned seed);

    void TestBody() override
    {
    }

    unsigned below(std::size_t bound)
    {
        return static_cast<unsigned>(chance() % bound);
    }

    void change_something();

    // What a follower of the router has put together is what the API answers.
    void expect_what_is_got(const std::string& router, const web::json& data);

  private:
    std::string any_router();
    std::string any_salvo();
    void change_router();
    void change_settings();
    void change_names();
    void change_locks();
    void change_stages();
    void change_salvos();
    void change_people();
    void carry_out_a_wish();
    void pass_a_frame();
};

// Takes out of both what need not be the same: how old a revision, a time or an operation is that
// was told before, and the order in lists.
void make_comparable(web::json& has, web::json& wanted);
nlohmann::json sorted(const web::json& value);

} // namespace web_test
