#include <gmock/gmock.h>

#include "server/web/target.h"

using namespace web;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

namespace {
class Target : public testing::Test {
  protected:
    request read;
    std::string error;

    bool reads(const std::string& target)
    {
        read = {};
        return read_target(target, read, error);
    }
};
} // namespace

TEST_F(Target, HasPathAndQuery)
{
    ASSERT_TRUE(reads("/api/v1/routers/r1?since=7&by=name"));
    EXPECT_THAT(read.path, ElementsAre("api", "v1", "routers", "r1"));
    EXPECT_THAT(read.query, ElementsAre(Pair("since", "7"), Pair("by", "name")));
    EXPECT_EQ(*find_parameter(read, "by"), "name");
    EXPECT_EQ(find_parameter(read, "to"), nullptr);
}

TEST_F(Target, MayHaveLittle)
{
    ASSERT_TRUE(reads("/"));
    EXPECT_THAT(read.path, IsEmpty());
    ASSERT_TRUE(reads("/a/?"));
    EXPECT_THAT(read.path, ElementsAre("a"));
    EXPECT_THAT(read.query, IsEmpty());
    ASSERT_TRUE(reads("/a?x&&y="));
    EXPECT_THAT(read.query, ElementsAre(Pair("x", ""), Pair("y", "")));
}

TEST_F(Target, IsDecoded)
{
    ASSERT_TRUE(reads("/MON%20A+B/%c3%A4%69?na+me=a%3Db%26+c=d%2B"));
    EXPECT_THAT(read.path, ElementsAre("MON A+B", "\xc3\xa4i"));
    EXPECT_THAT(read.query, ElementsAre(Pair("na me", "a=b& c=d+")));
}

TEST_F(Target, ThatMightMeanAnotherPathIsRefused)
{
    for (const char* target : {"", "a", "?a", "//a", "/a//b", "/a//", "/.", "/a/..", "/a/../b",
                               "/%2e%2e/b", "/a%2Fb", "/a/%2E"}) {
        EXPECT_FALSE(reads(target)) << target;
        EXPECT_THAT(error, StartsWith("The address ")) << target;
    }
}

TEST_F(Target, ThatIsNoTextIsRefused)
{
    for (const char* bad : {"%", "%4", "%4g", "%g4", "%%41"}) {
        EXPECT_FALSE(reads(std::string("/") + bad)) << bad;
        EXPECT_FALSE(reads(std::string("/?x=") + bad)) << bad;
        EXPECT_EQ(error, "The address has a % that two hexadecimal digits do not follow.");
    }
    for (const char* bad : {"%00", "%0a", "%1F", "%7f", "\t"}) {
        EXPECT_FALSE(reads(std::string("/") + bad)) << bad;
        EXPECT_FALSE(reads(std::string("/?") + bad + "=x")) << bad;
        EXPECT_EQ(error, "The address has a control character.");
    }
    for (const char* bad : {"%ff", "\xff", "%c3"}) {
        EXPECT_FALSE(reads(std::string("/") + bad)) << bad;
        EXPECT_EQ(error, "The address is no UTF-8.");
    }
}

TEST_F(Target, WithAParameterTwiceIsRefused)
{
    EXPECT_FALSE(reads("/?a=1&b=2&a=1"));
    EXPECT_EQ(error, "The address has the parameter a twice.");
}

TEST_F(Target, IsBounded)
{
    EXPECT_TRUE(reads("/" + std::string(LONGEST_TARGET - 1, 'x')));
    EXPECT_FALSE(reads("/" + std::string(LONGEST_TARGET, 'x')));
    std::string path;
    for (std::size_t i = 0; i < MOST_SEGMENTS; ++i)
        path += "/x";
    EXPECT_TRUE(reads(path));
    EXPECT_FALSE(reads(path + "/x"));
    std::string query = "/?";
    for (std::size_t i = 0; i < MOST_PARAMETERS; ++i)
        query += std::to_string(i) + "&";
    EXPECT_TRUE(reads(query));
    EXPECT_FALSE(reads(query + "x"));
}
