// Every fault that the simulator knows, in every phase of the backend that it can strike, on the
// real programs. Whatever happens, the parent is answered, the backend comes back when it has lost
// the router, what has changed meanwhile is found out, a route is taken, at a router that prevents
// it as soon as it does no more, and the diagnostics are those that belong to the fault: all of
// them but the debugging ones, compared as a whole.
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <utility>

#include "support/fault_matrix.h"
#include "support/process_test.h"
#include "support/replay.h"

using testing::AnyOfArray;

namespace {
class matrix_play : public ProcessTest {
  public:
    explicit matrix_play(const matrix_cell& cell_to_play) : cell(cell_to_play)
    {
    }

    void run();
    using ProcessTest::starved_for;
    bool has_departed() const
    {
        return departs_by_deadline(problems(), accepted_diagnostics(cell));
    }
    void judge();

  private:
    const matrix_cell& cell;
    std::map<std::string, std::string> known; // of the parent: the last value of each field
    int reports_of_inputs = 0;
    long thrown_away = 0;          // routing statuses, for which the operator has asked again
    std::set<std::string> replied; // identifiers
    std::size_t lines_searched = 0;

    void TestBody() override
    {
    }
    // As until, but a wait ends well once the play has run past a deadline: what follows tells
    // nothing more.
    bool until(const std::function<bool()>& done)
    {
        return ProcessTest::until([&] { return has_departed() || done(); });
    }

    void start_under_fault();
    void await_fault();
    void expect_reply(const std::string& command, const std::string& id);
    void end_refusal();
    void expect_return();
    void repeat_until_learnt();
    void ask_until_learnt(const std::map<std::string, std::string>& routes);
    void say_take();
    void expect_prevented_take();
    void expect_take(int client);
    void expect_true_routes();
    void expect_whole_status_cycle();
    Lines diagnostics_but(const std::function<bool(const std::string&)>& left_out) const;
    Lines problems() const;

    void tell_simulator(const std::string& line)
    {
        write_all(simulator.input.number, line + "\n");
    }

    // Whether the simulator prints an event with this text, after the one that was found last.
    bool simulator_tells(const std::string& text);
    // Whether the parent comes to know all of these.
    bool learns(const std::map<std::string, std::string>& values);

    void learn();
    bool knows(const std::map<std::string, std::string>& values);
    long requests(const std::string& text) const;
};

class FaultMatrix : public testing::TestWithParam<matrix_cell> {};
} // namespace

// One set of names is two messages.
void matrix_play::start_under_fault()
{
    start_simulator({"--sources", "8", "--destinations", "8", "--entries-per-answer", "5",
                     "--trace", "--scenario", directory.file("scenario.json", scenario_of(cell))});
    if (is_refused_at_first(cell)) {
        ASSERT_TRUE(simulator_tells(" refuse"));
    }
    start_on_simulator(backend);
    if (cell.struck != phase::burst && cell.struck != phase::query) return;
    ASSERT_TRUE(until([this] { return requests("QI ") == 8; })) << "those before the fault's";
    if (cell.struck == phase::query)
        return say("*COMMAND=report\n*TYPE=command\n*ID=query\nwhat=outputs");
    for (int output = 0; output < 6; ++output)
        say("*COMMAND=route output\n*TYPE=command\nqueue=add\nfrom input=4\nto output=" +
            std::to_string(output));
    say("*COMMAND=route output\n*TYPE=command\n*ID=burst\nqueue=flush");
}

bool matrix_play::simulator_tells(const std::string& text)
{
    return until([&] {
        while (lines_searched < simulator.lines.size()) {
            const std::string& line = simulator.lines[lines_searched++];
            if (line.starts_with("@ ") && line.find(text) != std::string::npos) return true;
        }
        return false;
    });
}

void matrix_play::learn()
{
    for (; !backend.records.empty(); backend.records.pop_front()) {
        const ParentRecord& record = backend.records.front();
        if (record.type == "reply") replied.insert(record.id);
        reports_of_inputs += record.fields.contains("i0.name") ? 1 : 0;
        for (const auto& [name, value] : record.fields)
            known[name] = value;
    }
}

bool matrix_play::knows(const std::map<std::string, std::string>& values)
{
    return std::all_of(values.begin(), values.end(),
                       [this](const auto& each) { return known[each.first] == each.second; });
}

bool matrix_play::learns(const std::map<std::string, std::string>& values)
{
    return until([&] {
        learn();
        return knows(values);
    });
}

void matrix_play::await_fault()
{
    if (is_refused_at_first(cell)) return;
    ASSERT_TRUE(simulator_tells(" " + cell.fault.name));
}

void matrix_play::expect_reply(const std::string& command, const std::string& id)
{
    say(command + "\n*TYPE=command\n*ID=" + id);
    EXPECT_TRUE(until([&] {
        learn();
        return replied.contains(id);
    })) << id;
}

// When the backend has met it.
void matrix_play::end_refusal()
{
    if (cell.end != ending::refused) return;
    ASSERT_TRUE(until([this] {
        return std::count(backend.diagnostics.begin(), backend.diagnostics.end(),
                          "<ERR>Connection failed, Connection refused") > 0;
    }));
    tell_simulator("do lift");
}

// The names of the sources are told to the parent by discovery alone here.
void matrix_play::expect_return()
{
    if (!is_lost(cell.end)) return;
    const char* client = is_refused_at_first(cell) ? "1" : "2";
    ASSERT_TRUE(simulator_tells(std::string(" connected client=") + client));
    const int discoveries = cell.struck == phase::connecting ? 1 : 2;
    EXPECT_TRUE(until([&] {
        learn();
        return reports_of_inputs >= discoveries;
    }));
}

// How many that begin like this have reached the router.
long matrix_play::requests(const std::string& text) const
{
    return std::count_if(simulator.lines.begin(), simulator.lines.end(), [&](const auto& line) {
        return line.find(" > " + text) != std::string::npos;
    });
}

namespace {
bool sends_routes(const matrix_cell& cell)
{
    return cell.fault.name == "burst" || cell.struck == phase::burst || cell.struck == phase::query;
}
} // namespace

// A routing status that comes unasked, or late, can stand in for the reply to a status request.
// What that reply tells is then lost, and the operator has to do it again.
void matrix_play::repeat_until_learnt()
{
    const std::map<std::string, std::string> changed = {{"o1.input.all", "6"},
                                                        {"o4.name", "STRUCK"}};
    EXPECT_TRUE(until([&, next = requests("QD") + 4]() mutable {
        learn();
        if (knows(changed)) return true;
        if (requests("QD") < next) return false;
        tell_simulator("take 2 7\nrename destination 5 STRUCK");
        next = requests("QD") + 4;
        return false;
    }));
}

// What the router says of its routes is thrown away unhandled where a status cycle begins before it
// is handled, and the router does not say it again.
void matrix_play::ask_until_learnt(const std::map<std::string, std::string>& routes)
{
    EXPECT_TRUE(until([&] {
        learn();
        if (knows(routes)) return true;
        const long before = std::exchange(thrown_away, statuses_thrown_away(backend));
        if (thrown_away > before) say("*COMMAND=report\n*TYPE=command\nwhat=outputs");
        return false;
    }));
}

// Said twice: what is staged five seconds after a burst is dropped, once.
void matrix_play::say_take()
{
    take(backend, 6, 2);
    take(backend, 6, 2);
}

// The router has it, and the route stays.
void matrix_play::expect_prevented_take()
{
    say_take();
    EXPECT_TRUE(until([this] { return requests("TI \"7\" \"3\"") > 0; }));
    expect_true_routes();
    EXPECT_EQ(known["o6.input.all"], "6");
    tell_simulator("do lift");
    EXPECT_TRUE(simulator_tells(" " + cell.lift.name));
}

void matrix_play::expect_take(int client)
{
    say_take();
    ask_until_learnt({{"o6.input.all", "2"}});
    EXPECT_TRUE(simulator_tells(" take client=" + std::to_string(client) +
                                " destination=7 source=3 by=client"));
}

// The parent knows what the router really has routed.
void matrix_play::expect_true_routes()
{
    tell_simulator("routes");
    std::map<std::string, std::string> routes;
    ASSERT_TRUE(until([&] {
        for (; lines_searched < simulator.lines.size(); ++lines_searched) {
            const std::string& line = simulator.lines[lines_searched]; // 1 MON A <- 1 CAM 1
            const std::size_t arrow = line.find(" <- ");
            if (arrow == std::string::npos) continue;
            routes["o" + std::to_string(std::stoi(line) - 1) + ".input.all"] =
                std::to_string(std::stoi(line.substr(arrow + 4)) - 1);
        }
        return routes.size() == 8;
    }));
    ask_until_learnt(routes);
}

void matrix_play::expect_whole_status_cycle()
{
    tell_simulator("rename source 1 LAST");
    EXPECT_TRUE(learns({{"i0.name", "LAST"}}));
}

Lines matrix_play::diagnostics_but(const std::function<bool(const std::string&)>& left_out) const
{
    Lines lines;
    for (const std::string& line : backend.diagnostics)
        if (!line.starts_with("<DBG>") && !left_out(line)) lines.push_back(line);
    return lines;
}

// All but what the router is, and but the bytes between frames where the fault is made of them.
Lines matrix_play::problems() const
{
    const bool garbles = cell.fault.name == "garbage";
    return with_one_refusal(diagnostics_but([&](const std::string& line) {
        return tells_identity(line) || (garbles && line.starts_with("Discarding unexpected byte "));
    }));
}

namespace {
bool prevents_takes(const matrix_cell& cell)
{
    return !cell.lift.name.empty() && cell.end != ending::refused;
}
} // namespace

void matrix_play::run()
{
    start_under_fault();
    await_fault();
    expect_reply("*COMMAND=dance", "during");
    end_refusal();
    expect_return();
    if (cell.fault.name == "burst") {
        ASSERT_TRUE(simulator_tells(" end of burst"));
    }
    if (sends_routes(cell)) repeat_until_learnt();
    EXPECT_TRUE(learns(
        {{"o4.name", "STRUCK"}, {"outputs", "8"}, {"inputs", "8"}, {"model", "Simulated router"}}));
    // Without destinations discovery has asked for no routes.
    if (cell.struck == phase::discovery && !is_lost(cell.end))
        expect_reply("*COMMAND=report\nwhat=outputs", "after");
    if (prevents_takes(cell)) expect_prevented_take();
    expect_take(is_lost(cell.end) && !is_refused_at_first(cell) ? 2 : 1);
    expect_true_routes();
    expect_whole_status_cycle();
    end_input(backend);
    EXPECT_EQ(end(), "exited with status 0");
}

void matrix_play::judge()
{
    EXPECT_THAT(problems(), AnyOfArray(accepted_diagnostics(cell)));
    EXPECT_EQ(diagnostics_but([](const std::string& line) { return !tells_identity(line); }),
              identity_lines(cell));
    TearDown();
}

TEST_P(FaultMatrix, IsOvercome)
{
    play_unstarved<matrix_play>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Each, FaultMatrix, testing::ValuesIn(all_cells()),
                         [](const auto& each) { return each.param.name; });
