#include "server/web/live_pass.h"

#include <algorithm>
#include <utility>

#include "server/web/live_clients.h"
#include "server/web/live_following.h"
#include "server/web/live_notes.h"
#include "server/web/live_streams.h"
#include "server/web/live_telling.h"
#include "server/web/live_untold.h"

namespace web {

namespace {
void look_again(server& server, const desk::moment& now)
{
    if (now.steady - server.live.looked < LOOKING_AGAIN) return;
    server.live.looked = now.steady;
    look_after_clients(server, now);
    note_figures(server, now);
    for (auto& [which, topic] : server.live.topics)
        topic.snapshots.clear(); // no longer the same for many who begin at once
}

void check_clients(server& server, const desk::moment& now)
{
    if (std::exchange(server.live.accounts_changes, server.accounts.changes) ==
        server.accounts.changes)
        return;
    note_settings(server);
    const bool others = std::exchange(server.live.people_set, server.accounts.people_set) !=
                        server.accounts.people_set;
    if (others) forget_all(server);
    for (auto& [stream, client] : server.live.clients)
        check_client(server, now, stream, client);
}
} // namespace

void tell_followers(server& server, const desk::moment& now)
{
    note_changes(server, now);
    note_frames(server);
    check_clients(server, now);
    look_again(server, now);
    tell_changes(server, now);
    close_ended(server);
}

std::optional<desk::monotonic> next_due(const live_state& live)
{
    if (live.clients.empty()) return {};
    const desk::monotonic look = live.looked + LOOKING_AGAIN;
    return live.tell_at ? std::min(*live.tell_at, look) : look;
}

} // namespace web
