// What has changed in a topic, by its revisions: each thing once, at its newest change. So who has
// some revision is told the newest value of each thing that changed since, and nothing twice.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace web {

// What a change in the API's description tells of.
struct live_thing {
    enum class kind {
        router,
        sources, // all of them
        source,
        destinations,
        destination,
        route,
        stale,
        wish,
        problem,
        lock,
        staged,
        operation,
        row,
        salvo,
        operators,
        stage,
        settings,
        undo,
        notice,
        server,
    };
    kind what = kind::router;
    int position = 0; // of a source, destination, route, wish, problem, lock; a row's number
    std::string id;   // of a router, person, operation, salvo, notice
    // Not a pointer that is compared with 0: NOLINTNEXTLINE(modernize-use-nullptr)
    auto operator<=>(const live_thing&) const = default;
};

struct change_log {
    std::uint64_t revision = 0;   // the topic's
    std::uint64_t reaches_to = 0; // all changes after this revision are known
    std::map<live_thing, std::uint64_t> newest;
    std::set<std::pair<std::uint64_t, live_thing>> by_revision; // the same
};

// A log of a topic that has this revision now.
change_log begin_log(std::uint64_t revision);

// The revision is not smaller than the log's. Beyond CHANGES_KEPT things the oldest is forgotten.
void note_change(change_log& log, std::uint64_t revision, const live_thing& thing);

// Whether it knows all that has changed since.
bool reaches(const change_log& log, std::uint64_t since);

// Sorted.
std::vector<live_thing> changed_since(const change_log& log, std::uint64_t since);

} // namespace web
