#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

#include "bench/bench_run.h"
#include "support/temporary_directory.h"

using namespace bench;

namespace {
bench_run small_run()
{
    figure rate = {.workload = "commands", .measure = "rate", .unit = "records/s", .ours = 9};
    rate.floor = 8;
    rate.ratio = 1.125;
    rate.ratio_low = 1;
    rate.ratio_high = 1.25;
    rate.direction = better::more;
    rate.aim = 0.85;
    return {.commit = "1234abc",
            .machine = {.cores = 2, .processor = "Some processor", .kernel = "6.1"},
            .figures =
                {rate,
                 {.workload = "idle", .measure = "allocations", .unit = "", .ours = 0, .limit = 1}},
            .tables = {}};
}

const char* const SMALL_RUN_JSON = R"({
  "commit": "1234abc",
  "machine": {
    "cores": 2,
    "processor": "Some processor",
    "kernel": "6.1"
  },
  "figures": [
    {
      "workload": "commands",
      "measure": "rate",
      "unit": "records/s",
      "ours": 9.0,
      "better": "more",
      "floor": 8.0,
      "ratio": 1.125,
      "ratio_low": 1.0,
      "ratio_high": 1.25,
      "aim": 0.85,
      "met": true
    },
    {
      "workload": "idle",
      "measure": "allocations",
      "unit": "",
      "ours": 0.0,
      "better": "less",
      "limit": 1.0,
      "met": true
    }
  ]
}
)";
} // namespace

class BenchRun : public testing::Test {
  protected:
    std::optional<bench_run> load(const std::string& text)
    {
        std::ofstream(path) << text;
        return load_run(path, complaints);
    }

    temporary_directory directory;
    std::string path = directory.path / "last.json";
    std::ostringstream complaints;
};

TEST_F(BenchRun, IsWrittenAsJson)
{
    EXPECT_EQ(run_json(small_run()), SMALL_RUN_JSON);
}

TEST_F(BenchRun, IsReadBackWhole)
{
    const std::optional<bench_run> loaded = load(SMALL_RUN_JSON);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(run_json(*loaded), SMALL_RUN_JSON);
    EXPECT_EQ(loaded->figures[0].direction, better::more);
    EXPECT_EQ(loaded->figures[1].direction, better::less);
    EXPECT_EQ(loaded->figures[1].aim, std::nullopt);
    EXPECT_EQ(complaints.str(), "");
}

TEST_F(BenchRun, KeepsEveryDigitOfAFigure)
{
    bench_run run = small_run();
    run.figures[0].ratio = 1.0 / 3;
    EXPECT_EQ(load(run_json(run))->figures[0].ratio, 1.0 / 3);
}

TEST_F(BenchRun, MissingFileIsTold)
{
    EXPECT_FALSE(load_run(path, complaints));
    EXPECT_EQ(complaints.str(), "There are no figures of a last run in " + path + ".\n");
}

TEST_F(BenchRun, FileCutAnywhereIsDamaged)
{
    const std::string whole = SMALL_RUN_JSON;
    for (std::size_t length = 0; length < whole.rfind('}'); ++length) {
        complaints.str("");
        ASSERT_FALSE(load(whole.substr(0, length))) << length;
        ASSERT_THAT(complaints.str(), testing::MatchesRegex("Nothing is compared, for " + path +
                                                            " is damaged: [^\n]+\n"));
    }
}

TEST_F(BenchRun, FileWithAnythingAmissIsDamaged)
{
    EXPECT_FALSE(load("[]"));
    EXPECT_FALSE(load(R"({"commit": "1", "machine": {}, "figures": []})"));
    for (const char* key : {"\"ours\"", "\"better\"", "\"figures\"", "\"commit\""}) {
        std::string text = SMALL_RUN_JSON;
        EXPECT_FALSE(load(text.replace(text.find(key), 2, "\"another ")));
    }
    std::string text = SMALL_RUN_JSON;
    EXPECT_FALSE(load(text.replace(text.find("0.85"), 4, "null")));
}

TEST_F(BenchRun, MachineIsToldByItsProcessorAndKernel)
{
    const machine_facts machine = this_machine();
    std::string kernel;
    std::getline(std::ifstream("/proc/sys/kernel/osrelease"), kernel);
    EXPECT_TRUE(kernel.starts_with(machine.kernel));
    EXPECT_THAT(machine.kernel, testing::MatchesRegex("[0-9]+(\\.[0-9]+)+"));
    EXPECT_GE(machine.cores, 1U);
    std::ostringstream processors;
    processors << std::ifstream("/proc/cpuinfo").rdbuf();
    if (processors.str().find("model name") == std::string::npos)
        EXPECT_EQ(machine.processor, "unknown");
    else
        EXPECT_THAT(processors.str(), testing::HasSubstr("\t: " + machine.processor + "\n"));
}
