import { expect, test } from 'vitest';

import {
  BEN,
  chanceOf,
  changeData,
  myData,
  operationOf,
  problemOf,
  routerData,
  TIME,
  wishOf,
} from './history';
import { kindOf, readMessage } from './messages';

const read = (message: unknown) => readMessage(JSON.stringify(message));
const snapshot = (topic: string, data: unknown) => ({
  type: 'snapshot',
  topic,
  revision: 3,
  instance: 'A',
  data,
});
const change = (...data: unknown[]) => ({
  type: 'change',
  topic: 'routers/r1',
  revision: 4,
  previous: 3,
  data,
});

function richRouter() {
  const chance = chanceOf(7);
  const data = routerData();
  for (let i = 0; i < 200; i += 1) changeData(data, chance);
  data.wishes = [{ kind: 'wish', destination: 1, wish: wishOf(null) }];
  data.problems = [{ kind: 'problem', destination: 2, problem: problemOf('timedOut') }];
  return data;
}

const GOOD = [
  { type: 'heartbeat', time: TIME, version: '1.0.0' },
  { type: 'error', code: 'noSuchTopic', topic: 'weather', detail: 'There is no topic weather.' },
  snapshot('routers/r1', richRouter()),
  snapshot('me', myData()),
  snapshot('operations', { operations: [operationOf('1'), operationOf('2', 'confirmed')] }),
  change({
    kind: 'routes',
    routes: [
      [4, 6, 1795356362003, BEN],
      [5, -1, 0, null],
      [6, -2, 0, 'unknown'],
    ],
  }),
  change(
    { kind: 'wish', destination: 4, wish: wishOf(6) },
    { kind: 'lock', destination: 28, lock: null },
  ),
];

test.each(GOOD)('reads $type', (message) => {
  expect(read(message)).toEqual({ message });
});

test.each(['', '{', 'null', '[]', '"x"', '{"type":3}', '{"topic":"me"}'])('refuses %s', (said) => {
  expect(readMessage(said)).toEqual({ wrong: 'message' });
});

test.each([
  [{ ...snapshot('me', myData()), revision: -1 }, 'snapshot.revision', 'me'],
  [snapshot('me', { ...myData(), undo: '3' }), 'snapshot.data.undo', 'me'],
  [change({ destination: 3 }), 'change.data[0].kind', 'routers/r1'],
  [
    change({ kind: 'wish', destination: 1024, wish: null }),
    'change.data[0].destination',
    'routers/r1',
  ],
  [change({ kind: 'routes', routes: [[1, 2, 3]] }), 'change.data[0].routes[0]', 'routers/r1'],
  [
    change({ kind: 'routes', routes: [[1, -3, 3, null]] }),
    'change.data[0].routes[0][1]',
    'routers/r1',
  ],
  [change({ kind: 'stale', destinations: [1.5] }), 'change.data[0].destinations[0]', 'routers/r1'],
])('refuses %j and says where', (message, wrong, topic) => {
  expect(read(message)).toEqual({ wrong, topic });
});

test('passes over what it does not know', () => {
  expect(read({ type: 'weather' })).toEqual({ message: 'unknown' });
  expect(read(snapshot('weather', 3))).toEqual({ message: 'unknown' });
  expect(read(change({ kind: 'toString' }))).toEqual({ message: change({ kind: 'toString' }) });
  expect(read({ ...GOOD[0], more: 1 })).toEqual({ message: { ...GOOD[0], more: 1 } });
});

test('tells topics apart', () => {
  const topics = ['routers', 'routers/r1', 'trace/r1', 'me', 'router', 'trace', 'constructor'];
  expect(topics.map(kindOf)).toEqual([
    'routers',
    'router',
    'trace',
    'me',
    undefined,
    undefined,
    undefined,
  ]);
});

// Every member of every message, replaced by something of another kind: refused, and nothing thrown.
function spoilt(value: unknown): unknown[] {
  if (typeof value !== 'object' || value === null) return [{ spoilt: true }];
  const inside = Object.entries(value).flatMap(([name, each]) =>
    spoilt(each).map((other) => {
      const changed: unknown[] | object = Array.isArray(value)
        ? [...(value as unknown[])]
        : { ...value };
      return Object.assign(changed, { [name]: other });
    }),
  );
  return ['spoilt', ...inside];
}

test('refuses every message with a member of another kind', () => {
  const messages = GOOD.flatMap(spoilt);
  expect(messages.length).toBeGreaterThan(400);
  expect(messages.filter((message) => !('wrong' in read(message)))).toEqual([]);
});
