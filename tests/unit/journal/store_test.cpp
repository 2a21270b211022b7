#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "server/journal/store.h"
#include "support/temporary_directory.h"

using namespace journal;
using testing::ElementsAre;

namespace {
struct StoreTest : testing::Test {
    temporary_directory folder;
    database opened;
    journal::store store{opened, {}, {}};

    void SetUp() override
    {
        std::string error;
        ASSERT_TRUE(open_database(opened, folder.path, error)) << error;
    }

    // "key=value created changed", as they are listed.
    std::vector<std::string> listed(const std::string& prefix)
    {
        std::vector<std::string> texts;
        for (const stored& each : list(store, prefix))
            texts.push_back(each.key + "=" + each.value + " " + std::to_string(each.created) + " " +
                            std::to_string(each.changed));
        return texts;
    }
};
} // namespace

TEST_F(StoreTest, MakesChangesAndRemovesByRevision)
{
    EXPECT_EQ(compare_and_set(store, "a", "1", 0), 1);
    EXPECT_EQ(compare_and_set(store, "b", "1", 0), 2);
    EXPECT_EQ(compare_and_set(store, "a", "2", 1), 3);
    EXPECT_THAT(listed("a"), ElementsAre("a=2 1 3"));
    EXPECT_EQ(compare_and_remove(store, "b", 2), 4);
    EXPECT_EQ(get(store, "b"), std::nullopt);
    EXPECT_EQ(current_revision(store), 4);
}

TEST_F(StoreTest, ChangesNothingThatHasChangedSince)
{
    ASSERT_EQ(compare_and_set(store, "a", "1", 0), 1);
    ASSERT_EQ(compare_and_set(store, "a", "2", 1), 2);
    EXPECT_EQ(compare_and_set(store, "a", "3", 1), std::nullopt);
    EXPECT_EQ(compare_and_set(store, "a", "3", 0), std::nullopt);
    EXPECT_EQ(compare_and_set(store, "none", "3", 7), std::nullopt);
    EXPECT_EQ(compare_and_remove(store, "a", 1), std::nullopt);
    EXPECT_EQ(compare_and_remove(store, "none", 0), std::nullopt);
    EXPECT_THAT(listed("a"), ElementsAre("a=2 1 2"));
    EXPECT_EQ(current_revision(store), 2);
}

TEST_F(StoreTest, ListsWhatBeginsSoInOrder)
{
    for (const char* key : {"b/1", "a/2", "a/10", "a", "a0", "a/1/x"})
        set(store, key, "1");
    EXPECT_THAT(listed("a/"), ElementsAre("a/1/x=1 6 6", "a/10=1 3 3", "a/2=1 2 2"));
}

TEST_F(StoreTest, TellsWatchersInOrderAfterTheTransaction)
{
    std::vector<std::string> heard;
    watch(store, "locks/", [&](const store_change& change) {
        heard.push_back(change.now.key +
                        (change.removed ? " removed " : "=" + change.now.value + " ") +
                        std::to_string(change.now.changed));
    });
    set(store, "locks/r1/3", "1");
    set(store, "labels/r1/3", "1");
    set(store, "locks/r1/3", "2");
    remove(store, "locks/r1/3");
    EXPECT_THAT(heard, ElementsAre());
    tell_changes(store);
    const auto expected = ElementsAre("locks/r1/3=1 1", "locks/r1/3=2 3", "locks/r1/3 removed 4");
    EXPECT_THAT(heard, expected);
    set(store, "locks/r1/4", "1");
    forget_changes(store);
    tell_changes(store);
    EXPECT_THAT(heard, expected);
}
