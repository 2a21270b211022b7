import { expect, test } from 'vitest';

import type { RouterData } from '../api/types';
import { ANA, BEN, routerData, stageOf, TIME } from '../live/history';
import { beginRouter } from '../live/router_topic';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { crossingLabel, cursorLine, type Pressing } from './cursor';
import { destinationShown } from './destination';
import type { Circumstances } from './fact';

const circumstances: Circumstances = {
  speech: speechOf(english, 'en', 'UTC'),
  now: Date.parse(TIME) + 42_000,
  me: ANA.id,
  oldSince: undefined,
};

function line(
  source: number,
  change: (data: RouterData) => void = () => undefined,
  pressing: Pressing = 'armed',
  isStaged = false,
) {
  const data = routerData();
  data.routes.times[2] = Date.parse(TIME);
  change(data);
  const state = beginRouter(data);
  const row = isStaged ? stageOf('r1', [2]).rows[0] : undefined;
  const shown = destinationShown(state, row, 2, circumstances);
  return cursorLine(state, shown, source, pressing, circumstances).join(' · ');
}

test('what the cursor is on, what is there, and what Enter does', () => {
  expect(line(6)).toBe('CAM 7 → MON 3 · not routed · now CAM 3, confirmed 14:02:11 · Enter stages');
  expect(line(2)).toBe('CAM 3 → MON 3 · routed · now CAM 3, confirmed 14:02:11');
  expect(line(-1)).toMatch(/^No source → MON 3 · not routed/);
});

test.each([
  ['not known since when', (data: RouterData) => (data.routes.times[2] = 0), 'now CAM 3'],
  ['unknown', (data: RouterData) => (data.routes.sources[2] = -2), 'now unknown'],
  [
    'stale',
    (data: RouterData) => {
      data.router = { ...data.router, link: { state: 'down', since: TIME } };
    },
    'now CAM 3, Stale · 0:42',
  ],
])('a fact that is %s', (_why, change, words) => {
  expect(line(6, change)).toBe(`CAM 7 → MON 3 · not routed · ${words} · Enter stages`);
});

test('Enter removes what is staged, there or where the route is', () => {
  expect(line(1, undefined, 'armed', true)).toMatch(/ · Enter removes$/);
  expect(line(2, undefined, 'armed', true)).toMatch(/ · Enter removes$/);
  expect(line(6, undefined, 'armed', true)).toMatch(/ · Enter stages$/);
});

test('in Hot Enter takes, and where one may only look it does nothing', () => {
  expect(line(6, undefined, 'hot')).toMatch(/ · Enter takes$/);
  expect(line(6, undefined, 'nothing')).toMatch(/ · now CAM 3, confirmed 14:02:11$/);
});

test.each([
  [{}, 'MON 3 is locked by Ben L.'],
  [{ until: '2026-11-22T18:00:00.000Z' }, 'MON 3 is locked by Ben L. until 18:00'],
  [{ mode: 'protect' as const }, 'Protected by Ben L.'],
])('a lock %j says itself in place of what Enter does', (change, words) => {
  const lock = {
    router: 'r1',
    destination: 2,
    destinationName: 'MON 3',
    mode: 'lock' as const,
    owner: BEN,
    reason: '',
    since: TIME,
    ...change,
  };
  expect(
    line(6, (data) => (data.locks = [lock]), 'hot')
      .split(' · ')
      .at(-1),
  ).toBe(words);
});

test('of several destinations it says how many', () => {
  const state = beginRouter(routerData());
  const shown = destinationShown(state, undefined, 2, circumstances);
  const of = (pressing: Pressing) => cursorLine(state, shown, 6, pressing, circumstances, 5);
  expect(of('armed')).toEqual(['CAM 7 to 5 destinations', 'Enter stages']);
  expect(of('hot')).toEqual(['CAM 7 to 5 destinations', 'Enter takes']);
});

test.each([
  [6, 'CAM 7 to MON 3, not routed, now CAM 3'],
  [2, 'CAM 3 to MON 3, routed, now CAM 3'],
])('of source %i it is read out "%s"', (source, words) => {
  const state = beginRouter(routerData());
  const shown = destinationShown(state, undefined, 2, circumstances);
  expect(crossingLabel(state, shown, source, circumstances.speech)).toBe(words);
});
