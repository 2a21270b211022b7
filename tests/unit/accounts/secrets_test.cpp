#include <gmock/gmock.h>

#include "server/accounts/secrets.h"

using namespace accounts;

TEST(Secrets, AreLongAndNeverTheSame)
{
    begin_secrets();
    const std::string secret = new_secret();
    EXPECT_EQ(secret.size(), 43U);
    EXPECT_EQ(secret.find_first_not_of(
                  "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"),
              std::string::npos);
    EXPECT_NE(secret, new_secret());
}

TEST(Secrets, AreFoundAgainByTheirHash)
{
    begin_secrets();
    const std::string secret = new_secret();
    secret_hash one{}, again{}, other{};
    ASSERT_TRUE(hash_secret(secret, one));
    ASSERT_TRUE(hash_secret(secret, again));
    ASSERT_TRUE(hash_secret(new_secret(), other));
    EXPECT_EQ(one, again);
    EXPECT_NE(one, other);
    EXPECT_EQ(text_of(one).find(secret), std::string::npos);
}

TEST(Secrets, AnythingElseIsNone)
{
    begin_secrets();
    const std::string secret = new_secret();
    secret_hash hash{};
    for (const std::string& text :
         {std::string(), secret.substr(1), secret + "A", secret.substr(1) + "=",
          secret.substr(1) + " ", secret.substr(1) + "\xff", std::string(43, '\0')})
        EXPECT_FALSE(hash_secret(text, hash)) << text;
}

TEST(Secrets, HashesAreTextAndBack)
{
    begin_secrets();
    secret_hash hash{}, back{};
    hash_secret(new_secret(), hash);
    EXPECT_EQ(text_of(hash).size(), 64U);
    ASSERT_TRUE(read_hash(text_of(hash), back));
    EXPECT_EQ(back, hash);
    EXPECT_FALSE(read_hash("", back));
    EXPECT_FALSE(read_hash(text_of(hash).substr(1), back));
    EXPECT_FALSE(read_hash(text_of(hash).substr(1) + "g", back));
}

TEST(Secrets, PasswordsMatchTheirHashAlone)
{
    begin_secrets();
    const std::string hash = hash_password("correct horse");
    EXPECT_THAT(hash, testing::StartsWith("$argon2id$"));
    EXPECT_TRUE(password_matches(hash, "correct horse"));
    EXPECT_FALSE(password_matches(hash, "correct horse "));
    EXPECT_FALSE(password_matches(hash, ""));
    EXPECT_FALSE(password_matches("", ""));
    EXPECT_FALSE(password_matches("no hash", "no hash"));
    EXPECT_FALSE(password_matches(std::string(1000, '$'), "x"));
    EXPECT_NE(hash_password("correct horse"), hash);
}

TEST(Secrets, HashesOfTextsDiffer)
{
    begin_secrets();
    EXPECT_EQ(hash_text("a"), hash_text("a"));
    EXPECT_NE(hash_text("a"), hash_text("b"));
    EXPECT_NE(hash_text(""), hash_text(std::string(1, '\0')));
}

TEST(Secrets, CodesAreTypedByPeople)
{
    begin_secrets();
    const std::string code = new_code();
    EXPECT_THAT(code, testing::MatchesRegex("([0-9A-HJKMNP-TV-Z]{4}-){3}[0-9A-HJKMNP-TV-Z]{4}"));
    EXPECT_NE(new_code(), code);
    EXPECT_TRUE(same_secret(hash_code("4Q2K-9WTX-7HNP-3RVD"), hash_code("4q2k9wtx 7hnp3rvd")));
    EXPECT_FALSE(same_secret(hash_code("4Q2K-9WTX-7HNP-3RVD"), hash_code("4Q2K-9WTX-7HNP-3RVE")));
}
