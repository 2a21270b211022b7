#include <gtest/gtest.h>

#include "server/desk/start.h"
#include "server/desk/words.h"

using namespace desk;

namespace {
class Words : public testing::Test {
  protected:
    desk_state desk = make_desk(1);

    Words()
    {
        desk.house.routers["main"].settings.first_number = 1;
        desk.live["main"].source_names = {"CAM 1", "", "CAM 3"};
        desk.live["main"].destination_names = {"MON A"};
    }
};
} // namespace

TEST_F(Words, NameSources)
{
    desk.house.routers["main"].source_labels[2] = {"Studio", ""};
    desk.house.routers["main"].source_labels[0] = {"", "cameras"};
    EXPECT_EQ(source_name(desk, "main", 0), "CAM 1");
    EXPECT_EQ(source_name(desk, "main", 1), "source 2");
    EXPECT_EQ(source_name(desk, "main", 2), "Studio");
    EXPECT_EQ(source_name(desk, "main", 3), "source 4");
    EXPECT_EQ(source_name(desk, "main", NO_SOURCE), "no source");
    EXPECT_EQ(source_name(desk, "main", UNKNOWN_SOURCE), "unknown");
    EXPECT_EQ(source_name(desk, "none", 3), "source 4");
}

TEST_F(Words, NameDestinations)
{
    desk.house.routers["main"].settings.first_number = 0;
    EXPECT_EQ(destination_name(desk, "main", 0), "MON A");
    EXPECT_EQ(destination_name(desk, "main", 1), "destination 1");
    EXPECT_EQ(destination_name(desk, "main", -1), "destination -1");
    EXPECT_EQ(destination_name(desk, "main", INT32_MAX), "destination 2147483647");
    EXPECT_EQ(destination_name(desk, "none", 1), "destination 2");
    desk.house.routers["main"].destination_labels[1] = {"TX", ""};
    EXPECT_EQ(destination_name(desk, "main", 1), "TX");
}

TEST_F(Words, HaveTheNumberOfANameThatAnotherHas)
{
    desk.live["main"].source_names = {"CAM 1", "VTR", "CAM 1", "", ""};
    EXPECT_EQ(source_text(desk, "main", 0), "CAM 1 (1)");
    EXPECT_EQ(source_text(desk, "main", 1), "VTR");
    EXPECT_EQ(source_text(desk, "main", 2), "CAM 1 (3)");
    EXPECT_EQ(source_text(desk, "main", 3), "source 4");
    EXPECT_EQ(source_text(desk, "main", NO_SOURCE), "no source");
    desk.house.routers["main"].source_labels[2] = {"VTR", ""};
    EXPECT_EQ(source_text(desk, "main", 0), "CAM 1") << "the other has an alias";
    EXPECT_EQ(source_text(desk, "main", 1), "VTR (2)");
    EXPECT_EQ(source_text(desk, "main", 2), "VTR (3)");
    EXPECT_EQ(destination_text(desk, "main", 0), "MON A");
    desk.live["main"].destination_names = {"MON A", "MON A"};
    desk.house.routers["main"].locks[1] = {lock_mode::lock, "ben", "", {}, {}};
    EXPECT_EQ(lock_text(desk, "main", 1), "MON A (2) is locked by ben");
}

TEST_F(Words, TellOfLocks)
{
    desk.house.routers["main"].locks[0] = {lock_mode::lock, "anna", "on air", {}, {}};
    desk.house.routers["main"].locks[1] = {lock_mode::protect, "ben", "", {}, {}};
    EXPECT_EQ(lock_text(desk, "main", 0), "MON A is locked by anna (on air)");
    EXPECT_EQ(lock_text(desk, "main", 1), "destination 2 is protected by ben");
    EXPECT_EQ(lock_text(desk, "main", 2), "");
    EXPECT_EQ(lock_text(desk, "none", 0), "");
}

TEST_F(Words, TellOutcomes)
{
    EXPECT_STREQ(text_of(outcome::open), "open");
    EXPECT_STREQ(text_of(outcome::confirmed), "confirmed");
    EXPECT_STREQ(text_of(outcome::contradicted), "contradicted");
    EXPECT_STREQ(text_of(outcome::refused), "refused");
    EXPECT_STREQ(text_of(outcome::timed_out), "timed out");
    EXPECT_STREQ(text_of(outcome::not_sent), "not sent");
    EXPECT_STREQ(text_of(outcome::superseded), "superseded");
    EXPECT_STREQ(text_of(outcome::unknown), "unknown");
}

TEST_F(Words, TellStates)
{
    EXPECT_STREQ(text_of(wish_state::held), "held");
    EXPECT_STREQ(text_of(wish_state::queued), "queued");
    EXPECT_STREQ(text_of(wish_state::sent), "sent");
    EXPECT_STREQ(text_of(link_state::off), "off");
    EXPECT_STREQ(text_of(link_state::connecting), "connecting");
    EXPECT_STREQ(text_of(link_state::reading), "reading");
    EXPECT_STREQ(text_of(link_state::ready), "ready");
    EXPECT_STREQ(text_of(link_state::down), "down");
    EXPECT_STREQ(text_of(link_state::failing), "failing");
}

TEST_F(Words, HaveACodeForEachReason)
{
    const char* const codes[] = {"",
                                 "noSuchRouter",
                                 "noSuchDestination",
                                 "noSuchSource",
                                 "noSuchSalvo",
                                 "noSuchVersion",
                                 "noSuchBatch",
                                 "noSuchGroup",
                                 "noRight",
                                 "linkNotReady",
                                 "destinationLocked",
                                 "destinationProtected",
                                 "changedSince",
                                 "factUnknown",
                                 "notConfirmed",
                                 "tooManyAtOnce",
                                 "tooLate",
                                 "blockedByOtherRow",
                                 "linkLost",
                                 "notSentInTime",
                                 "backendEnded",
                                 "nothingToDo",
                                 "nameTaken",
                                 "notDeleted",
                                 "duplicateDestination",
                                 "badValue"};
    for (std::size_t i = 0; i < std::size(codes); ++i)
        EXPECT_STREQ(code_of(static_cast<reason>(i)), codes[i]);
    EXPECT_EQ(static_cast<std::size_t>(reason::bad_value) + 1, std::size(codes));
}

TEST_F(Words, AreCutAtALettersEnd)
{
    const std::string most(TEXT_LENGTH, 'a');
    EXPECT_EQ(cut_text(most), most);
    EXPECT_EQ(cut_text(most + "a"), most);
    const std::string shorter(TEXT_LENGTH - 1, 'a');
    EXPECT_EQ(cut_text(shorter + "ä"), shorter);
    EXPECT_EQ(cut_text(shorter + "\xf0\x9f\x93\xba"), shorter);
    const std::string three_left(TEXT_LENGTH - 3, 'a');
    EXPECT_EQ(cut_text(three_left + "\xf0\x9f\x93\xba"), three_left);
    EXPECT_EQ(cut_text(three_left + "\xe2\x96\xa0"), three_left + "\xe2\x96\xa0");
    // No text of letters: cut all the same.
    EXPECT_EQ(cut_text(std::string(300, '\x80')).size(), TEXT_LENGTH - 3);
}

TEST_F(Words, HaveNoControlCharacters)
{
    EXPECT_EQ(cut_text("a\x1b[1m\x7f\tb\n"), "a [1m  b ");
    EXPECT_EQ(cut_text("a\xc2\x80\xc2\x9f!"), "a  !");
    EXPECT_EQ(cut_text("\xc2\xa0\xc3\x80"), "\xc2\xa0\xc3\x80");
    EXPECT_EQ(cut_text("\xc2"), "\xc2");
    EXPECT_EQ(cut_text("\xc2\x85!"), " !");
    EXPECT_EQ(cut_text("~ \xc2\x7f"), "~ \xc2 ");
}
