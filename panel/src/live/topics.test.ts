import { expect, test } from 'vitest';

import type { Change } from '../api/types';
import {
  below,
  changeData,
  chanceOf,
  myData,
  nameOf,
  operationOf,
  routerData,
  routerOf,
  stageOf,
  TIME,
} from './history';
import { FRAMES_KEPT, OPERATIONS_KEPT } from './house_topics';
import type { Message } from './messages';
import { follow, tell, type Topics } from './topics';

type Data = Extract<Message, { type: 'snapshot' }>['data'];
type Told = Exclude<Message, { type: 'heartbeat' }>;

const copy = <T>(data: T): T => structuredClone(data);
const snapshot = (topic: string, revision: number, data: Data): Told => ({
  type: 'snapshot',
  topic,
  revision,
  instance: 'A',
  data: copy(data),
});
const change = (topic: string, previous: number, revision: number, ...data: Change[]): Told => ({
  type: 'change',
  topic,
  previous,
  revision,
  data: copy(data),
});

function begin(topic: string, data: Data): Topics {
  return tell(follow(new Map(), topic, 0), snapshot(topic, 1, data));
}
function stateAfter(topic: string, data: Data, ...changes: Change[]) {
  return tell(begin(topic, data), change(topic, 1, 2, ...changes)).get(topic)?.state;
}

test.each(Array.from({ length: 40 }, (_, seed) => seed))(
  'after history %d a router is as a new snapshot tells it',
  (seed) => {
    const chance = chanceOf(seed);
    const data = routerData();
    let topics = begin('routers/r1', data);
    for (let revision = 1; revision < 60; revision += 1) {
      const changes = Array.from({ length: 1 + below(chance, 3) }, () =>
        copy(changeData(data, chance)),
      );
      topics = tell(topics, change('routers/r1', revision, revision + 1, ...changes));
      const told = begin('routers/r1', data).get('routers/r1')?.state;
      expect(topics.get('routers/r1')?.state).toEqual(told);
    }
    expect(topics.get('routers/r1')?.revision).toBe(60);
  },
);

test('what has not changed stays the same record', () => {
  const before = begin('routers/r1', routerData());
  const lock: Change = { kind: 'lock', destination: 1, lock: null };
  const after = tell(before, change('routers/r1', 1, 2, lock));
  const [a, b] = [before.get('routers/r1')?.state, after.get('routers/r1')?.state];
  if (a?.kind !== 'router' || b?.kind !== 'router') throw new Error('no router');
  expect(b.facts).toBe(a.facts);
  expect(b.locks).not.toBe(a.locks);
});

test('a change that does not follow on is left out, and so are all until the next snapshot', () => {
  const before = begin('routers/r1', routerData());
  const other: Change = { kind: 'router', router: routerOf(9) };
  const gap = tell(before, change('routers/r1', 2, 3, other));
  expect(gap.get('routers/r1')).toEqual({ ...before.get('routers/r1'), current: false });
  expect(tell(gap, change('routers/r1', 1, 2, other)).get('routers/r1')).toEqual(
    gap.get('routers/r1'),
  );
  const again = tell(gap, snapshot('routers/r1', 8, routerData())).get('routers/r1');
  expect(again).toMatchObject({ revision: 8, current: true });
});

test('what is told of a topic that is not followed is passed over', () => {
  const topics = begin('routers/r1', routerData());
  expect(tell(topics, snapshot('routers/r2', 1, routerData()))).toBe(topics);
});

test('a topic that ends shows nothing any more, and says why', () => {
  const detail = 'You may not view r1.';
  const topics = tell(begin('routers/r1', routerData()), {
    type: 'error',
    code: 'noRight',
    topic: 'routers/r1',
    detail,
  });
  expect(topics.get('routers/r1')).toMatchObject({
    state: undefined,
    current: false,
    ended: detail,
  });
});

test('routers come and go', () => {
  const state = stateAfter(
    'routers',
    { routers: [routerOf(1), { ...routerOf(1), id: 'r2' }] },
    { kind: 'router', router: routerOf(7) },
    { kind: 'routerRemoved', id: 'r2' },
  );
  expect(state).toEqual({ kind: 'routers', routers: new Map([['r1', routerOf(7)]]) });
});

test('rows of an operation change in their places, with its counts', () => {
  const [ended] = operationOf('1', 'confirmed').rows;
  if (ended === undefined) throw new Error('no row');
  const change: Change = {
    kind: 'rows',
    operation: '1',
    state: 'ended',
    counts: { confirmed: 1 },
    rows: [
      { row: 0, result: ended },
      { row: 5, result: ended },
    ],
  };
  expect(stateAfter('operations', { operations: [operationOf('1')] }, change)).toEqual({
    kind: 'operations',
    operations: new Map([['1', operationOf('1', 'confirmed')]]),
  });
});

test('of operations and frames the newest are kept', () => {
  const operations = Array.from({ length: OPERATIONS_KEPT + 2 }, (_, i) => operationOf(String(i)));
  const told = operations.map((operation): Change => ({ kind: 'operation', operation }));
  const state = stateAfter('operations', { operations: [] }, ...told);
  if (state?.kind !== 'operations') throw new Error('no operations');
  expect([...state.operations.keys()]).toEqual(operations.slice(2).map(({ id }) => id));

  const frames = Array.from({ length: FRAMES_KEPT + 1 }, (_, i) => ({
    number: i + 1,
    time: TIME,
    direction: 'sent' as const,
    meaning: 'query' as const,
    text: '',
    raw: '',
  }));
  const traced = stateAfter(
    'trace/r1',
    { frames: frames.slice(0, 3) },
    { kind: 'frames', frames: frames.slice(3) },
  );
  expect(traced).toEqual({ kind: 'trace', frames: frames.slice(1) });
});

test('salvos, operators and the server take the place of what was told before', () => {
  const salvo = {
    id: 's',
    name: 'A',
    note: '',
    rule: 'all' as const,
    version: 1,
    author: { id: 'a', name: 'A' },
    saved: TIME,
    rowCount: 1,
    routers: ['r1'],
  };
  const other = { ...salvo, id: 't' };
  expect(
    stateAfter(
      'salvos',
      { salvos: [salvo] },
      { kind: 'salvo', salvo: other },
      { kind: 'salvoDeleted', id: 's' },
    ),
  ).toEqual({ kind: 'salvos', salvos: new Map([['t', other]]) });
  const operator = { person: { id: 'a', name: 'A' }, connections: 1, screen: '', staged: 0 };
  expect(
    stateAfter('operators', { operators: [] }, { kind: 'operators', operators: [operator] }),
  ).toEqual({ kind: 'operators', operators: [operator] });
});

test('my things change one by one', () => {
  const notice = { id: 'n', time: TIME, code: 'lockBroken' as const, text: 'x' };
  const state = stateAfter(
    'me',
    { ...myData(), notices: [{ ...notice, id: 'old' }] },
    { kind: 'stage', stage: stageOf('r1', []) },
    { kind: 'stage', stage: stageOf('r2', [4]) },
    { kind: 'settings', settings: { ...myData().settings, theme: 'light' } },
    { kind: 'undo', undo: 3, redo: 1 },
    { kind: 'notice', notice },
    { kind: 'noticeDismissed', id: 'old' },
  );
  expect(state).toEqual({
    kind: 'me',
    stages: new Map([['r2', stageOf('r2', [4])]]),
    settings: { ...myData().settings, theme: 'light' },
    undo: 3,
    redo: 1,
    notices: new Map([['n', notice]]),
  });
});

test('of names those beyond the count go, those of it change or come', () => {
  const state = stateAfter(
    'routers/r1',
    routerData(),
    { kind: 'sources', count: 2, rows: [nameOf(1, 'Jib')] },
    { kind: 'sources', count: 3, rows: [nameOf(2, 'New')] },
  );
  if (state?.kind !== 'router') throw new Error('no router');
  expect(state.sources.map(({ name }) => name)).toEqual(['CAM 1', 'Jib', 'New']);
});
