#include <gmock/gmock.h>
#include <sstream>

#include "server/web/dispatch.h"
#include "server/web/keyed.h"
#include "unit/web/described.h"

using namespace web;
using namespace web_test;
using testing::ElementsAreArray;

namespace {
std::string word_of(method method)
{
    switch (method) {
    case method::get:
        return "get";
    case method::post:
        return "post";
    case method::put:
        return "put";
    case method::patch:
        return "patch";
    case method::remove:
        return "delete";
    case method::head:
    case method::other:
        break;
    }
    return "";
}

std::string text_of(const described_operation& operation)
{
    std::string text = operation.method + " " + operation.path + " " + operation.name + " " +
                       operation.right + (operation.open ? " open" : "") +
                       (operation.keyed ? " keyed" : "");
    for (const std::string& parameter : operation.parameters)
        text += " " + parameter;
    return text;
}

described_operation as_described(const route& route)
{
    std::istringstream words{std::string(route.parameters)};
    return {word_of(route.method),
            std::string(route.pattern),
            std::string(route.name),
            desk::text_of(route.right),
            route.open,
            false,
            {std::istream_iterator<std::string>(words), {}},
            changes_something(route.method) && takes_keys(route)};
}
} // namespace

TEST(Routes, AreThoseOfTheDescription)
{
    std::vector<std::string> described;
    std::vector<std::string> routed;
    for (const described_operation& operation : described_operations())
        described.push_back(text_of(operation));
    for (const route& route : all_routes())
        routed.push_back(text_of(as_described(route)));
    EXPECT_GT(described.size(), 70U);
    std::sort(described.begin(), described.end());
    std::sort(routed.begin(), routed.end());
    EXPECT_THAT(routed, ElementsAreArray(described));
}
