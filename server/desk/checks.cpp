#include "server/desk/checks.h"

#include "server/desk/words.h"

namespace desk {

namespace {
int routable(int counted, int set)
{
    if (counted > 0) return counted;
    return set > 0 ? set : ROUTED_POSITIONS;
}
} // namespace

int destinations_of(const desk_state& desk, const std::string& router)
{
    return routable(find_live(desk, router)->outputs, find_router(desk, router)->settings.outputs);
}

int sources_of(const desk_state& desk, const std::string& router)
{
    return routable(find_live(desk, router)->inputs, find_router(desk, router)->settings.inputs);
}

objection no_such_router(const std::string& router)
{
    return {reason::no_such_router, "there is no router \"" + cut_text(router) + "\""};
}

objection check_right(const desk_state& desk, const actor& actor, const std::string& router,
                      int destination)
{
    const house_router* const known = find_router(desk, router);
    if (known == nullptr) return no_such_router(router);
    if (right_on(actor.may, router) < right::view) // whose names are not told either
        return {reason::no_right, actor.person + " may not view router \"" + router + "\""};
    const std::string& group = label_of(*known, side::destinations, destination).group;
    if (!may_operate(actor.may, router, group))
        return {reason::no_right, actor.person + " may not route " +
                                      destination_text(desk, router, destination) + " of " +
                                      known->settings.name};
    return {};
}

objection check_destination(const desk_state& desk, const actor& actor, const std::string& router,
                            int destination)
{
    objection found = check_right(desk, actor, router, destination);
    if (found.why != reason::none) return found;
    if (destination < 0 || destination >= destinations_of(desk, router))
        return {reason::no_such_destination, find_router(desk, router)->settings.name + " has no " +
                                                 destination_text(desk, router, destination)};
    return {};
}

objection check_route(const desk_state& desk, const actor& actor, const route& wished)
{
    objection found = check_destination(desk, actor, wished.router, wished.destination);
    if (found.why != reason::none) return found;
    if (wished.source == UNKNOWN_SOURCE)
        return {reason::fact_unknown,
                "the source for " + destination_text(desk, wished.router, wished.destination) +
                    " is not known"};
    const bool exists = wished.source >= 0 && wished.source < sources_of(desk, wished.router);
    if (!exists && wished.source != NO_SOURCE)
        return {reason::no_such_source, find_router(desk, wished.router)->settings.name +
                                            " has no " +
                                            source_text(desk, wished.router, wished.source)};
    return {};
}

objection check_engineer(const desk_state& desk, const actor& actor, const std::string& router)
{
    const house_router* const known = find_router(desk, router);
    if (known == nullptr) return no_such_router(router);
    if (right_on(actor.may, router) < right::engineer)
        return {reason::no_right, actor.person + " is no engineer of " + known->settings.name};
    return {};
}

} // namespace desk
