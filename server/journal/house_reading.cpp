#include <limits>

#include "server/desk/desk.h"
#include "server/desk/salvos.h"
#include "server/desk/setup.h"
#include "server/desk/start.h"
#include "server/desk/words.h"
#include "server/journal/house_json.h"
#include "server/journal/house_parts.h"
#include "server/journal/house_words.h"
#include "server/journal/json_places.h"

namespace journal {

namespace {
using nlohmann::json;

constexpr long long LONGEST_DURATION = LAST_TIME * 1000; // in microseconds
constexpr int LAST_ROUTED = desk::ROUTED_POSITIONS - 1;
constexpr int LAST_SHOWN = desk::POSITIONS - 1; // also sources that cannot be routed
constexpr int LAST_NUMBER = std::numeric_limits<int>::max();

int read_source(const place& at, int most)
{
    if (at.value.is_null()) return desk::NO_SOURCE;
    if (at.value == "unknown") return desk::UNKNOWN_SOURCE;
    return read_int(at, 0, most);
}

// None is the desk's own word for "no batch" and names nothing.
desk::ulid read_ulid(const std::string& text, const place& at)
{
    desk::ulid id;
    if (!desk::read_id(text, id) || id.is_none()) complain(at, "is no identifier");
    return id;
}

desk::wish_id read_wish_id(const place& at)
{
    expect_members(at, {"batch", "row"});
    return {read_ulid(member(at, "batch")),
            static_cast<std::uint32_t>(
                read_int(member(at, "row"), 0, static_cast<int>(desk::ROWS_PER_BATCH) - 1))};
}

// With positions up to these.
desk::route read_route(const place& at, int last_destination, int last_source)
{
    return {read_text(member(at, "router"), desk::ROUTER_ID_LENGTH),
            read_int(member(at, "destination"), 0, last_destination),
            read_source(member(at, "source"), last_source)};
}
} // namespace

desk::ulid read_ulid(const place& at)
{
    return read_ulid(read_text(at), at);
}

// They are numbered on, and behind the last there is no code.
desk::reason read_reason(const place& at)
{
    const std::string text = read_text(at);
    for (int number = static_cast<int>(desk::reason::none) + 1;; ++number) {
        const auto reason = static_cast<desk::reason>(number);
        const std::string code = desk::code_of(reason);
        if (code.empty()) complain(at, "must not be \"" + text + "\"");
        if (code == text) return reason;
    }
}

desk::doings read_doings(const place& at)
{
    desk::doings doings;
    if (has(at, "replaced")) doings.replaced = read_wish_id(member(at, "replaced"));
    if (has(at, "restored")) doings.restored = read_wish_id(member(at, "restored"));
    return doings;
}

// The desk itself judges them.
desk::router_settings read_settings(const std::string& id, const place& at)
{
    expect_members(at, {"name", "address", "port", "inputs", "outputs", "firstNumber",
                        "confirmationLimit", "simulated", "addedAfter"});
    desk::router_settings settings;
    settings.id = id;
    settings.name = read_text(member(at, "name"));
    settings.address = read_text(member(at, "address"));
    settings.port = read_int(member(at, "port"), 0, LAST_NUMBER);
    settings.inputs = read_int(member(at, "inputs"), 0, LAST_NUMBER);
    settings.outputs = read_int(member(at, "outputs"), 0, LAST_NUMBER);
    settings.first_number = read_int(member(at, "firstNumber"), 0, LAST_NUMBER);
    settings.confirmation_limit =
        std::chrono::milliseconds(read_int(member(at, "confirmationLimit"), 0, LAST_NUMBER));
    if (has(at, "simulated")) {
        const place simulated = member(at, "simulated");
        expect_members(simulated, {"sources", "destinations"});
        settings.simulated = {read_int(member(simulated, "sources"), 0, LAST_NUMBER),
                              read_int(member(simulated, "destinations"), 0, LAST_NUMBER)};
    }
    desk::desk_state judge = desk::make_desk(0);
    const desk::actor all_powerful{"reader", "", {desk::right::administer, {}, {}}};
    const desk::objection found = desk::set_router(judge, {}, all_powerful, settings);
    if (found.why != desk::reason::none) complain(at, "is wrong: " + found.detail);
    return judge.house.routers.begin()->second.settings;
}

desk::label read_label(const place& at)
{
    expect_members(at, {"index", "alias", "group"});
    return {read_text(member(at, "alias"), desk::TEXT_LENGTH),
            read_text(member(at, "group"), desk::TEXT_LENGTH)};
}

namespace {
std::map<int, desk::label> read_labels(const place& at)
{
    std::map<int, desk::label> labels;
    read_array(at, desk::POSITIONS, [&](const place& each) {
        const desk::label label = read_label(each);
        const int index = read_int(member(each, "index"), 0, desk::POSITIONS - 1);
        if (label == desk::label{}) complain(each, "is an empty label");
        if (!labels.emplace(index, label).second) complain(each, "is for an index that has one");
    });
    return labels;
}
} // namespace

desk::lock read_lock(const place& at)
{
    expect_members(at, {"index", "mode", "owner", "reason", "since", "until"});
    desk::lock lock{read_word(member(at, "mode"), LOCK_MODES),
                    read_text(member(at, "owner")),
                    read_text(member(at, "reason"), desk::TEXT_LENGTH),
                    read_time(member(at, "since")),
                    {}};
    if (has(at, "until")) lock.until = read_time(member(at, "until"));
    return lock;
}

desk::notice read_notice(const place& at)
{
    expect_members(at, {"person", "at", "by", "router", "index", "reason"});
    return {read_text(member(at, "person")),
            read_time(member(at, "at")),
            read_text(member(at, "by")),
            read_text(member(at, "router"), desk::ROUTER_ID_LENGTH),
            read_int(member(at, "index"), 0, LAST_ROUTED),
            read_text(member(at, "reason"), desk::TEXT_LENGTH)};
}

namespace {
desk::house_router read_router(const std::string& id, const place& at)
{
    expect_members(at, {"settings", "sourceLabels", "destinationLabels", "locks", "authors"});
    desk::house_router router;
    const place settings = member(at, "settings");
    router.settings = read_settings(id, settings);
    if (has(settings, "addedAfter")) router.added_after = read_ulid(member(settings, "addedAfter"));
    router.source_labels = read_labels(member(at, "sourceLabels"));
    router.destination_labels = read_labels(member(at, "destinationLabels"));
    read_array(member(at, "locks"), desk::ROUTED_POSITIONS, [&](const place& each) {
        const desk::lock lock = read_lock(each);
        if (!router.locks.emplace(read_int(member(each, "index"), 0, LAST_ROUTED), lock).second)
            complain(each, "is for an index that has one");
    });
    read_array(member(at, "authors"), desk::ROUTED_POSITIONS, [&](const place& each) {
        expect_members(each, {"index", "source", "by", "person", "since"});
        desk::authorship author;
        author.source = read_source(member(each, "source"), LAST_SHOWN);
        if (has(each, "by")) author.by = read_wish_id(member(each, "by"));
        if (has(each, "person")) author.person = read_text(member(each, "person"));
        if (has(each, "since")) author.since = read_time(member(each, "since"));
        const int index = read_int(member(each, "index"), 0, LAST_ROUTED);
        if (!router.authors.emplace(index, author).second)
            complain(each, "is for an index that has one");
    });
    return router;
}
} // namespace

desk::salvo_version read_version(const place& at, int least_number)
{
    expect_members(at, {"number", "author", "saved", "rows", "note", "rule"});
    desk::salvo_version version{read_int(member(at, "number"), least_number, LAST_NUMBER),
                                read_text(member(at, "author")),
                                read_time(member(at, "saved")),
                                {},
                                has(at, "note") ? read_text(member(at, "note"), desk::TEXT_LENGTH)
                                                : "",
                                desk::batch_rule::all};
    if (has(at, "rule")) version.rule = read_word(member(at, "rule"), BATCH_RULES);
    read_array(member(at, "rows"), desk::ROWS_PER_BATCH, [&](const place& each) {
        expect_members(each, {"router", "destination", "source"});
        version.rows.push_back(read_route(each, LAST_ROUTED, LAST_ROUTED));
        if (version.rows.back().source == desk::UNKNOWN_SOURCE)
            complain(each, "has a source that is not known");
    });
    if (version.rows.empty()) complain(at, "has no rows");
    return version;
}

namespace {
desk::salvo read_salvo(const place& at)
{
    desk::salvo salvo;
    salvo.name = read_text(member(at, "name"), desk::TEXT_LENGTH);
    if (salvo.name.empty() || desk::cut_text(salvo.name) != salvo.name)
        complain(at, "has a name that no salvo can have");
    int least_number = 1;
    read_array(member(at, "versions"), desk::VERSIONS_PER_SALVO, [&](const place& each) {
        salvo.versions.push_back(read_version(each, least_number));
        least_number = salvo.versions.back().number;
        if (least_number == LAST_NUMBER) complain(each, "has a number that none can follow");
        ++least_number;
    });
    if (salvo.versions.empty()) complain(at, "has no versions");
    return salvo;
}

// Adds its rows, and complains when they are too many by now.
void count_rows(const desk::salvo& salvo, std::size_t& rows, const place& at)
{
    for (const desk::salvo_version& version : salvo.versions)
        rows += version.rows.size();
    if (rows > desk::SALVO_ROWS) complain(at, "has too many rows");
}

void read_salvos(const place& at, desk::house& house)
{
    std::size_t rows = 0;
    read_members(member(at, "salvos"), desk::SALVOS, [&](const std::string& id, const place& each) {
        expect_members(each, {"name", "versions"});
        desk::salvo salvo = read_salvo(each);
        if (desk::find_salvo(house, salvo.name)) complain(each, "has the name of another salvo");
        count_rows(salvo, rows, each);
        house.salvos.emplace(read_ulid(id, each), std::move(salvo));
    });
    if (!has(at, "deletedSalvos")) return;
    const place deleted = member(at, "deletedSalvos");
    read_members(deleted, desk::DELETED_SALVOS, [&](const std::string& id, const place& each) {
        expect_members(each, {"name", "versions", "deleted"});
        desk::salvo salvo = read_salvo(each);
        count_rows(salvo, rows, each);
        house.deleted_salvos[read_ulid(id, each)] = {std::move(salvo),
                                                     read_time(member(each, "deleted"))};
    });
}

std::optional<desk::monotonic> read_duration(const place& of, const char* name)
{
    if (!has(of, name)) return std::nullopt;
    return desk::monotonic(read_integer(member(of, name), 0, LONGEST_DURATION));
}

desk::wish read_wish(const place& at)
{
    expect_members(at, {"router", "destination", "source", "was", "end", "unchanged", "why",
                        "detail", "sentAfter", "answeredAfter", "endedAfter", "confirmedLateAfter",
                        "replaced", "restored", "found", "accepted"});
    desk::wish wish;
    wish.was = read_source(member(at, "was"), LAST_SHOWN);
    wish.end = read_word(member(at, "end"), OUTCOMES);
    wish.unchanged = read_flag(at, "unchanged");
    if (has(at, "why")) wish.why = read_reason(member(at, "why"));
    if (has(at, "detail")) wish.detail = read_text(member(at, "detail"));
    wish.sent_after = read_duration(at, "sentAfter");
    wish.answered_after = read_duration(at, "answeredAfter");
    wish.ended_after = read_duration(at, "endedAfter");
    wish.confirmed_late_after = read_duration(at, "confirmedLateAfter");
    wish.doings = read_doings(at);
    if (has(at, "found")) wish.found = read_source(member(at, "found"), LAST_SHOWN);
    wish.accepted = read_flag(at, "accepted");
    // One that was refused at once may have asked for what there is not.
    const int last = desk::was_accepted(wish) ? LAST_ROUTED : LAST_NUMBER;
    wish.wished = read_route(at, last, last);
    return wish;
}

desk::batch read_batch(const place& at)
{
    expect_members(
        at, {"kind", "rule", "person", "origin", "reason", "made", "of", "salvoVersion", "rows"});
    desk::batch batch;
    batch.kind = read_word(member(at, "kind"), BATCH_KINDS);
    batch.rule = read_word(member(at, "rule"), BATCH_RULES);
    batch.person = read_text(member(at, "person"));
    batch.origin = read_text(member(at, "origin"));
    batch.reason_given = read_text(member(at, "reason"), desk::TEXT_LENGTH);
    batch.made = read_time(member(at, "made"));
    if (has(at, "of")) batch.of = read_ulid(member(at, "of"));
    if (has(at, "salvoVersion"))
        batch.salvo_version = read_int(member(at, "salvoVersion"), 1, LAST_NUMBER);
    read_array(member(at, "rows"), desk::ROWS_PER_BATCH,
               [&](const place& each) { batch.rows.push_back(read_wish(each)); });
    if (batch.rows.empty()) complain(at, "has no rows");
    return batch;
}

std::deque<desk::undo_step> read_steps(const place& at)
{
    std::deque<desk::undo_step> steps;
    read_array(at, desk::UNDO_STEPS, [&](const place& each) {
        expect_members(each, {"batch", "made", "rows"});
        desk::undo_step& step = steps.emplace_back();
        step.batch = read_ulid(member(each, "batch"));
        step.made = read_time(member(each, "made"));
        read_array(member(each, "rows"), desk::ROWS_PER_BATCH, [&](const place& row) {
            expect_members(row, {"router", "destination", "source", "by", "was"});
            step.rows.push_back({read_wish_id(member(row, "by")),
                                 read_route(row, LAST_ROUTED, LAST_ROUTED),
                                 read_source(member(row, "was"), LAST_SHOWN)});
        });
        if (step.rows.empty()) complain(each, "has no rows");
    });
    return steps;
}

desk::house read_whole(const place& at)
{
    desk::house house;
    expect_members(at, {"format", "version", "routers", "salvos", "deletedSalvos", "batches",
                        "undo", "notices"});
    read_members(member(at, "routers"), desk::ROUTERS,
                 [&](const std::string& id, const place& each) {
                     house.routers[id] = read_router(id, each);
                 });
    read_salvos(at, house);
    read_members(member(at, "batches"), desk::BATCHES_KEPT,
                 [&](const std::string& id, const place& each) {
                     desk::batch batch = read_batch(each);
                     house.batch_rows += batch.rows.size();
                     if (!house.batches.emplace(read_ulid(id, each), std::move(batch)).second)
                         complain(each, "is there twice");
                 });
    read_members(member(at, "undo"), desk::PEOPLE,
                 [&](const std::string& person, const place& each) {
                     expect_members(each, {"undo", "redo"});
                     house.undo[person] = {read_steps(member(each, "undo")),
                                           read_steps(member(each, "redo"))};
                 });
    if (has(at, "notices"))
        read_members(member(at, "notices"), desk::PEOPLE * desk::NOTICES,
                     [&](const std::string& id, const place& each) {
                         house.notices[read_ulid(id, each)] = read_notice(each);
                     });
    return house;
}
} // namespace

bool read_house(const std::string& text, desk::house& house, std::string& error)
{
    try {
        const json whole = json::parse(text);
        const place at{whole, ""};
        expect_object(at);
        if (member(at, "format").value != HOUSE_FORMAT) complain(at, "keeps no house");
        const long long version = read_integer(member(at, "version"), 1, LAST_NUMBER);
        if (version > HOUSE_VERSION)
            complain(at, "was written by a newer console: its version is " +
                             std::to_string(version) + ", this console reads " +
                             std::to_string(HOUSE_VERSION));
        house = read_whole(at);
        return true;
    } catch (const json::parse_error& thrown) {
        error = no_json(text, thrown.byte);
    } catch (const json::exception&) { // of numbers alone; the rest is asked before it is read
        error = "it has a number that is too large";
    } catch (const misfit& thrown) {
        error = thrown.what();
    }
    return false;
}

} // namespace journal
