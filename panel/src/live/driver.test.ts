import { expect, test } from 'vitest';

import { HEARTBEAT, LONGEST_DELAY, LONGEST_SILENCE } from './connection';
import { drive, TICK, type Fate } from './driver';
import { routerData } from './history';
import type { Live } from './live';

const TOPIC = 'routers/r1';
const START = 1_000_000;

// A socket that remembers what it was told, and a clock that moves when it is told to.
type Stand = Fate & { sent: unknown[]; isClosed: boolean };

function standIn(topics: readonly string[] = [TOPIC]) {
  const sockets: Stand[] = [];
  const told: Live[] = [];
  let now = START;
  let act: (() => void) | undefined;
  const world = {
    open: (fate: Fate) => {
      const socket: Stand = { ...fate, sent: [], isClosed: false };
      sockets.push(socket);
      return {
        send: (text: string) => socket.sent.push(JSON.parse(text)),
        close: () => {
          socket.isClosed = true;
          socket.closed(); // sooner than any real one: what it says is no news
        },
      };
    },
    now: () => now,
    chance: () => 0,
    every: (_ms: number, tick: () => void) => {
      act = tick;
      return () => {
        act = undefined;
      };
    },
  };
  const driver = drive(topics, world, (live) => told.push(live));
  return {
    driver,
    sockets,
    told,
    newest: () => told.at(-1),
    last: () => {
      const socket = sockets.at(-1);
      if (socket === undefined) throw new Error('no socket was opened');
      return socket;
    },
    pass: (ms: number) => {
      for (const end = now + ms; now < end; act?.()) now += TICK;
    },
  };
}

const snapshot = (revision: number) =>
  JSON.stringify({ type: 'snapshot', topic: TOPIC, revision, instance: 'A', data: routerData() });
const beat = { type: 'heartbeat', time: new Date(START).toISOString() };
const subscribe = { type: 'subscribe', topics: [TOPIC] };

test('it opens, subscribes, and tells what it hears', () => {
  const { last, newest } = standIn();
  expect(newest()?.connection.state).toBe('connecting');
  last().opened();
  expect(last().sent).toEqual([subscribe, beat]);
  last().said(snapshot(5));
  expect(newest()?.topics.get(TOPIC)).toMatchObject({ current: true, revision: 5 });
});

test('it sends a heartbeat every 10 s', () => {
  const { last, pass } = standIn([]);
  last().opened();
  pass(HEARTBEAT - TICK);
  expect(last().sent).toEqual([beat]);
  pass(TICK);
  expect(last().sent).toHaveLength(2);
  expect(last().sent[1]).toMatchObject({ type: 'heartbeat' });
});

test('after a loss it comes back, and subscribes anew', () => {
  const { last, pass, sockets, newest } = standIn();
  last().opened();
  last().said(snapshot(5));
  last().closed();
  expect(newest()).toMatchObject({ connection: { state: 'waiting' } });
  expect(newest()?.topics.get(TOPIC)?.current).toBe(false);
  pass(500);
  expect(sockets).toHaveLength(2);
  last().opened();
  expect(last().sent[0]).toEqual(subscribe);
});

test('it says what is shown, at once and to each new connection', () => {
  const { driver, last, pass } = standIn([]);
  const presence = { screen: 'Routing', router: 'r1' };
  driver.show({ screen: 'History' });
  expect(last().sent).toEqual([]);
  last().opened();
  expect(last().sent).toEqual([{ type: 'presence', screen: 'History' }, beat]);
  driver.show(presence);
  expect(last().sent.at(-1)).toEqual({ type: 'presence', ...presence });
  last().closed();
  pass(500);
  last().opened();
  expect(last().sent[0]).toEqual({ type: 'presence', ...presence });
});

test('in vain it tries again and again, one socket at a time', () => {
  const { last, pass, sockets } = standIn();
  last().closed();
  for (const delay of [500, 1000, 2000, LONGEST_DELAY, LONGEST_DELAY]) {
    const before = sockets.length;
    pass(delay - TICK);
    expect(sockets).toHaveLength(before);
    pass(TICK);
    expect(sockets).toHaveLength(before + 1);
    last().closed();
  }
});

test('a silent connection is given up', () => {
  const { last, pass, sockets, newest } = standIn();
  last().opened();
  pass(LONGEST_SILENCE);
  expect(sockets[0]?.isClosed).toBe(true);
  expect(newest()?.connection).toMatchObject({ state: 'waiting', attempts: 1 });
});

test('what a replaced socket says is dropped', () => {
  const { pass, last, sockets, told, newest } = standIn();
  last().opened();
  pass(LONGEST_SILENCE + 500);
  const [old, present] = sockets;
  present?.opened();
  present?.said(snapshot(7));
  const before = told.length;
  old?.said(snapshot(99));
  old?.opened();
  old?.closed();
  expect(told).toHaveLength(before);
  expect(newest()?.topics.get(TOPIC)).toMatchObject({ current: true, revision: 7 });
});

test('it does not wait when it is told to try now', () => {
  const { driver, last, sockets } = standIn();
  last().closed();
  driver.tryNow();
  expect(sockets).toHaveLength(2);
});

test('it follows and leaves topics', () => {
  const { driver, last, newest } = standIn([]);
  last().opened();
  driver.follow(['me']);
  driver.leave(['me']);
  expect(last().sent.slice(1)).toEqual([
    { type: 'subscribe', topics: ['me'] },
    { type: 'unsubscribe', topics: ['me'] },
  ]);
  expect(newest()?.topics.size).toBe(0);
});

test('after its end nothing is told, and nothing opened', () => {
  const { driver, last, pass, sockets, told } = standIn();
  last().opened();
  const before = told.length;
  driver.end();
  pass(60_000);
  expect(last().isClosed).toBe(true);
  expect([sockets.length, told.length]).toEqual([1, before]);
});
