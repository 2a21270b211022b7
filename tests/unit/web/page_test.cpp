#include <algorithm>

#include "server/web/page.h"
#include "server/web/panel_file.h"
#include "tests/unit/web/server_test.h"

using testing::HasSubstr;
using testing::StartsWith;
using web::method;
using web::response;
using namespace web_test;

namespace {
struct Page : ServerTest {
    response with(const std::string& name, const std::string& value, const std::string& target)
    {
        headers = {{name, value}};
        return ask(method::get, target);
    }
};

const web::panel_file& built(std::string_view end)
{
    const auto files = web::panel_files();
    return *std::ranges::find_if(
        files, [&](const web::panel_file& file) { return file.path.ends_with(end); });
}
} // namespace

TEST_F(Page, IsAtEveryScreen)
{
    const response page = ask(method::get, "/");
    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.type, "text/html; charset=utf-8");
    EXPECT_EQ(page.body, built("index.html").plain);
    EXPECT_THAT(page.body, HasSubstr(built(".js").path));
    for (const char* const screen : {"/first", "/routing", "/routing/studio-a?view=matrix",
                                     "/salvos/evening", "/history?dest=12", "/routers/r1/names",
                                     "/server", "/settings/people", "/wall/studio-a", "/routing/"})
        EXPECT_EQ(ask(method::get, screen).body, page.body) << screen;
}

TEST_F(Page, IsAtNoOtherAddress)
{
    for (const char* const elsewhere :
         {"/index.html", "/Routing", "/routings", "/favicon.ico", "/assets", "/assets/none.js",
          "/assets/index.html", "/panel_files.S"})
        EXPECT_EQ(json_of(ask(method::get, elsewhere))["code"], "notFound") << elsewhere;
    EXPECT_EQ(ask(method::post, "/routing", "{}").status, 404);
}

TEST_F(Page, IsAskedForAgainEachTimeAndItsAssetsNever)
{
    EXPECT_EQ(header_of(ask(method::get, "/history"), "Cache-Control"), "no-cache");
    int assets = 0;
    for (const web::panel_file& file : web::panel_files()) {
        if (!file.path.starts_with("assets/")) continue;
        const response asset = ask(method::get, "/" + std::string(file.path));
        EXPECT_EQ(asset.body, file.plain) << file.path;
        EXPECT_NE(asset.type, "application/octet-stream") << file.path;
        EXPECT_EQ(header_of(asset, "Cache-Control"), "public, max-age=31536000, immutable");
        ++assets;
    }
    EXPECT_GE(assets, 3) << "a script, a style and a font";
}

TEST_F(Page, ComesInTheFormThatIsWanted)
{
    const web::panel_file& script = built(".js");
    const std::string target = "/" + std::string(script.path);
    const response brotli = with("accept-encoding", "gzip, br", target);
    EXPECT_EQ(brotli.body, script.brotli);
    EXPECT_EQ(header_of(brotli, "Content-Encoding"), "br");
    const response gzip = with("accept-encoding", "gzip, br;q=0", target);
    EXPECT_EQ(gzip.body, script.gzip);
    EXPECT_THAT(gzip.body, StartsWith("\x1f\x8b"));
    EXPECT_EQ(header_of(gzip, "Content-Encoding"), "gzip");
    const response plain = with("accept-encoding", "identity", target);
    EXPECT_EQ(plain.body, script.plain);
    EXPECT_EQ(header_of(plain, "Content-Encoding"), "");
    for (const response& each : {brotli, gzip, plain}) {
        EXPECT_EQ(each.type, "text/javascript; charset=utf-8");
        EXPECT_EQ(header_of(each, "Vary"), "Accept-Encoding");
    }
}

TEST_F(Page, HasFontsAsTheyAre)
{
    const response font = with("accept-encoding", "br", "/" + std::string(built(".woff2").path));
    EXPECT_EQ(font.type, "font/woff2");
    EXPECT_THAT(font.body, StartsWith("wOF2"));
    EXPECT_EQ(header_of(font, "Content-Encoding"), "");
    EXPECT_EQ(header_of(font, "Vary"), "");
}

TEST_F(Page, IsNotSentAgainToWhoHasIt)
{
    const response first = with("accept-encoding", "br", "/routing");
    const std::string tag = header_of(first, "ETag");
    EXPECT_NE(tag, header_of(with("accept-encoding", "gzip", "/routing"), "ETag"));
    headers = {{"accept-encoding", "br"}, {"if-none-match", tag}};
    const response same = ask(method::get, "/history");
    EXPECT_EQ(same.status, 304);
    EXPECT_EQ(same.body, "");
    EXPECT_EQ(header_of(same, "ETag"), tag);
    EXPECT_EQ(header_of(same, "Cache-Control"), "no-cache");
    EXPECT_EQ(header_of(same, "Vary"), "Accept-Encoding");
    EXPECT_EQ(header_of(same, "Content-Encoding"), "");
    headers[0].second = "gzip";
    EXPECT_EQ(ask(method::get, "/history").status, 200) << "it has another form";
}

TEST_F(Page, TellsOfItselfWithoutItsBytes)
{
    headers = {{"accept-encoding", "br"}};
    EXPECT_EQ(ask(method::head, "/wall/r1"), ask(method::get, "/wall/r1"));
}

TEST_F(Page, MayRunNothingButItsOwn)
{
    for (const char* const target : {"/", "/routing/r1", "/nothing", "/api/v1/routers"}) {
        const response given = ask(method::get, target);
        EXPECT_EQ(
            header_of(given, "Content-Security-Policy"),
            "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
            "font-src 'self'; connect-src 'self'; form-action 'none'; base-uri 'none'; "
            "frame-ancestors 'none'; require-trusted-types-for 'script'; trusted-types 'none'")
            << target;
        EXPECT_EQ(header_of(given, "X-Content-Type-Options"), "nosniff") << target;
        EXPECT_EQ(header_of(given, "Referrer-Policy"), "no-referrer") << target;
        EXPECT_EQ(header_of(given, "Cross-Origin-Opener-Policy"), "same-origin") << target;
        EXPECT_EQ(header_of(given, "Cross-Origin-Resource-Policy"), "same-origin") << target;
    }
    // As text it could not be used under this policy.
    EXPECT_THAT(built(".js").plain, testing::Not(HasSubstr(".innerHTML")));
    EXPECT_THAT(built("index.html").plain, testing::Not(HasSubstr("<script>")));
}
