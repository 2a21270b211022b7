#include <gmock/gmock.h>

#include "server/web/route_table.h"

using namespace web;
using testing::ElementsAre;

namespace {
constexpr route TABLE[] = {
    {method::get, "/", desk::right::none, "getRoot"},
    {method::get, "/routers", desk::right::view, "listRouters"},
    {method::post, "/routers", desk::right::engineer, "addRouter"},
    {method::get, "/routers/{router}", desk::right::view, "getRouter"},
    {method::get, "/routers/all", desk::right::view, "getAll"},
    {method::remove, "/routers/{router}", desk::right::engineer, "removeRouter"},
    {method::put, "/routers/{router}/destinations/{index}/route", desk::right::operate, "setRoute"},
};

route_match find(method method, std::vector<std::string> path)
{
    request request;
    request.method = method;
    request.path = std::move(path);
    return find_route(TABLE, request);
}

std::string name_of(const route_match& match)
{
    return match.found == nullptr ? "" : std::string(match.found->name);
}
} // namespace

TEST(RouteTable, FindsByPathAndMethod)
{
    EXPECT_EQ(name_of(find(method::get, {})), "getRoot");
    EXPECT_EQ(name_of(find(method::get, {"routers"})), "listRouters");
    EXPECT_EQ(name_of(find(method::head, {"routers"})), "listRouters");
    EXPECT_EQ(name_of(find(method::post, {"routers"})), "addRouter");
}

TEST(RouteTable, GivesWhatStandsInBraces)
{
    const route_match match =
        find(method::put, {"routers", "r1", "destinations", "MON A", "route"});
    EXPECT_EQ(name_of(match), "setRoute");
    EXPECT_THAT(match.values, ElementsAre("r1", "MON A"));
    EXPECT_EQ(match.allowed, "");
}

TEST(RouteTable, PrefersThePlainPath)
{
    EXPECT_EQ(name_of(find(method::get, {"routers", "all"})), "getAll");
    EXPECT_EQ(name_of(find(method::get, {"routers", "{router}"})), "getRouter");
    EXPECT_EQ(name_of(find(method::remove, {"routers", "all"})), "removeRouter");
}

TEST(RouteTable, TellsTheMethodsThatThereAre)
{
    EXPECT_EQ(find(method::put, {"routers"}).allowed, "GET, HEAD, POST");
    EXPECT_EQ(find(method::other, {"routers", "r1"}).allowed, "GET, HEAD, DELETE");
    EXPECT_EQ(find(method::get, {"routers", "r1", "destinations", "1", "route"}).allowed, "PUT");
}

TEST(RouteTable, KnowsNoOtherPath)
{
    for (const std::vector<std::string>& path :
         std::vector<std::vector<std::string>>{{"router"},
                                               {"routers", "r1", "x"},
                                               {"Routers"},
                                               {"x", "routers"},
                                               {"routers", "r1", "destinations", "1"}}) {
        const route_match match = find(method::get, path);
        EXPECT_EQ(match.found, nullptr);
        EXPECT_EQ(match.allowed, "");
    }
}
