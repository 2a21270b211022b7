// The shapes of what the server tells of routers, routes, operations and people, as far as the panel
// reads them. Words of enumerations may be new ones.
import { absentOr, count, figure, flag, index, listOf, nullOr, record, text, time } from './shape';

const source = nullOr(index);
const named = { id: text, name: text };
export const person = record(named);

const link = record({
  state: text,
  reason: absentOr(text),
  since: time,
  progress: absentOr(record({ namesRead: count, names: count, routesRead: count, routes: count })),
});

export const router = record({
  ...named,
  address: text,
  port: count,
  simulated: flag,
  sourceLimit: count,
  destinationLimit: count,
  firstNumber: count,
  confirmationLimitMs: count,
  link,
  identity: absentOr(record({ model: absentOr(text), firmware: absentOr(text) })),
  sources: count,
  destinations: count,
  routableSources: count,
  routableDestinations: count,
  staleSince: absentOr(time),
  problems: count,
  locks: count,
  revision: count,
});

export const name = record({
  index,
  number: count,
  name: text,
  routerName: absentOr(text),
  alias: text,
  group: text,
  routable: flag,
});

const wished = { operation: text, row: count, source, sourceName: absentOr(text), person };
export const wish = record({ ...wished, state: text, wished: time, sent: absentOr(time) });
export const problem = record({ ...wished, outcome: text, detail: text, ended: time });

export const lock = record({
  router: text,
  destination: index,
  destinationName: text,
  mode: text,
  owner: person,
  reason: text,
  since: time,
  until: absentOr(time),
});

export const stagedBy = record({ person, destinations: listOf(index) });

const stageRow = record({
  destination: index,
  destinationName: text,
  source,
  sourceName: absentOr(text),
  seen: absentOr(source),
  seenName: absentOr(text),
  staged: time,
  changed: flag,
  now: absentOr(
    record({
      source: absentOr(source),
      sourceName: absentOr(text),
      changed: absentOr(time),
      by: absentOr(nullOr(person)),
    }),
  ),
  blocked: absentOr(record({ reason: text, detail: text })),
});
export const stage = record({ router: text, rows: listOf(stageRow) });

const counted = absentOr(count);
export const counts = record({
  open: counted,
  confirmed: counted,
  contradicted: counted,
  refused: counted,
  timedOut: counted,
  notSent: counted,
  superseded: counted,
  unknown: counted,
});

export const operationRow = record({
  router: text,
  destination: index,
  destinationName: text,
  source: absentOr(source),
  sourceName: absentOr(text),
  was: absentOr(source),
  wasName: absentOr(text),
  outcome: text,
  state: absentOr(text),
  unchanged: absentOr(flag),
  reason: absentOr(text),
  detail: absentOr(text),
  sentMs: absentOr(figure),
  answeredMs: absentOr(figure),
  endedMs: absentOr(figure),
  latencyMs: absentOr(figure),
  lateMs: absentOr(figure),
  found: absentOr(source),
  accepted: absentOr(flag),
});

const salvoRun = record({ ...named, version: count });
export const operation = record({
  id: text,
  kind: text,
  state: text,
  rule: text,
  actor: record({ person, origin: text }),
  reason: absentOr(text),
  wished: time,
  of: absentOr(text),
  salvo: absentOr(salvoRun),
  counts,
  rows: listOf(operationRow),
});
