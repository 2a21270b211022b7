// Every bound of the desk, and what happens beyond it.
#pragma once

#include <chrono>
#include <cstddef>

namespace desk {

constexpr std::size_t ROUTERS = 1000;        // one more is refused
constexpr std::size_t ROUTER_ID_LENGTH = 64; // a longer one is refused
constexpr int POSITIONS = 1024;              // names and groups beyond it are passed over
constexpr int ROUTED_POSITIONS = 256;        // what a backend reports: no route beyond it
constexpr std::size_t TEXT_LENGTH = 255;     // bytes of a name, an alias, a reason: cut at a letter
constexpr std::size_t ROWS_PER_BATCH = 4096; // a longer batch, stage or salvo is refused whole
constexpr std::size_t OPEN_PER_DESTINATION = 16; // one more wish is not sent: "too many at once"
constexpr std::size_t BATCHES_KEPT = 10'000;     // the oldest that has ended is forgotten
constexpr std::size_t BATCH_ROWS_KEPT = 200'000; // in all batches; likewise
constexpr std::size_t SALVOS = 1000;             // one more is refused
constexpr std::size_t DELETED_SALVOS = 1000;     // the one deleted first is forgotten
constexpr std::size_t VERSIONS_PER_SALVO = 50;   // the oldest is forgotten
constexpr std::size_t SALVO_ROWS = 1'000'000;    // in all versions of all; more are refused, and
                                                 // deleted ones that go beyond it forgotten
constexpr std::size_t UNDO_STEPS = 50;           // for each person; the oldest is forgotten
constexpr std::size_t UNDO_ROWS = 20'000;       // in all steps of a person's undo or redo; likewise
constexpr std::size_t PEOPLE = 1000;            // who staged or took: the longest idle is forgotten
constexpr std::size_t NOTICES = 100;            // for each person; the oldest is forgotten
constexpr std::size_t TAKES_UNANSWERED = 4096;  // on one router; the oldest is forgotten
constexpr std::size_t QUERIES_UNDER_WAY = 255;  // for a destination; more count as so many
constexpr std::size_t SHOWINGS_UNREPORTED = 64; // of a destination; the oldest is forgotten
constexpr std::size_t TAKES_UNSHOWN = 64;       // of a destination; the oldest is forgotten

constexpr std::chrono::hours UNDO_AGE{24};            // an older step is forgotten
constexpr std::chrono::hours NOTICE_AGE{24};          // an older one is told no more
constexpr std::chrono::hours DELETED_AGE{30 * 24};    // so long a deleted salvo can be restored
constexpr std::chrono::seconds COMMAND_AGE{2};        // an older command is refused, never late
constexpr std::chrono::seconds SEND_LIMIT{5};         // a wish not sent by then ends as not sent
constexpr std::chrono::seconds CONFIRMATION_LIMIT{3}; // unless the router's own is set
constexpr std::chrono::seconds LATE_LIMIT{60};        // a report later than that after a wish's end
                                                      // confirms it only as the first since then
constexpr std::chrono::seconds LATE_ANSWER{15};       // a query that was passed over has none later
constexpr std::chrono::seconds SWITCHING_TIME{1}; // when the router had answered the query after
                                                  // its take: a later one never confirms it
constexpr std::chrono::seconds REPORT_AGE{15};    // what a router showed longer ago no report
                                                  // brings: a status cycle takes 13 s at most
constexpr std::chrono::milliseconds SHORTEST_CONFIRMATION_LIMIT{100}; // others are refused
constexpr std::chrono::milliseconds LONGEST_CONFIRMATION_LIMIT{60'000};
constexpr std::chrono::milliseconds LONGEST_PACING{750}; // a backend may hold changes this long

} // namespace desk
