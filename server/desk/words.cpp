#include "server/desk/words.h"

#include <algorithm>

namespace desk {

namespace {
std::string number_text(const house_router* known, int position)
{
    const long long first = known != nullptr ? known->settings.first_number : 1;
    return std::to_string(position + first);
}

std::string position_name(const desk_state& desk, const std::string& router, side of, int position)
{
    const house_router* known = find_router(desk, router);
    if (known != nullptr) {
        const std::string& alias = label_of(*known, of, position).alias;
        if (!alias.empty()) return alias;
    }
    if (const live_router* live = find_live(desk, router)) {
        const auto& names = of == side::sources ? live->source_names : live->destination_names;
        const auto index = static_cast<std::size_t>(position);
        if (index < names.size() && !names[index].empty()) return names[index];
    }
    return (of == side::sources ? "source " : "destination ") + number_text(known, position);
}

bool is_of_another(const house_router& known, const live_router& live, side of, int position,
                   const std::string& name)
{
    const auto& labels = of == side::sources ? known.source_labels : known.destination_labels;
    const auto& names = of == side::sources ? live.source_names : live.destination_names;
    if (std::any_of(labels.begin(), labels.end(), [&](const auto& label) {
            return label.first != position && label.second.alias == name;
        }))
        return true;
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == name && static_cast<int>(i) != position &&
            label_of(known, of, static_cast<int>(i)).alias.empty())
            return true;
    return false;
}

std::string with_number(const desk_state& desk, const std::string& router, side of, int position,
                        std::string name)
{
    const house_router* const known = find_router(desk, router);
    const live_router* const live = find_live(desk, router);
    if (position >= 0 && known != nullptr && live != nullptr &&
        is_of_another(*known, *live, of, position, name))
        name += " (" + number_text(known, position) + ")";
    return name;
}

bool continues_letter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80;
}
} // namespace

std::string source_name(const desk_state& desk, const std::string& router, int source)
{
    if (source == NO_SOURCE) return "no source";
    if (source == UNKNOWN_SOURCE) return "unknown";
    return position_name(desk, router, side::sources, source);
}

std::string destination_name(const desk_state& desk, const std::string& router, int destination)
{
    return position_name(desk, router, side::destinations, destination);
}

std::string source_text(const desk_state& desk, const std::string& router, int source)
{
    return with_number(desk, router, side::sources, source, source_name(desk, router, source));
}

std::string destination_text(const desk_state& desk, const std::string& router, int destination)
{
    return with_number(desk, router, side::destinations, destination,
                       destination_name(desk, router, destination));
}

const char* text_of(outcome outcome)
{
    switch (outcome) {
    case outcome::open:
        return "open";
    case outcome::confirmed:
        return "confirmed";
    case outcome::contradicted:
        return "contradicted";
    case outcome::refused:
        return "refused";
    case outcome::timed_out:
        return "timed out";
    case outcome::not_sent:
        return "not sent";
    case outcome::superseded:
        return "superseded";
    case outcome::unknown:
        return "unknown";
    }
    return "";
}

const char* text_of(wish_state state)
{
    switch (state) {
    case wish_state::held:
        return "held";
    case wish_state::queued:
        return "queued";
    case wish_state::sent:
        return "sent";
    }
    return "";
}

const char* text_of(link_state link)
{
    switch (link) {
    case link_state::off:
        return "off";
    case link_state::connecting:
        return "connecting";
    case link_state::reading:
        return "reading";
    case link_state::ready:
        return "ready";
    case link_state::down:
        return "down";
    case link_state::failing:
        return "failing";
    }
    return "";
}

const char* text_of(lock_mode mode)
{
    return mode == lock_mode::lock ? "locked" : "protected";
}

const char* code_of(reason reason)
{
    switch (reason) {
    case reason::none:
        return "";
    case reason::no_such_router:
        return "noSuchRouter";
    case reason::no_such_destination:
        return "noSuchDestination";
    case reason::no_such_source:
        return "noSuchSource";
    case reason::no_such_salvo:
        return "noSuchSalvo";
    case reason::no_such_version:
        return "noSuchVersion";
    case reason::no_such_batch:
        return "noSuchBatch";
    case reason::no_such_group:
        return "noSuchGroup";
    case reason::no_right:
        return "noRight";
    case reason::link_not_ready:
        return "linkNotReady";
    case reason::locked:
        return "destinationLocked";
    case reason::protected_by_other:
        return "destinationProtected";
    case reason::changed_since:
        return "changedSince";
    case reason::fact_unknown:
        return "factUnknown";
    case reason::not_confirmed:
        return "notConfirmed";
    case reason::too_many_at_once:
        return "tooManyAtOnce";
    case reason::too_late:
        return "tooLate";
    case reason::blocked_by_other_row:
        return "blockedByOtherRow";
    case reason::link_lost:
        return "linkLost";
    case reason::not_sent_in_time:
        return "notSentInTime";
    case reason::backend_ended:
        return "backendEnded";
    case reason::nothing_to_do:
        return "nothingToDo";
    case reason::name_taken:
        return "nameTaken";
    case reason::not_deleted:
        return "notDeleted";
    case reason::duplicate_destination:
        return "duplicateDestination";
    case reason::bad_value:
        return "badValue";
    }
    return "";
}

std::string lock_text(const desk_state& desk, const std::string& router, int destination)
{
    const house_router* known = find_router(desk, router);
    if (known == nullptr) return "";
    const auto found = known->locks.find(destination);
    if (found == known->locks.end()) return "";
    const lock& lock = found->second;
    std::string text = destination_text(desk, router, destination) + " is " + text_of(lock.mode) +
                       " by " + lock.owner;
    if (!lock.reason.empty()) text += " (" + lock.reason + ")";
    return text;
}

namespace {
// The newest wish for the source that has been sent, of those whose take has been shown if there is
// one.
const open_wish* sent_wish_for(const live_router& live, int destination, int source)
{
    const open_wish* newest = nullptr;
    const auto open = live.open.find(destination);
    if (open == live.open.end()) return nullptr;
    for (const open_wish& wish : open->second)
        if (wish.state == wish_state::sent && wish.source == source &&
            (wish.shown != 0 || newest == nullptr || newest->shown == 0))
            newest = &wish;
    return newest;
}

bool may_have_been_before(const live_router& live, int destination, int source)
{
    const auto unreported = live.unreported.find(destination);
    return unreported != live.unreported.end() &&
           std::any_of(
               unreported->second.begin(), unreported->second.end(),
               [&](const showing& one) { return one.source == source && one.may_be_older; });
}

// It comes in the place of what was shown until now, and no wish that went wrong is for it.
bool is_from_outside(const desk_state& desk, const live_router& live, int destination, int source)
{
    const auto troubled = live.troubled.find(destination);
    const wish* const trouble =
        troubled == live.troubled.end() ? nullptr : find_wish(desk.house, troubled->second.id);
    const auto unshown = live.unshown_takes.find(destination);
    return is_fresh(live, destination) && source_shown(live, destination) != source &&
           !may_have_been_before(live, destination, source) &&
           (trouble == nullptr || trouble->wished.source != source) &&
           (unshown == live.unshown_takes.end() ||
            std::none_of(unshown->second.begin(), unshown->second.end(),
                         [&](const unshown_take& take) { return take.source == source; }));
}
} // namespace

std::string taker_text(const desk_state& desk, const std::string& router, int destination,
                       int source)
{
    const live_router* const live = find_live(desk, router);
    if (live == nullptr) return "it is not known by whom";
    const authorship* const author = source_shown(*live, destination) == source
                                         ? author_shown(desk, router, destination)
                                         : nullptr;
    const open_wish* const sent = sent_wish_for(*live, destination, source);
    std::string person;
    if (author != nullptr)
        person = author->person;
    else if (sent != nullptr && sent->shown != 0)
        person = desk.house.batches.at(sent->id.batch).person;
    else if (sent != nullptr || !is_from_outside(desk, *live, destination, source))
        return "it is not known by whom";
    return "taken by " + (person.empty() ? "somebody else" : person);
}

std::string cut_text(const std::string& text)
{
    std::size_t end = std::min(text.size(), TEXT_LENGTH);
    for (int i = 0; i < 3 && end < text.size() && end > 0 && continues_letter(text[end]); ++i)
        --end;
    std::string cut;
    for (std::size_t i = 0; i < end; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool second_half = byte == 0xc2 && i + 1 < end && // of the controls: U+0080 to U+009f
                                 static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
                                 static_cast<unsigned char>(text[i + 1]) < 0xa0;
        if (second_half) ++i;
        cut += byte < 0x20 || byte == 0x7f || second_half ? ' ' : text[i];
    }
    return cut;
}

} // namespace desk
