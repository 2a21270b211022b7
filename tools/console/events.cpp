#include "console/events.h"

#include <set>
#include <utility>

#include "console/batch_text.h"
#include "console/times.h"
#include "server/desk/words.h"

namespace console {

bool take_events(console_state& console, const desk::moment& now, std::vector<notice>& notices)
{
    std::set<desk::ulid> ended;
    for (const desk::change& change : std::exchange(console.desk.changes, {})) {
        if (change.what == desk::change::kind::link) {
            const desk::live_router& live = *desk::find_live(console.desk, change.router);
            notices.push_back({.text = time_of_day(now.utc) + " " + change.router + " is " +
                                       desk::text_of(live.link) + "\n",
                               .always = true});
        }
        if (change.what == desk::change::kind::wish && has_ended(console.desk.house, change.id))
            ended.insert(change.id);
    }
    for (const desk::ulid& batch : ended)
        notices.push_back({.text = outcome_text(console, batch), .always = true});
    const bool any = !console.desk.entries.empty();
    for (desk::entry& entry : std::exchange(console.desk.entries, {})) {
        console.history.push_back(std::move(entry));
        if (console.history.size() > HISTORY_KEPT) console.history.pop_front();
    }
    return any;
}

} // namespace console
