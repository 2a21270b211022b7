#include "unit/router_model/name_table.h"

namespace {
class NameUpdate : public NameTable {};

class OutputNames : public BackendTest {};
} // namespace

INSTANTIATE_TEST_SUITE_P(Names, NameUpdate, testing::Values(SOURCES, DESTINATIONS),
                         name_table_title);

TEST_P(NameUpdate, StoresNamesBaseAndCount)
{
    update({answer("2", {"OutA", "1", "x", "0", "OutB", "2", "x", "0"})});
    EXPECT_EQ(names(), (Names{"OutA", "OutB"}));
    EXPECT_EQ(base(), 1U);
    EXPECT_EQ(discovered_count(), 2U);
    EXPECT_EQ(diagnostics(), range_line("1", "2"));
}

TEST_P(NameUpdate, AcceptsBothKindsInOneList)
{
    const name_table_case& table = GetParam();
    update({received("NQ", {table.kind, "1", "A", "0", "x", "0"}),
            received("NQ", {table.other_kind, "1", "B", "1", "x", "0"})});
    EXPECT_EQ(names(), (Names{"A", "B"}));
}

TEST_P(NameUpdate, RaisesItsThreeFlagsAlone)
{
    io_counts_changed = false;
    info_report_pending = false;
    update({answer_with({"0"})});
    EXPECT_TRUE(io_counts_changed);
    EXPECT_TRUE(info_report_pending);
    EXPECT_TRUE(*GetParam().report_pending);
    EXPECT_FALSE(*GetParam().other_report_pending);
}

TEST_P(NameUpdate, RaisesItsFlagsAgainWhenNothingHasChanged)
{
    update({answer_with({"0"})});
    io_counts_changed = false;
    info_report_pending = false;
    *GetParam().report_pending = false;
    update({answer_with({"0"})});
    EXPECT_TRUE(io_counts_changed);
    EXPECT_TRUE(info_report_pending);
    EXPECT_TRUE(*GetParam().report_pending);
}

TEST_P(NameUpdate, EmptiesTheTableForAnEmptyList)
{
    update({answer_with({"5", "6"})});
    diagnostics();
    io_counts_changed = false;
    info_report_pending = false;
    *GetParam().report_pending = false;
    update({});
    EXPECT_EQ(names(), Names{});
    EXPECT_EQ(base(), 0U);
    EXPECT_EQ(discovered_count(), 0U);
    EXPECT_EQ(diagnostics(), "");
    EXPECT_TRUE(io_counts_changed);
    EXPECT_TRUE(info_report_pending);
    EXPECT_TRUE(*GetParam().report_pending);
}

TEST_P(NameUpdate, KeepsNothingOfTheTableBefore)
{
    update({answer("1", {"Old", "0", "x", "7"}), answer("1", {"Older", "3", "x", "7"})});
    update({answer_with({"9", "B"})});
    EXPECT_EQ(names(), (Names{"n9", "", "nB"}));
    EXPECT_EQ(attributes(), (std::vector<std::uint32_t>{0, 0, 0}));
    EXPECT_EQ(base(), 9U);
}

TEST_P(NameUpdate, UsesTheCountAsAnUpperBoundOnly)
{
    update({answer("5", {"OutA", "1", "x", "0", "OutB", "2", "x", "0"})});
    EXPECT_EQ(names(), (Names{"OutA", "OutB"}));
    update({answer("1", {"OutA", "1", "x", "0", "OutB", "2", "x", "0"})});
    EXPECT_EQ(names(), (Names{"OutA"}));
}

TEST_P(NameUpdate, ReadsTheCountAsHexadecimal)
{
    std::vector<std::string> indexes;
    for (const char digit : std::string("0123456789ABCDEF"))
        indexes.emplace_back(1, digit);
    router_message message = answer_with(indexes);
    message.parameters[1] = "a";
    update({message});
    EXPECT_EQ(discovered_count(), 10U);
    message.parameters[1] = "0x0C";
    update({message});
    EXPECT_EQ(discovered_count(), 12U);
}

TEST_P(NameUpdate, PassesOverAnAnswerThatCountsNothing)
{
    for (const char* count : {"0", "", "none"}) {
        update({answer(count, {"A", "1", "x", "0"}), answer_with({"2"})});
        EXPECT_EQ(names(), (Names{"n2"})) << count;
        EXPECT_EQ(base(), 2U);
    }
}

TEST_P(NameUpdate, AcceptsAnyCountHoweverLarge)
{
    update({answer("FFFFFFFFFFFFFFFFFFFF", {"A", "0", "x", "0"}), answer_with({"1"})});
    EXPECT_EQ(names(), (Names{"A", "n1"}));
    update({answer("-1", {"A", "0", "x", "0"})});
    EXPECT_EQ(names(), (Names{"A"}));
}

TEST_P(NameUpdate, EndsTheAnswerAtAnEntryThatDoesNotFitWhole)
{
    update({answer("2", {"A", "0", "x", "0", "B", "1", "x"}), answer("1", {"C", "2", "x"}),
            answer_with({"3"})});
    EXPECT_EQ(names(), (Names{"A", "", "", "n3"}));
    EXPECT_EQ(base(), 0U);
}

TEST_P(NameUpdate, NeedsTwoParameters)
{
    update({received("NQ"), received("NQ", {GetParam().kind}),
            received("NQ", {GetParam().foreign_kind}), answer_with({"1"})});
    EXPECT_EQ(names(), (Names{"n1"}));
}

TEST_P(NameUpdate, SkipsOtherMessagesAndThoseThatAreNotOk)
{
    router_message failed = answer_with({"0"});
    failed.ok = false;
    router_message foreign_failed = received("NQ", {GetParam().foreign_kind, "1"});
    foreign_failed.ok = false;
    router_message other = answer_with({"1"});
    other.request = {'N', 'P', '\0'};
    update({failed, foreign_failed, other, received("KB", {GetParam().foreign_kind, "0"}),
            answer_with({"2"})});
    EXPECT_EQ(names(), (Names{"n2"}));
    EXPECT_EQ(base(), 2U);
}

TEST_P(NameUpdate, StopsAtTheFirstAnswerOfAForeignKind)
{
    update({answer_with({"1"}), received("NQ", {GetParam().foreign_kind, "1", "B", "2", "x", "0"}),
            answer_with({"3"})});
    EXPECT_EQ(names(), (Names{"n1"}));
    EXPECT_EQ(diagnostics(), range_line("1", "1"));
}

TEST_P(NameUpdate, StopsAtAForeignKindWithoutEntries)
{
    update(
        {answer_with({"1"}), received("NQ", {GetParam().foreign_kind, "0"}), answer_with({"3"})});
    EXPECT_EQ(names(), (Names{"n1"}));
}

TEST_P(NameUpdate, CompletesAnUpdateThatAForeignKindStopsAtOnce)
{
    update({answer_with({"1"})});
    diagnostics();
    io_counts_changed = false;
    info_report_pending = false;
    *GetParam().report_pending = false;
    update({received("NQ", {"L", "1", "A", "0", "x", "0"}), answer_with({"3"})});
    EXPECT_EQ(names(), Names{});
    EXPECT_EQ(base(), 0U);
    EXPECT_EQ(discovered_count(), 0U);
    EXPECT_EQ(diagnostics(), "");
    EXPECT_TRUE(io_counts_changed);
    EXPECT_TRUE(info_report_pending);
    EXPECT_TRUE(*GetParam().report_pending);
}

TEST_P(NameUpdate, ComparesTheKindExactly)
{
    std::string lower = GetParam().kind;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return char(c + 32); });
    for (const std::string& kind :
         {lower, GetParam().kind + " ", std::string(), std::string("I")}) {
        update({received("NQ", {kind, "1", "A", "1", "x", "0"}), answer_with({"3"})});
        EXPECT_EQ(names(), Names{}) << kind;
    }
}

TEST_P(NameUpdate, KeepsTheNameAsItStands)
{
    update({answer("2", {" Cam\xE9ra 1 ", "0", "x", "0", "", "1", "x", "0"})});
    EXPECT_EQ(names(), (Names{" Cam\xE9ra 1 ", ""}));
    EXPECT_EQ(discovered_count(), 2U);
}

TEST_P(NameUpdate, KeepsTheLow32BitsOfTheAttribute)
{
    update({answer("4", {"A", "0", "x", "1F", "B", "1", "x", "ABCDEF0123456789", "C", "2", "x",
                         "-1", "D", "3", "x", "FFFFFFFFFFFFFFFFFFFF"})});
    EXPECT_EQ(attributes(), (std::vector<std::uint32_t>{0x1F, 0x23456789, 0xFFFFFFFF, 0xFFFFFFFF}));
}

TEST_P(NameUpdate, ReadsTheThirdOfAnEntryNowhere)
{
    update({answer("1", {"A", "3", "77", "5"})});
    EXPECT_EQ(base(), 3U);
    EXPECT_EQ(attributes(), (std::vector<std::uint32_t>{5}));
}

TEST_P(NameUpdate, LogsTheRangeAfterTheWholeUpdate)
{
    update({answer_with({"10"}), answer_with({"12"}), answer_with({"11"})});
    EXPECT_EQ(diagnostics(), range_line("16", "18"));
}

TEST_F(OutputNames, LeaveTheReservedFieldsAsConstructed)
{
    update_dest_info({received("NQ", {"ID", "1", "A", "0", "x", "7"})});
    ASSERT_EQ(router_outputs_info.size(), 1U);
    EXPECT_EQ(router_outputs_info[0].reserved_number, -1);
    EXPECT_EQ(router_outputs_info[0].reserved_text, "");
}
