// Reads what the server sends, one message at a time. What is none is refused, saying where; messages
// and changes of kinds that are not known here are passed over, as a newer server may send them.
import type { components } from '../api/description';
import type { Change } from '../api/types';
import * as house from './house_records';
import * as records from './records';
import {
  absentOr,
  count,
  eachMember,
  either,
  exactly,
  index,
  listOf,
  nullOr,
  record,
  row,
  text,
  time,
  type Shape,
} from './shape';

type Schemas = components['schemas'];
export type Message =
  Schemas['Snapshot'] | Schemas['Change'] | Schemas['Heartbeat'] | Schemas['LiveError'];
// `topic` where at least that could be read.
export type Read = { message: Message | 'unknown' } | { wrong: string; topic?: string };
export type TopicKind =
  'routers' | 'router' | 'operations' | 'salvos' | 'operators' | 'me' | 'server' | 'trace';

// -1: no source, -2: not known.
const shown = either(index, exactly(-1), exactly(-2));
const wishAt = record({ kind: text, destination: index, wish: nullOr(records.wish) });
const problemAt = record({ kind: text, destination: index, problem: nullOr(records.problem) });

const DATA: Readonly<Record<TopicKind, Shape>> = {
  routers: record({ routers: listOf(records.router) }),
  router: record({
    router: records.router,
    sources: listOf(records.name),
    destinations: listOf(records.name),
    routes: record({
      sources: listOf(shown),
      times: listOf(count),
      stale: listOf(index),
      by: eachMember(nullOr(records.person)),
    }),
    wishes: listOf(wishAt),
    problems: listOf(problemAt),
    locks: listOf(records.lock),
    stages: listOf(records.stagedBy),
  }),
  operations: record({ operations: listOf(records.operation) }),
  salvos: record({ salvos: listOf(house.salvo) }),
  operators: record({ operators: listOf(house.operator) }),
  me: record({
    stages: listOf(records.stage),
    settings: house.settings,
    undo: count,
    redo: count,
    notices: listOf(house.notice),
  }),
  server: record({ server: house.server }),
  trace: record({ frames: listOf(house.frame) }),
};

const names = record({ count, rows: listOf(records.name) });
const CHANGES: Readonly<Record<Change['kind'], Shape>> = {
  router: record({ router: records.router }),
  routerRemoved: record({ id: text }),
  sources: names,
  destinations: names,
  routes: record({
    routes: listOf(
      row(index, shown, count, either(records.person, exactly('unknown'), exactly(null))),
    ),
  }),
  stale: record({ destinations: listOf(index) }),
  wish: wishAt,
  problem: problemAt,
  lock: record({ destination: index, lock: nullOr(records.lock) }),
  staged: record({ staged: records.stagedBy }),
  operation: record({ operation: records.operation }),
  rows: record({
    operation: text,
    state: text,
    counts: records.counts,
    rows: listOf(record({ row: count, result: records.operationRow })),
  }),
  salvo: record({ salvo: house.salvo }),
  salvoDeleted: record({ id: text }),
  operators: record({ operators: listOf(house.operator) }),
  stage: record({ stage: records.stage }),
  settings: record({ settings: house.settings }),
  undo: record({ undo: count, redo: count }),
  notice: record({ notice: house.notice }),
  noticeDismissed: record({ id: text }),
  server: record({ server: house.server }),
  frames: record({ frames: listOf(house.frame) }),
};

const kindOnly = record({ kind: text });
const change: Shape = (value) => {
  const wrong = kindOnly(value);
  if (wrong !== undefined) return wrong;
  const { kind } = value as { kind: string };
  return isKnownKind(kind) ? CHANGES[kind](value) : undefined;
};

const MESSAGES = new Map<string, Shape>([
  ['snapshot', record({ topic: text, revision: count, instance: text })],
  ['change', record({ topic: text, revision: count, previous: count, data: listOf(change) })],
  ['heartbeat', record({ time, version: absentOr(text) })],
  ['error', record({ code: text, topic: absentOr(text), detail: text })],
]);

export function isKnownKind(kind: string): kind is Change['kind'] {
  return Object.hasOwn(CHANGES, kind);
}

// None of a topic that is not known here.
export function kindOf(topic: string): TopicKind | undefined {
  if (topic.startsWith('routers/')) return 'router';
  if (topic.startsWith('trace/')) return 'trace';
  const known = Object.hasOwn(DATA, topic) && topic !== 'router' && topic !== 'trace';
  return known ? (topic as TopicKind) : undefined;
}

function parse(said: string): unknown {
  try {
    return JSON.parse(said) as unknown;
  } catch {
    return undefined;
  }
}

function wrongAt(where: string, value: object): Read {
  const topic = 'topic' in value && typeof value.topic === 'string' ? value.topic : undefined;
  return { wrong: where, ...(topic === undefined ? {} : { topic }) };
}

export function readMessage(said: string): Read {
  const value = parse(said);
  if (record({ type: text })(value) !== undefined) return { wrong: 'message' };
  const named = value as { type: string; topic?: string; data?: unknown };
  const shape = MESSAGES.get(named.type);
  if (shape === undefined) return { message: 'unknown' };
  const wrong = shape(value);
  if (wrong !== undefined) return wrongAt(named.type + wrong, named);
  if (named.type !== 'snapshot') return { message: value as Message };
  const kind = kindOf(named.topic ?? '');
  if (kind === undefined) return { message: 'unknown' };
  const wrongData = DATA[kind](named.data);
  if (wrongData !== undefined) return wrongAt(`snapshot.data${wrongData}`, named);
  return { message: value as Message };
}
