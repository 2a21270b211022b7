import { expect, test } from 'vitest';

import { ASK_AGAIN } from './topics';
import { below, chanceOf, changeData, routerData, TIME } from './history';
import { isOutdated, start, step, type Event, type Live } from './live';

const T = 1_000_000;
const TOPIC = 'routers/r1';

const heard = (message: unknown): Event => ({ what: 'heard', said: JSON.stringify(message) });
const snapshot = (revision: number, instance = 'A') =>
  heard({ type: 'snapshot', topic: TOPIC, revision, instance, data: routerData() });
const change = (
  previous: number,
  revision: number,
  data: unknown[] = [{ kind: 'lock', destination: 1, lock: null }],
) => heard({ type: 'change', topic: TOPIC, previous, revision, data });
const subscribe = { do: 'send', message: { type: 'subscribe', topics: [TOPIC] } };

function after(events: readonly Event[], now = T, from: Live = start([TOPIC], T).live) {
  let next: ReturnType<typeof step> = { live: from, doing: [] };
  for (const event of events) next = step(next.live, event, now, 0);
  return next;
}
const topicOf = (live: Live) => live.topics.get(TOPIC);
const opened: Event = { what: 'opened' };

test('it subscribes as soon as it is open', () => {
  expect(after([opened]).doing[0]).toEqual(subscribe);
  expect(topicOf(after([opened]).live)).toMatchObject({ current: false, state: undefined });
  expect(topicOf(after([opened, snapshot(5)]).live)).toMatchObject({ current: true, revision: 5 });
});

test('a gap asks for a new snapshot, once', () => {
  const live = after([opened, snapshot(5), change(5, 6)]).live;
  const gap = after([change(7, 8)], T + ASK_AGAIN, live);
  expect(gap.doing).toEqual([subscribe]);
  expect(topicOf(gap.live)).toMatchObject({ current: false, revision: 6 });
  expect(after([change(8, 9)], T + ASK_AGAIN + 1, gap.live).doing).toEqual([]);
});

test('a snapshot that does not come is asked for again after a while', () => {
  const { live } = after([opened]);
  expect(after([{ what: 'tick' }], T + ASK_AGAIN - 1, live).doing).toEqual([]);
  expect(after([{ what: 'tick' }], T + ASK_AGAIN, live).doing).toEqual([subscribe]);
});

test('a change that cannot be read is not half applied', () => {
  const live = after([opened, snapshot(5)]).live;
  const bad = [
    { kind: 'router', router: { id: 'r1' } },
    { kind: 'lock', destination: 1, lock: null },
  ];
  const next = after([change(5, 6, bad)], T + ASK_AGAIN, live);
  expect(next.live.trouble).toBe('change.data[0].router.name');
  expect(topicOf(next.live)).toMatchObject({
    current: false,
    revision: 5,
    state: topicOf(live)?.state,
  });
  expect(next.doing).toEqual([subscribe]);
});

test('a snapshot that cannot be read is not asked for in a circle', () => {
  const live = after([opened]).live;
  const bad = heard({ type: 'snapshot', topic: TOPIC, revision: 1, instance: 'A', data: {} });
  expect(after([bad], T + 1, live).doing).toEqual([]);
  expect(after([bad], T + 1, live).live.trouble).toBe('snapshot.data.router');
});

test('after a loss all is old until new snapshots have come', () => {
  const live = after([opened, snapshot(5), { what: 'lost' }]).live;
  expect(topicOf(live)).toMatchObject({ current: false, revision: 5 });
  const again = after([{ what: 'tick' }, opened], T + 500, live);
  expect(again.doing[0]).toEqual(subscribe);
  expect(topicOf(after([snapshot(9)], T + 600, again.live).live)).toMatchObject({
    current: true,
    revision: 9,
  });
});

test('a loss after it was given up changes nothing', () => {
  const live = after([opened, snapshot(5)]).live;
  const given = after([{ what: 'tick' }], T + 30_000, live);
  expect(given.doing).toEqual([{ do: 'close' }]);
  expect(topicOf(given.live)?.current).toBe(false);
  expect(after([{ what: 'lost' }], T + 30_001, given.live).live).toEqual(given.live);
});

test('nothing is asked while nothing is open', () => {
  const live = after([{ what: 'lost' }]).live;
  const follow: Event = { what: 'follow', topics: ['me'] };
  const leave: Event = { what: 'leave', topics: [TOPIC] };
  expect(after([follow], T, live).doing).toEqual([]);
  expect(after([leave], T, live).doing).toEqual([]);
  const next = after([follow, leave, { what: 'tryNow' }], T, live);
  expect(next.doing).toEqual([{ do: 'open' }]);
  const message = { type: 'subscribe', topics: ['me'] };
  expect(after([opened], T, next.live).doing[0]).toEqual({ do: 'send', message });
});

test('topics are followed and left', () => {
  const live = after([opened]).live;
  expect(after([{ what: 'follow', topics: ['me'] }], T, live).doing).toEqual([
    { do: 'send', message: { type: 'subscribe', topics: ['me'] } },
  ]);
  const left = after([{ what: 'leave', topics: [TOPIC] }], T, live);
  expect(left.doing).toEqual([{ do: 'send', message: { type: 'unsubscribe', topics: [TOPIC] } }]);
  expect(topicOf(after([snapshot(1)], T, left.live).live)).toBeUndefined();
});

test('a topic that has ended is not asked for again', () => {
  const ended = heard({
    type: 'error',
    code: 'noSuchRouter',
    topic: TOPIC,
    detail: 'There is no router r1.',
  });
  const live = after([opened, snapshot(1), ended]).live;
  expect(topicOf(live)).toMatchObject({ ended: 'There is no router r1.', state: undefined });
  expect(after([{ what: 'tick' }], T + ASK_AGAIN, live).doing).toEqual([]);
});

test('a restart of the server is noticed', () => {
  const live = after([opened, snapshot(5)]).live;
  expect(live.restarts).toBe(0);
  expect(after([snapshot(1, 'B')], T, live).live).toMatchObject({ restarts: 1, instance: 'B' });
});

test('a server with another panel is noticed', () => {
  const beat = (version?: string) => heard({ type: 'heartbeat', time: TIME, version });
  expect(isOutdated(after([opened]).live)).toBe(false);
  expect(isOutdated(after([opened, beat('1.2.0'), beat('1.2.0'), beat()]).live)).toBe(false);
  const live = after([opened, beat('1.2.0'), beat('1.3.0')]).live;
  expect(isOutdated(live)).toBe(true);
  expect(isOutdated(after([beat('1.2.0')], T, live).live)).toBe(false);
});

test('what is of a newer server is passed over', () => {
  const live = after([opened, snapshot(5), heard({ type: 'weather', topic: TOPIC })]).live;
  const next = after([change(5, 6, [{ kind: 'weather' }])], T, live);
  expect(topicOf(next.live)).toMatchObject({
    current: true,
    revision: 6,
    state: topicOf(live)?.state,
  });
  expect(next.live.trouble).toBeUndefined();
});

// Histories with losses, gaps and spoilt messages: the topic is what the server has, or counts as old.
test.each(Array.from({ length: 30 }, (_, seed) => seed))(
  'in history %d nothing wrong counts as current',
  (seed) => {
    const chance = chanceOf(seed);
    const data = routerData();
    let revision = 1;
    let live = after([opened, snapshot(1)]).live;
    for (let i = 0; i < 80; i += 1) {
      const now = T + i * 100;
      const told = {
        type: 'change',
        topic: TOPIC,
        previous: revision,
        revision: revision + 1,
        data: [structuredClone(changeData(data, chance))],
      };
      revision += 1;
      let said = JSON.stringify(told);
      const fate = chance();
      if (fate < 0.05) continue; // lost on the way
      if (fate < 0.15) said = said.slice(0, below(chance, said.length));
      else if (fate < 0.2) said = said.replace(/"(destination|count|source)":\d+/, '"$1":"x"');
      const next = step(live, { what: 'heard', said }, now, 0);
      live = next.live;
      if (next.doing.some((each) => each.do === 'send')) {
        const whole = { type: 'snapshot', topic: TOPIC, revision, instance: 'A', data };
        live = step(live, heard(whole), now, 0).live;
      }
      const topic = topicOf(live);
      if (topic?.current !== true || topic.revision !== revision) continue;
      expect(topic.state).toEqual(
        topicOf(
          after([opened, heard({ type: 'snapshot', topic: TOPIC, revision, instance: 'A', data })])
            .live,
        )?.state,
      );
    }
  },
);
