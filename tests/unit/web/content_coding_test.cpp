#include <gtest/gtest.h>
#include <string>

#include "server/web/content_coding.h"

using web::choose_coding;
using web::content_coding;

TEST(ContentCoding, IsTheShortestOfThoseThatAreWanted)
{
    EXPECT_EQ(choose_coding("gzip, deflate, br, zstd"), content_coding::brotli);
    EXPECT_EQ(choose_coding("br"), content_coding::brotli);
    EXPECT_EQ(choose_coding("gzip, deflate"), content_coding::gzip);
    EXPECT_EQ(choose_coding("GZip"), content_coding::gzip);
    EXPECT_EQ(choose_coding("*"), content_coding::brotli);
    EXPECT_EQ(choose_coding(" ,\tgzip , "), content_coding::gzip);
}

TEST(ContentCoding, IsWhatIsWantedMost)
{
    EXPECT_EQ(choose_coding("br;q=0.5, gzip;q=0.8"), content_coding::gzip);
    EXPECT_EQ(choose_coding("br;q=0.8, gzip;q=0.8"), content_coding::brotli);
    EXPECT_EQ(choose_coding("gzip ; Q = 0.001"), content_coding::gzip);
    EXPECT_EQ(choose_coding("identity, gzip;q=0.9"), content_coding::identity);
    EXPECT_EQ(choose_coding("identity;q=0.2, gzip;q=0.3"), content_coding::gzip);
    EXPECT_EQ(choose_coding("*;q=0.3, br;q=0.2"), content_coding::gzip);
}

TEST(ContentCoding, IsNoneThatIsNotWanted)
{
    EXPECT_EQ(choose_coding("br;q=0, gzip"), content_coding::gzip);
    EXPECT_EQ(choose_coding("*, br;q=0.000"), content_coding::gzip);
    EXPECT_EQ(choose_coding("gzip;q=0, *;q=0"), content_coding::identity);
    EXPECT_EQ(choose_coding("deflate, zstd"), content_coding::identity);
    EXPECT_EQ(choose_coding("xgzip, brr"), content_coding::identity);
    EXPECT_EQ(choose_coding(""), content_coding::identity);
}

TEST(ContentCoding, IsNoneWhoseWeightCannotBeRead)
{
    for (const char* const parameters :
         {";q=", ";q=x", ";q=1x", ";q=-1", ";q=2", ";q=nan", ";level=9", ";q"})
        EXPECT_EQ(choose_coding(std::string("gzip") + parameters), content_coding::identity)
            << parameters;
}
