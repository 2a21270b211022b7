#include <gmock/gmock.h>
#include <set>
#include <sstream>

#include "router_simulator/router/names.h"
#include "router_simulator/router/names_file.h"
#include "router_simulator/router/state.h"

using namespace router_simulator;
using testing::ElementsAre;

namespace {
class SimulatorNamesFile : public testing::Test {
  protected:
    // What is wrong with a file of these lines, "" when nothing is.
    std::string read(const std::string& text)
    {
        std::istringstream file(text);
        std::string error;
        const bool is_read = read_names(router, file, "names.csv", error);
        EXPECT_EQ(is_read, error.empty());
        return error;
    }

    simulated_router router = make_router(
        {.sources = 3, .destinations = 2, .levels = 2, .source_base = 1, .destination_base = 16});
};

// What is wrong with the name, "" when nothing is.
std::string refusal_of(const std::string& name)
{
    std::string error;
    const bool is_acceptable = check_name(name, error);
    EXPECT_EQ(is_acceptable, error.empty());
    return error;
}
} // namespace

TEST(SimulatorNames, AreGeneratedInGroups)
{
    EXPECT_EQ(generated_source_name(0), "CAM 1");
    EXPECT_EQ(generated_source_name(7), "CAM 8");
    EXPECT_EQ(generated_source_name(8), "VTR 1");
    EXPECT_EQ(generated_source_name(32), "CAM 9");
    EXPECT_EQ(generated_destination_name(0), "MON A");
    EXPECT_EQ(generated_destination_name(8), "REC 1");
    EXPECT_EQ(generated_destination_name(32), "MON I");
    EXPECT_EQ(generated_level_name(0), "VIDEO");
    EXPECT_EQ(generated_level_name(31), "AUDIO 31");
}

TEST(SimulatorNames, GoOnBehindTheLastLetter)
{
    EXPECT_EQ(generated_destination_name(3 * 32 + 1), "MON Z");
    EXPECT_EQ(generated_destination_name(3 * 32 + 2), "MON AA");
}

TEST(SimulatorNames, AreAllDifferentAndAcceptable)
{
    std::set<std::string> sources;
    std::set<std::string> destinations;
    for (std::size_t i = 0; i < 1024; ++i) {
        sources.insert(generated_source_name(i));
        destinations.insert(generated_destination_name(i));
        EXPECT_EQ(refusal_of(generated_source_name(i)), "");
        EXPECT_EQ(refusal_of(generated_destination_name(i)), "");
    }
    EXPECT_EQ(sources.size(), 1024U);
    EXPECT_EQ(destinations.size(), 1024U);
}

TEST(SimulatorNames, MustFitTheWire)
{
    EXPECT_EQ(refusal_of(""), "");
    EXPECT_EQ(refusal_of("A\tB"), "holds a control character");
    EXPECT_EQ(refusal_of("A\x7F"), "holds a control character");
    EXPECT_EQ(refusal_of(std::string(65, 'x')), "is longer than 64 bytes");
    EXPECT_EQ(refusal_of(std::string(64, 'x')), "");
    EXPECT_EQ(refusal_of("K\xC3\xB6ln"), "");
}

TEST_F(SimulatorNamesFile, SetsNamesByRouterIndex)
{
    EXPECT_EQ(read("kind,index,name\n"
                   "source,1,STUDIO 1\n"
                   "destination,17,WALL\n"
                   "\n"
                   "# the audio\n"
                   "level,1,SOUND\n"),
              "");
    EXPECT_THAT(router.sources.names, ElementsAre("STUDIO 1", "CAM 2", "CAM 3"));
    EXPECT_THAT(router.destinations.names, ElementsAre("MON A", "WALL"));
    EXPECT_THAT(router.levels, ElementsAre("VIDEO", "SOUND"));
}

TEST_F(SimulatorNamesFile, AcceptsWhatSpreadsheetsWrite)
{
    EXPECT_EQ(read("\xEF\xBB\xBFsource,1,\"A \"\"B\"\", C\"\r\nsource,2,D, E\r\nsource,3,F"), "");
    EXPECT_THAT(router.sources.names, ElementsAre("A \"B\", C", "D, E", "F"));
}

TEST_F(SimulatorNamesFile, SaysWhatIsWrongWithWhichLine)
{
    EXPECT_EQ(read("source,1,A\nsource"), "names.csv:2: three fields expected: kind,index,name");
    EXPECT_EQ(read("source,1"), "names.csv:1: three fields expected: kind,index,name");
    EXPECT_EQ(read("input,1,A"),
              "names.csv:1: unknown kind \"input\": source, destination or level expected");
    EXPECT_EQ(read("source,1x,A"), "names.csv:1: the index \"1x\" is not a decimal number");
    EXPECT_EQ(read("source,,A"), "names.csv:1: the index \"\" is not a decimal number");
    EXPECT_EQ(read("source,99999999999999999999,A"),
              "names.csv:1: the index \"99999999999999999999\" is not a decimal number");
    EXPECT_EQ(read("source,0,A"), "names.csv:1: no source 0: they are 1 to 3");
    EXPECT_EQ(read("destination,18,A"), "names.csv:1: no destination 18: they are 16 to 17");
    EXPECT_EQ(read("level,2,A"), "names.csv:1: no level 2: they are 0 to 1");
    EXPECT_EQ(read("source,1,A\tB"), "names.csv:1: the name holds a control character");
}

TEST_F(SimulatorNamesFile, LeavesPortsWithoutANameAsTheyAre)
{
    EXPECT_EQ(read("source,1,\nsource,2,\"\"\nlevel,0,  \n"), "");
    EXPECT_THAT(router.sources.names, ElementsAre("", "", "CAM 3"));
    EXPECT_EQ(router.levels[0], "");
}

TEST_F(SimulatorNamesFile, CutsBlanksRoundFields)
{
    EXPECT_EQ(
        read(" kind , index,\tname \n source , 1 , STUDIO  1 \nsource,\t2,\" VTR \" \n  # no\n"),
        "");
    EXPECT_THAT(router.sources.names, ElementsAre("STUDIO  1", " VTR ", "CAM 3"));
}

TEST_F(SimulatorNamesFile, RefusesQuotesThatDoNotMatch)
{
    for (const char* name : {"\"", "\"A", "\"A\"B\"", "\"A\"\""})
        EXPECT_EQ(read("source,1," + std::string(name)),
                  "names.csv:1: the quotes of the name do not match");
}

TEST_F(SimulatorNamesFile, RefusesASecondNameForTheSame)
{
    EXPECT_EQ(read("source,1,A\nlevel,1,B\nsource,1,C"),
              "names.csv:3: source 1 was named in line 1 already");
}

TEST_F(SimulatorNamesFile, SaysThatThereAreNone)
{
    router = make_router({.levels = 0, .source_base = 0, .destination_base = 0});
    EXPECT_EQ(read("level,0,A"), "names.csv:1: no level 0: there are none");
}

TEST_F(SimulatorNamesFile, SaysWhyAFileCannotBeRead)
{
    std::string error;
    EXPECT_FALSE(read_names_file(router, "/nowhere/names.csv", error));
    EXPECT_EQ(error, "/nowhere/names.csv: cannot be opened: No such file or directory");
    EXPECT_FALSE(read_names_file(router, "/", error));
    EXPECT_EQ(error, "/: cannot be read: Is a directory");
}
