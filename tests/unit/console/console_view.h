// A router view for the tests: two outputs, three inputs and their names, as the backend tells
// them.
#pragma once

#include <map>
#include <string>

#include "console/router_view.h"

namespace console {

inline ParentRecord backend_report(const std::string& command,
                                   const std::map<std::string, std::string>& fields)
{
    ParentRecord record;
    record.type = "message";
    record.command = command;
    record.fields = fields;
    return record;
}

inline notices diagnose(router_view& view, const std::string& text)
{
    notices to_show;
    apply_diagnostics(view, text, to_show);
    return to_show;
}

inline router_view known_router()
{
    router_view view;
    diagnose(view, "<NOTE>Connection sucessful.");
    diagnose(view, "<DBG>Router finished returning levels, sources, destinations");
    apply_record(view, backend_report("info", {{"inputs", "3"},
                                               {"outputs", "2"},
                                               {"model", "Box"},
                                               {"firmware version", ""},
                                               {"product", "Switcher"},
                                               {"company", "Maker"}}));
    apply_record(view, backend_report("inputs", {{"i0.name", "CAM 1"}, {"i1.name", "CAM 2"}}));
    apply_record(view, backend_report("outputs", {{"o0.name", "MON A"}, {"o1.name", "MON B"}}));
    apply_record(view,
                 backend_report("outputs", {{"o0.input.all", "1"}, {"o1.input.all", "none"}}));
    return view;
}

} // namespace console
