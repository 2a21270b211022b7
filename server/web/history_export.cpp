#include "server/web/history_export.h"

#include "server/web/history_json.h"

namespace web {

namespace {
constexpr int INTERNAL_ERROR = 1011; // of RFC 6455

void send(server& server, stream_id stream, std::string text)
{
    server.clients.send(stream, std::make_shared<const std::string>(std::move(text)));
}

std::string take_text(history_export& under_way)
{
    std::string text;
    for (const json& entry : under_way.search.entries) {
        if (under_way.as_table)
            text += csv_line(entry);
        else
            text += (under_way.sent == 0 ? "\n" : ",\n") + text_of(entry);
        ++under_way.sent;
    }
    under_way.search.entries.clear();
    return text;
}

// True when the export has ended.
bool serve(server& server, stream_id stream, history_export& under_way)
{
    std::string failure;
    const bool came = take_piece(server, under_way.search, EXPORTED - under_way.sent, failure);
    if (!failure.empty()) {
        server.clients.close(stream, INTERNAL_ERROR, "the history cannot be read");
        return true;
    }
    if (!came) {
        if (under_way.wanted) ask_piece(server, under_way.search); // too many were asking
        return false;
    }
    std::string text = take_text(under_way);
    const bool ended = under_way.search.ended || under_way.sent == EXPORTED;
    if (ended && !under_way.as_table) text += "\n]}\n";
    under_way.wanted = text.empty();
    if (!text.empty()) send(server, stream, std::move(text));
    if (ended) server.clients.finish(stream);
    if (under_way.wanted) ask_piece(server, under_way.search);
    return ended;
}
} // namespace

stream_owner begin_export(server& server, stream_id stream, const history_search& search,
                          bool as_table)
{
    auto under_way = std::make_shared<history_export>(history_export{search, as_table});
    under_way->search.question.most = ROWS_OF_PIECE;
    server.exports[stream] = under_way;
    send(server, stream, as_table ? csv_names() : "{\"entries\": [");
    stream_owner owner;
    owner.drained = [](web::server& those, const desk::moment&, stream_id id) {
        const auto found = those.exports.find(id);
        if (found == those.exports.end()) return;
        found->second->wanted = true;
        ask_piece(those, found->second->search);
    };
    owner.gone = [](web::server& those, const desk::moment&, stream_id id) {
        those.exports.erase(id);
    };
    return owner;
}

void serve_exports(server& server)
{
    for (auto it = server.exports.begin(); it != server.exports.end();) {
        const bool ended = serve(server, it->first, *it->second);
        if (ended) server.streams.erase(it->first);
        it = ended ? server.exports.erase(it) : std::next(it);
    }
}

} // namespace web
