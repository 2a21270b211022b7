import { expect, test } from 'vitest';

import {
  connect,
  heard,
  heardBeat,
  HEARTBEAT,
  LATE,
  LONGEST_DELAY,
  LONGEST_OPENING,
  LONGEST_SILENCE,
  lost,
  oldSince,
  opened,
  tick,
  tryNow,
  type Connection,
} from './connection';

const T = 1_000_000;
const open = () => heard(opened(connect(T).connection, T).connection, T);
const doings = (connection: Connection, now: number) =>
  tick(connection, now, 0).doing.map((each) => each.do);

test('it connects at once, and beats as soon as it is open', () => {
  const begun = connect(T);
  expect(begun.doing).toEqual([{ do: 'open' }]);
  const message = { type: 'heartbeat', time: new Date(T + 5).toISOString() };
  expect(opened(begun.connection, T + 5).doing).toEqual([{ do: 'send', message }]);
});

test('it beats every ten seconds', () => {
  expect(doings(open(), T + HEARTBEAT - 1)).toEqual([]);
  const next = tick(open(), T + HEARTBEAT, 0);
  expect(next.doing.map((each) => each.do)).toEqual(['send']);
  expect(doings(next.connection, T + HEARTBEAT + 1)).toEqual([]);
});

test('silence of thirty seconds ends it, also right after it was opened', () => {
  expect(doings({ ...open(), beatAt: T + LONGEST_SILENCE }, T + LONGEST_SILENCE - 1)).toEqual([]);
  const next = tick(open(), T + LONGEST_SILENCE, 0);
  expect(next.doing).toEqual([{ do: 'close' }]);
  expect(next.connection.state).toBe('waiting');
  const silent = opened(lost(open(), T + 60_000, 0), T + 61_000).connection;
  expect(doings(silent, T + 62_000)).toEqual([]);
  expect(doings(silent, T + 61_000 + LONGEST_SILENCE)).toEqual(['close']);
});

test('an attempt that gets no answer is given up', () => {
  const { connection } = connect(T);
  expect(doings(connection, T + LONGEST_OPENING - 1)).toEqual([]);
  expect(tick(connection, T + LONGEST_OPENING, 0).doing).toEqual([{ do: 'close' }]);
});

test('it tries again later and later, up to three seconds, until it hears the server', () => {
  let connection = open();
  const delays = [1, 2, 3, 4, 5].map(() => {
    connection = lost(connection, T, 0);
    return connection.retryAt - T;
  });
  expect(delays).toEqual([500, 1000, 2000, LONGEST_DELAY, LONGEST_DELAY]);
  expect(lost(opened(connection, T).connection, T, 0).retryAt - T).toBe(LONGEST_DELAY);
  expect(lost(heard(connection, T), T, 0).retryAt - T).toBe(500);
});

test('many panels come back one after the other', () => {
  expect(lost(open(), T, 1).retryAt - lost(open(), T, 0).retryAt).toBe(125);
});

test('it waits for its time, unless it is told to try now', () => {
  const waiting = lost(open(), T, 0);
  expect(doings(waiting, T + 499)).toEqual([]);
  expect(doings(waiting, T + 500)).toEqual(['open']);
  expect(tryNow(waiting, T + 1).doing).toEqual([{ do: 'open' }]);
  expect(tryNow(waiting, T + 1).connection).toMatchObject({ state: 'connecting', since: T + 1 });
  expect(tryNow(open(), T + 1).doing).toEqual([]);
});

test('an answered heartbeat tells the delay and the server’s clock', () => {
  const time = new Date(T + 60_000).toISOString();
  const beaten = heardBeat(open(), time, '1.2.0', T + 12);
  expect(beaten).toMatchObject({ delayMs: 12, clockAheadMs: 59_988, serverVersion: '1.2.0' });
  const unasked = heardBeat(beaten, new Date(T + 65_000).toISOString(), undefined, T + 5000);
  expect(unasked).toMatchObject({ delayMs: 12, clockAheadMs: 60_000, serverVersion: '1.2.0' });
  const next = tick(unasked, T + HEARTBEAT, 0);
  expect(next.doing).toMatchObject([{ message: { time: new Date(T + 70_000).toISOString() } }]);
});

test('what is shown may be old while the server is not heard', () => {
  expect(oldSince(connect(T).connection, T + 99)).toBeUndefined();
  expect(oldSince(open(), T + LATE - 1)).toBeUndefined();
  expect(oldSince(open(), T + LATE)).toBe(T);
  expect(oldSince(lost(open(), T + 1, 0), T + 1)).toBe(T);
});
