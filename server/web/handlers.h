// What answers each route (routes.cpp), by the files they are in. A handler parses, calls one
// function of the desk, the accounts or the journal, and renders.
#pragma once

#include "server/web/call.h"

namespace web {

answer nothing_here(server& server, const call& call);

// service.cpp
answer get_health(server& server, const call& call);
answer get_readiness(server& server, const call& call);
answer get_version(server& server, const call& call);
answer get_description(server& server, const call& call);

// destination_route.cpp
answer get_route(server& server, const call& call);
answer put_route(server& server, const call& call);
answer accept_outcome(server& server, const call& call);

// routing.cpp
answer list_routes(server& server, const call& call);
answer route_many(server& server, const call& call);

// stage.cpp
answer set_stage(server& server, const call& call);
answer change_stage(server& server, const call& call);
answer get_stage(server& server, const call& call);
answer clear_stage(server& server, const call& call);
answer dry_run_stage(server& server, const call& call);
answer take_stage(server& server, const call& call);
answer list_stages(server& server, const call& call);

// operations.cpp
answer get_operation(server& server, const call& call);
answer roll_back(server& server, const call& call);
answer get_undo(server& server, const call& call);
answer undo(server& server, const call& call);
answer get_redo(server& server, const call& call);
answer redo(server& server, const call& call);

// salvos.cpp
answer list_salvos(server& server, const call& call);
answer add_salvo(server& server, const call& call);
answer get_salvo(server& server, const call& call);
answer set_salvo(server& server, const call& call);
answer delete_salvo(server& server, const call& call);
answer restore_salvo(server& server, const call& call);
answer list_salvo_versions(server& server, const call& call);
answer dry_run_salvo(server& server, const call& call);
answer take_salvo(server& server, const call& call);

// simple_route.cpp
answer simple_route(server& server, const call& call);

// session.cpp
answer make_first_administrator(server& server, const call& call);
answer sign_in(server& server, const call& call);
answer get_session(server& server, const call& call);
answer sign_out(server& server, const call& call);

// people.cpp
answer list_people(server& server, const call& call);
answer add_person(server& server, const call& call);
answer get_person(server& server, const call& call);
answer set_person(server& server, const call& call);
answer remove_person(server& server, const call& call);
answer change_password(server& server, const call& call);

// tokens.cpp
answer list_tokens(server& server, const call& call);
answer add_token(server& server, const call& call);
answer remove_token(server& server, const call& call);

// history.cpp
answer list_history(server& server, const call& call);
answer export_history_csv(server& server, const call& call);
answer export_history_json(server& server, const call& call);

// diagnosis.cpp
answer list_operators(server& server, const call& call);
answer get_server(server& server, const call& call);
answer get_server_log(server& server, const call& call);
answer get_support_report(server& server, const call& call);

// settings.cpp
answer get_settings(server& server, const call& call);
answer change_settings(server& server, const call& call);

// routers.cpp
answer list_routers(server& server, const call& call);
answer add_router(server& server, const call& call);
answer get_router(server& server, const call& call);
answer set_router(server& server, const call& call);
answer remove_router(server& server, const call& call);
answer read_again(server& server, const call& call);

// simulated.cpp
answer get_faults(server& server, const call& call);
answer set_faults(server& server, const call& call);

// statistics.cpp
answer get_statistics(server& server, const call& call);

// router_traffic.cpp
answer get_router_log(server& server, const call& call);
answer get_trace(server& server, const call& call);

// names.cpp
answer list_sources(server& server, const call& call);
answer list_destinations(server& server, const call& call);
answer get_source(server& server, const call& call);
answer get_destination(server& server, const call& call);
answer label_sources(server& server, const call& call);
answer label_destinations(server& server, const call& call);
answer label_source(server& server, const call& call);
answer label_destination(server& server, const call& call);

// groups.cpp
answer list_groups(server& server, const call& call);
answer rename_group(server& server, const call& call);
answer dissolve_group(server& server, const call& call);

// locks.cpp
answer set_lock(server& server, const call& call);
answer get_lock(server& server, const call& call);
answer remove_lock(server& server, const call& call);
answer list_locks(server& server, const call& call);

// notices.cpp
answer list_notices(server& server, const call& call);
answer dismiss_notice(server& server, const call& call);

// metrics_text.cpp
answer get_metrics(server& server, const call& call);

// live_handlers.cpp
answer follow_live(server& server, const call& call);
answer follow_events(server& server, const call& call);

} // namespace web
