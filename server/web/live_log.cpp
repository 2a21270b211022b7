#include "server/web/live_log.h"

#include <algorithm>

#include "server/web/live_limits.h"

namespace web {

change_log begin_log(std::uint64_t revision)
{
    return {revision, revision, {}, {}};
}

void note_change(change_log& log, std::uint64_t revision, const live_thing& thing)
{
    log.revision = revision;
    const auto [known, is_new] = log.newest.try_emplace(thing, revision);
    if (!is_new) log.by_revision.erase({known->second, thing});
    known->second = revision;
    log.by_revision.emplace(revision, thing);
    if (log.by_revision.size() <= CHANGES_KEPT) return;
    const auto oldest = log.by_revision.begin();
    log.reaches_to = oldest->first;
    log.newest.erase(oldest->second);
    log.by_revision.erase(oldest);
}

bool reaches(const change_log& log, std::uint64_t since)
{
    return log.reaches_to <= since && since <= log.revision;
}

std::vector<live_thing> changed_since(const change_log& log, std::uint64_t since)
{
    std::vector<live_thing> things;
    for (auto it = log.by_revision.lower_bound({since + 1, {}}); it != log.by_revision.end(); ++it)
        things.push_back(it->second);
    std::sort(things.begin(), things.end());
    return things;
}

} // namespace web
