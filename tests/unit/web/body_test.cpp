#include <ctime>
#include <gtest/gtest.h>

#include "server/web/body.h"

using namespace web;

namespace {
// Why the text is refused; empty when it is read.
std::string refusal_of(const std::string& text)
{
    json value;
    std::string error;
    const bool read = read_json(text, value, error);
    EXPECT_EQ(read, error.empty());
    return error;
}

std::string repeated(std::size_t times, const std::string& text)
{
    std::string all;
    for (std::size_t i = 0; i < times; ++i)
        all += text;
    return all;
}
} // namespace

TEST(Body, IsReadAsItStands)
{
    const std::string text =
        R"({"b":[1,-2,1.5,true,null,[],{}],"a":{"":"x","c":[[{"d":"\u00e9"}]]},"e":12345678901})";
    json value;
    std::string error;
    ASSERT_TRUE(read_json(text, value, error)) << error;
    EXPECT_EQ(value, json::parse(text));
    EXPECT_EQ(text_of(value), text_of(json::parse(text))); // in the same order
    ASSERT_TRUE(read_json("\"alone\"", value, error)) << error;
    EXPECT_EQ(value, "alone");
}

// What looks at a part again for each other part needs 60 times as long for each of these.
TEST(Body, TakesNoLongerForAPartWhenThereAreMore)
{
    const auto time_of_one = [](std::size_t parts) {
        const std::string text = "[" + repeated(parts - 1, "{},") + "{}]";
        const std::clock_t begin = std::clock(); // of the processor, whoever else uses it
        EXPECT_EQ(refusal_of(text), "");
        return static_cast<double>(std::clock() - begin) / static_cast<double>(parts);
    };
    EXPECT_LT(time_of_one(600'000), 30 * time_of_one(10'000));
}

TEST(Body, IsRefusedBeyondItsBounds)
{
    EXPECT_EQ(refusal_of(repeated(32, "[") + repeated(32, "]")), "");
    EXPECT_EQ(refusal_of(repeated(33, "[") + repeated(33, "]")),
              "The body is no JSON that is read here: it is more than 32 levels deep.");
    EXPECT_EQ(refusal_of(R"({"a":1,"b":{"a":2},"a":3})"),
              "The body is no JSON that is read here: \"a\" stands there twice.");
    std::string members = "{\"0\":0";
    for (int i = 1; i < 2000; ++i)
        members += ",\"" + std::to_string(i) + "\":0";
    EXPECT_EQ(refusal_of(members + "}"), "");
    EXPECT_EQ(refusal_of(members + ",\"2000\":0}"),
              "The body is no JSON that is read here: an object has too many members.");
}

TEST(Body, WithANumberBeyondADoubleIsRefused)
{
    for (const char* const text : {"1e999", "{\"a\":-1e999}", "[1e400]"})
        EXPECT_TRUE(refusal_of(text).starts_with("The body is no JSON: it goes wrong at byte "))
            << text;
}

TEST(Body, ThatIsNoJsonIsRefused)
{
    for (const char* const text : {"{", "{\"a\":}", "[1,]", "nul", "1 2", "\"\xff\""})
        EXPECT_TRUE(refusal_of(text).starts_with("The body is no JSON: it goes wrong at byte "))
            << text;
}
