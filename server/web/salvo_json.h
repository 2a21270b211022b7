// Salvos in JSON.
#pragma once

#include "server/web/json.h"
#include "server/web/server.h"

namespace web {

// Salvo, of one version. Without the rows on routers that may not be viewed.
json salvo_json(const server& server, const desk::rights& may, const desk::ulid& id,
                const desk::salvo& salvo, const desk::salvo_version& version);

// SalvoSummary, of the newest version; with the time when it was deleted, if it was.
json salvo_summary_json(const server& server, const desk::rights& may, const desk::ulid& id,
                        const desk::salvo& salvo, std::optional<desk::wall> deleted = {});

// Salvos, by name: those that there are, or those that can be restored.
json salvos_json(const server& server, const desk::rights& may, bool deleted);

// SalvoVersions, newest first.
json salvo_versions_json(const server& server, const desk::rights& may, const desk::ulid& id,
                         const desk::salvo& salvo);

// It is told of to whoever may view a router of its newest version.
bool may_view(const desk::rights& may, const desk::salvo& salvo);

} // namespace web
