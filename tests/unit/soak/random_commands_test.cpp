// Every random command is given to the backend's own handler, which must answer as is expected.
#include <map>
#include <sstream>

#include "parent/record.h"
#include "soak/random_commands.h"
#include "support/backend_test.h"

using namespace soak;

namespace {
class RandomCommands : public BackendTest {
  protected:
    std::mt19937_64 random;

    // What the backend writes in answer to the command: records as they stand.
    std::string answer_to(const parent_command& command)
    {
        parent_says_bytes(command.bytes);
        handle_parent_input();
        return parent_hears();
    }

    static std::string expected_answer(const parent_command& command, const std::string& id)
    {
        std::string text;
        if (command.replied) encode_record({command.command, command.error, "reply", id, {}}, text);
        return text;
    }
};
} // namespace

TEST_F(RandomCommands, AreAnsweredAsExpected)
{
    for (int i = 1; i <= 3000; ++i) {
        const std::string id = std::to_string(i);
        const parent_command command = random_flood_command(random, id);
        ASSERT_EQ(answer_to(command), expected_answer(command, id)) << command.bytes;
        diagnostics();
    }
}

TEST_F(RandomCommands, HoldEveryKind)
{
    std::map<std::string, int> kinds;
    for (int i = 1; i <= 3000; ++i) {
        const parent_command command = random_flood_command(random, "1");
        ++kinds[!command.replied        ? "unanswered"
                : command.error.empty() ? command.command
                                        : command.error.substr(0, 7)];
        if (command.reaches_router)
            ++kinds[command.command.empty() ? "queries the router" : "flushes"];
    }
    for (const char* kind : {"unanswered", "route output", "", "Unknown", "Message", "I do no",
                             "queries the router", "flushes"})
        EXPECT_GT(kinds[kind], 50) << kind;
}

TEST_F(RandomCommands, QuietOnesDoNotReachTheRouter)
{
    for (int i = 1; i <= 3000; ++i) {
        const parent_command command = random_quiet_command(random, "1");
        ASSERT_FALSE(command.reaches_router);
        ASSERT_EQ(command.bytes.find("queue=flush\n\n"),
                  command.replied ? std::string::npos : command.bytes.find("queue=flush"));
    }
}

TEST_F(RandomCommands, AreTheSameFromTheSameSeed)
{
    std::mt19937_64 first(7);
    std::mt19937_64 second(7);
    std::mt19937_64 third(8);
    std::string one;
    std::string two;
    std::string three;
    for (int i = 0; i < 100; ++i) {
        one += random_flood_command(first, "1").bytes;
        two += random_flood_command(second, "1").bytes;
        three += random_flood_command(third, "1").bytes;
    }
    EXPECT_EQ(one, two);
    EXPECT_NE(one, three);
}
