import { expect, test } from 'vitest';

import { ANA, BEN, routerData, TIME } from '../live/history';
import { beginRouter, NO_SOURCE } from '../live/router_topic';
import { routable, stageChange } from './press';

const state = beginRouter(routerData()); // destination n shows source n
const lock = (destination: number, mode: 'lock' | 'protect', owner = BEN) => ({
  router: 'r1',
  destination,
  destinationName: '',
  mode,
  owner,
  reason: '',
  since: TIME,
});

test('another source is staged', () => {
  expect(stageChange(state, [], [3], 5)).toEqual({ rows: [{ destination: 3, source: 5 }] });
  expect(stageChange(state, [], [3], NO_SOURCE)).toEqual({
    rows: [{ destination: 3, source: null }],
  });
});

test('the staged source, and the present one, are not staged any more', () => {
  const staged = [{ destination: 3, source: 5 }];
  expect(stageChange(state, staged, [3], 5)).toEqual({ remove: [3] });
  expect(stageChange(state, staged, [3], 3)).toEqual({ remove: [3] });
  expect(stageChange(state, staged, [3], 6)).toEqual({ rows: [{ destination: 3, source: 6 }] });
});

test('"No source" that is staged is not staged any more', () => {
  const staged = [{ destination: 3, source: null }];
  expect(stageChange(state, staged, [3], NO_SOURCE)).toEqual({ remove: [3] });
});

test('the present source changes nothing where nothing is staged', () => {
  expect(stageChange(state, [], [3], 3)).toBeUndefined();
  expect(stageChange(state, [], [], 3)).toBeUndefined();
});

test('several destinations are staged, whatever they show', () => {
  expect(stageChange(state, [], [4, 3], 4)).toEqual({
    rows: [
      { destination: 4, source: 4 },
      { destination: 3, source: 4 },
    ],
  });
});

test('what is locked, or protected by another, may not be routed', () => {
  const locks = [lock(1, 'lock', ANA), lock(2, 'protect'), lock(3, 'protect', ANA)];
  const held = beginRouter({ ...routerData(), locks });
  expect(routable(held, [1, 2, 3, 4], 'ana')).toEqual([3, 4]);
});
