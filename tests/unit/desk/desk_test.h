// A desk with two routers, "main" and "back", whose links are ready: sources CAM 1 to CAM 8,
// destinations MON A to MON H, of which each shows the first source; people with their rights.
#pragma once

#include <gmock/gmock.h>

#include "server/desk/deadlines.h"
#include "server/desk/reports.h"
#include "server/desk/start.h"
#include "server/desk/steps.h"
#include "server/desk/takes.h"
#include "server/desk/trace.h"
#include "server/desk/words.h"

namespace desk {

class DeskTest : public testing::Test {
  protected:
    static constexpr int POSITIONS_HERE = 8;

    desk_state desk = make_desk(1);
    moment now{monotonic(5'000'000), wall(1'000'000'000)};
    actor anna{"anna", "test", {right::operate, {}, {}}};
    actor ben{"ben", "test", {right::operate, {}, {}}};
    actor eve{"eve", "test", {right::engineer, {}, {}}};
    actor guest{"guest", "test", {right::view, {}, {}}};

    DeskTest()
    {
        add_router("main", "Main");
        add_router("back", "Back");
        forget_told();
    }

    void add_router(const std::string& id, const std::string& name)
    {
        router_settings settings;
        settings.id = id;
        settings.name = name;
        record_entry(desk, {now.utc, "", "", router_set{settings}});
        desk.live[id];
        std::vector<std::string> sources, destinations;
        for (int i = 0; i < POSITIONS_HERE; ++i) {
            sources.push_back("CAM " + std::to_string(i + 1));
            destinations.push_back(std::string("MON ") + static_cast<char>('A' + i));
        }
        report_counts(desk, id, POSITIONS_HERE, POSITIONS_HERE);
        report_names(desk, id, side::sources, sources);
        report_names(desk, id, side::destinations, destinations);
        connect(id);
    }

    void connect(const std::string& id)
    {
        report_link(desk, now, id, link_state::ready, "");
        for (int i = 0; i < POSITIONS_HERE; ++i)
            report(i, 0, id);
    }

    void link(link_state state, const std::string& reason = "")
    {
        report_link(desk, now, "main", state, reason);
    }

    void report(int destination, int source, const std::string& router = "main")
    {
        const std::pair<int, int> route{destination, source};
        report_routes(desk, now, router, {&route, 1});
    }

    // The backend sends the take, then asks what the destination shows.
    void takes(int destination, int source)
    {
        trace_take(desk, now, "main", destination, source);
        trace_query(desk, "main", destination);
    }

    // The oldest take without an answer, and nothing was asked behind it.
    void refuses(int destination, const std::string& how = "NAK 0005")
    {
        trace_query_unanswered(desk, now, "main", destination, false);
        trace_take_answer(desk, now, "main", how);
    }

    void shows(int destination, int source)
    {
        trace_route(desk, now, "main", destination, source);
    }

    // The whole way of one take.
    void carry_out(int destination, int source)
    {
        takes(destination, source);
        shows(destination, source);
        report(destination, source);
    }

    void wait_ms(int milliseconds)
    {
        now.steady += std::chrono::milliseconds(milliseconds);
        now.utc += std::chrono::milliseconds(milliseconds);
        advance(desk, now);
    }

    take_answer wish(const actor& actor, int destination, int source)
    {
        return wish(actor, std::vector<route>{{"main", destination, source}});
    }

    take_answer wish(const actor& actor, const std::vector<route>& rows,
                     batch_rule rule = batch_rule::all)
    {
        take_request request;
        for (const route& row : rows)
            request.rows.push_back({row, {}});
        request.rule = rule;
        return take(desk, now, actor, request);
    }

    static batch_command how(batch_rule rule, bool dry_run = false, const ulid& id = {})
    {
        return {id, {}, rule, dry_run, "on air"};
    }

    const desk::wish& row_of(const take_answer& answer, std::uint32_t row = 0) const
    {
        return desk.house.batches.at(answer.batch).rows.at(row);
    }

    // What became of the row: "queued", "confirmed", "not sent linkLost: the link ...".
    std::string became(const take_answer& answer, std::uint32_t row = 0) const
    {
        const desk::wish& wish = row_of(answer, row);
        std::string text = text_of(wish.end);
        if (wish.end == outcome::open)
            for (const open_wish& open :
                 find_live(desk, wish.wished.router)->open.at(wish.wished.destination))
                if (open.id == wish_id{answer.batch, row}) text = text_of(open.state);
        if (wish.why != reason::none) text += std::string(" ") + code_of(wish.why);
        return wish.detail.empty() ? text : text + ": " + wish.detail;
    }

    // "noRight: ...", empty when nothing speaks against it.
    static std::string said(const objection& against)
    {
        return against.why == reason::none ? "" : code_of(against.why) + (": " + against.detail);
    }

    // What the row's answer said: "goes", "unchanged", "noRight: ...".
    static std::string said(const take_answer& answer, std::size_t row = 0)
    {
        const row_answer& said = answer.rows.at(row);
        if (said.why == reason::none)
            return said.goes ? "goes" : said.unchanged ? "unchanged" : "neither";
        return code_of(said.why) + (": " + said.detail);
    }

    // By destination of "main".
    std::map<int, wish_id> troubles() const
    {
        std::map<int, wish_id> found;
        for (const auto& [destination, trouble] : desk.live.at("main").troubled)
            found[destination] = trouble.id;
        return found;
    }

    // Who has put there what a destination of "main" shows, as far as it is known.
    authorship author_of(int destination) const
    {
        const auto& authors = desk.house.routers.at("main").authors;
        return authors.contains(destination) ? authors.at(destination) : authorship{};
    }

    std::vector<outside_change> outside_changes() const
    {
        std::vector<outside_change> found;
        for (const entry& entry : desk.entries)
            if (const auto* change = std::get_if<outside_change>(&entry.what))
                found.push_back(*change);
        return found;
    }

    // The orders since the last call: "main 0<2 1<3" or "end main".
    std::vector<std::string> ordered()
    {
        std::vector<std::string> texts;
        for (const order& order : desk.orders) {
            std::string text = order.what == order::kind::send ? "" : "end ";
            text += order.router;
            for (const auto& [destination, source] : order.rows)
                text += " " + std::to_string(destination) + "<" + std::to_string(source);
            texts.push_back(text);
        }
        desk.orders.clear();
        return texts;
    }

    // The changes since the last call, without what follows from the order of the calls.
    std::vector<std::pair<change::kind, int>> changed()
    {
        std::vector<std::pair<change::kind, int>> kinds;
        for (const change& change : desk.changes)
            kinds.emplace_back(change.what, change.position);
        desk.changes.clear();
        return kinds;
    }

    void forget_told()
    {
        desk.orders.clear();
        desk.changes.clear();
        desk.entries.clear();
    }
};

} // namespace desk
