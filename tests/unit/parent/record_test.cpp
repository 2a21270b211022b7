#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "parent/record.h"

// Beside its type, where the test framework looks for it.
bool operator==(const ParentRecord& left, const ParentRecord& right)
{
    return left.command == right.command && left.error == right.error && left.type == right.type &&
           left.id == right.id && left.fields == right.fields;
}

using Fields = std::map<std::string, std::string>;

namespace {
ParentRecord decoded(const std::vector<std::string>& lines)
{
    ParentRecord record;
    for (const std::string& line : lines)
        decode_record_line(record, line);
    return record;
}

std::string encoded(const ParentRecord& record)
{
    std::string text;
    encode_record(record, text);
    return text;
}

std::string encoded_field(const std::string& name, const std::string& value)
{
    std::string text;
    encode_field(text, name, value);
    return text;
}

// What the reader of the channel makes of a record's text.
ParentRecord decoded_text(const std::string& text)
{
    ParentRecord record;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        if (end > begin) decode_record_line(record, text.substr(begin, end - begin));
        begin = end + 1;
    }
    return record;
}
} // namespace

TEST(RecordLine, FillsTheReservedMembers)
{
    const ParentRecord record =
        decoded({"*COMMAND=route output", "*ERROR=no such thing", "*TYPE=command", "*ID= 7 "});
    EXPECT_EQ(record.command, "route output");
    EXPECT_EQ(record.error, "no such thing");
    EXPECT_EQ(record.type, "command");
    EXPECT_EQ(record.id, " 7 ");
    EXPECT_EQ(record.fields, Fields{});
}

TEST(RecordLine, ComparesReservedNamesExactly)
{
    const ParentRecord record =
        decoded({"*command=a", "*COMMANDS=b", "*COMMAN=c", " *ID=d", "*ID =e", "*TYPE2=f", "*ERR=g",
                 "*ERRORS=j", "COMMAND=h", "*FOO=i"});
    EXPECT_EQ(record.command + record.error + record.type + record.id, "");
    EXPECT_EQ(record.fields, (Fields{{"*command", "a"},
                                     {"*COMMANDS", "b"},
                                     {"*COMMAN", "c"},
                                     {" *ID", "d"},
                                     {"*ID ", "e"},
                                     {"*TYPE2", "f"},
                                     {"*ERR", "g"},
                                     {"*ERRORS", "j"},
                                     {"COMMAND", "h"},
                                     {"*FOO", "i"}}));
}

TEST(RecordLine, IsIgnoredWithoutEqualsSign)
{
    EXPECT_EQ(decoded({"*ID", "*COMMAND", "word", ""}), ParentRecord{});
}

TEST(RecordLine, SplitsAtItsFirstEqualsSign)
{
    EXPECT_EQ(decoded({"a=b=c", "d==", "*ID==5"}).fields, (Fields{{"a", "b=c"}, {"d", "="}}));
    EXPECT_EQ(decoded({"*ID==5"}).id, "=5");
}

TEST(RecordLine, MayHaveAnEmptyNameOrAnEmptyValue)
{
    EXPECT_EQ(decoded({"=5", "x="}).fields, (Fields{{"", "5"}, {"x", ""}}));
}

TEST(RecordLine, EndsAtItsFirstNul)
{
    EXPECT_EQ(decoded({std::string("a=b\0c", 5)}).fields, (Fields{{"a", "b"}}));
    EXPECT_EQ(decoded({std::string("a\0=b", 4)}), ParentRecord{});
}

TEST(RecordLine, JoinsAValueToTextAlreadyThere)
{
    const ParentRecord record = decoded({"*COMMAND=a", "*ERROR=a", "*ERROR=b", "*TYPE=c", "*TYPE=d",
                                         "*ID=1", "*ID=2", "*COMMAND=b", "x=1", "x=", "x=2"});
    EXPECT_EQ(record.command, "a\nb");
    EXPECT_EQ(record.error, "a\nb");
    EXPECT_EQ(record.type, "c\nd");
    EXPECT_EQ(record.id, "1\n2");
    EXPECT_EQ(record.fields, (Fields{{"x", "1\n\n2"}}));
}

TEST(RecordLine, ReplacesAnEmptyValueWithoutNewline)
{
    EXPECT_EQ(decoded({"x=", "x=1"}).fields, (Fields{{"x", "1"}}));
    EXPECT_EQ(decoded({"x=1", "x="}).fields, (Fields{{"x", "1\n"}}));
    EXPECT_EQ(decoded({"*ERROR=", "*ERROR=a"}).error, "a");
}

TEST(RecordLine, KeepsBytesAsTheyAre)
{
    EXPECT_EQ(decoded({"\t\xFF=\x80 \\n\"\r"}).fields, (Fields{{"\t\xFF", "\x80 \\n\"\r"}}));
}

TEST(Record, IsEmptyAfterClear)
{
    ParentRecord record{
        .command = "a", .error = "b", .type = "c", .id = "d", .fields = {{"e", "f"}}};
    clear(record);
    EXPECT_EQ(record, ParentRecord{});
}

TEST(RecordText, HasTheReservedMembersFirstAndAnEmptyLineLast)
{
    const ParentRecord record{.command = "report",
                              .error = "no",
                              .type = "reply",
                              .id = "7",
                              .fields = {{"!", "first"}, {"a", ""}}};
    EXPECT_EQ(encoded(record), "*COMMAND=report\n*ERROR=no\n*TYPE=reply\n*ID=7\n!=first\na=\n\n");
}

TEST(RecordText, LeavesEmptyReservedMembersOut)
{
    EXPECT_EQ(encoded({}), "\n");
    EXPECT_EQ(encoded({"", "", "reply", "7", {}}), "*TYPE=reply\n*ID=7\n\n");
    EXPECT_EQ(encoded({"a", "", "", "", {}}), "*COMMAND=a\n\n");
    EXPECT_EQ(encoded({"", "a", "", "", {}}), "*ERROR=a\n\n");
}

TEST(RecordText, HasFieldsInByteOrderOfTheirNames)
{
    ParentRecord record;
    for (const char* name : {"o2.name", "a", "o10.name", "\xC3\xA9", "*X", "B", ""})
        record.fields[name] = "v";
    EXPECT_EQ(encoded(record), "=v\n*X=v\nB=v\na=v\no10.name=v\no2.name=v\n\xC3\xA9=v\n\n");
}

TEST(RecordText, IsAppended)
{
    std::string text = "before\n";
    encode_record({"", "", "", "1", {}}, text);
    EXPECT_EQ(text, "before\n*ID=1\n\n");
}

TEST(RecordText, ShowsTheNamesOfTwoOutputs)
{
    const ParentRecord report{
        "outputs", "", "message", "", {{"o1.name", "Camera 2"}, {"o0.name", "Camera 1"}}};
    EXPECT_EQ(encoded(report),
              "*COMMAND=outputs\n*TYPE=message\no0.name=Camera 1\no1.name=Camera 2\n\n");
}

TEST(RecordText, RepeatsTheNameOfAReservedMemberWithSeveralLines)
{
    EXPECT_EQ(encoded({"", "a\nb", "", "", {}}), "*ERROR=a\n*ERROR=b\n\n");
}

TEST(RecordField, HasOneLinePerPieceOfItsValue)
{
    EXPECT_EQ(encoded_field("x", ""), "x=\n");
    EXPECT_EQ(encoded_field("x", "a"), "x=a\n");
    EXPECT_EQ(encoded_field("x", "a\nb"), "x=a\nx=b\n");
    EXPECT_EQ(encoded_field("x", "a\n"), "x=a\nx=\n");
    EXPECT_EQ(encoded_field("x", "\n"), "x=\nx=\n");
    EXPECT_EQ(encoded_field("x", "\n\nb"), "x=\nx=\nx=b\n");
}

namespace {
rc::Gen<std::string> text_of(const std::string& characters)
{
    return rc::gen::container<std::string>(rc::gen::elementOf(characters));
}

// A value that begins with an empty line reads back without it, by the rule of joining.
rc::Gen<std::string> values()
{
    return rc::gen::suchThat(text_of(std::string("ab=* \n\t\xFF") + "0"),
                             [](const std::string& value) { return value[0] != '\n'; });
}

rc::Gen<ParentRecord> records()
{
    return rc::gen::build<ParentRecord>(
        rc::gen::set(&ParentRecord::command, values()),
        rc::gen::set(&ParentRecord::error, values()), rc::gen::set(&ParentRecord::type, values()),
        rc::gen::set(&ParentRecord::id, values()),
        rc::gen::set(&ParentRecord::fields,
                     rc::gen::container<Fields>(text_of("abo0.* \xFF"), values())));
}
} // namespace

TEST(RecordText, ReadsBackAsTheSameRecord)
{
    EXPECT_TRUE(rc::check([] {
        const ParentRecord record = *records();
        return decoded_text(encoded(record)) == record;
    }));
}

// Only the texts up to the first equals sign and NUL matter, whatever the line holds.
TEST(RecordLine, IsDecodedWhateverItHolds)
{
    EXPECT_TRUE(rc::check([] {
        const auto line = *text_of(std::string("*ID=\0CX\r\n\xFF", 10));
        const std::string seen = line.substr(0, line.find('\0'));
        const std::size_t equals = seen.find('=');
        ParentRecord expected;
        if (equals != std::string::npos) {
            const std::string value = seen.substr(equals + 1);
            if (seen.starts_with("*ID=")) {
                expected.id = value;
            } else {
                expected.fields[seen.substr(0, equals)] = value;
            }
        }
        return decoded({line}) == expected;
    }));
}
