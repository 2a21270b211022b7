import { expect, test } from 'vitest';

import { UNKNOWN_FACT } from '../live/router_topic';
import { layOut } from './axis';
import type { Grid } from './grid';
import { frameOnMap, isWorthAMap, placeOnMap, routesOnMap, scrollFromMap } from './mini';

const axisOf = (count: number) =>
  layOut([{ name: 'A', members: Array.from({ length: count }, (_, i) => i), folded: false }], {
    band: 0,
    member: 10,
    folded: 10,
  });
// Of 112 sources and 224 destinations the window shows 56 each.
const grid: Grid = {
  sources: axisOf(112),
  destinations: axisOf(224),
  swapped: false,
  head: { x: 100, y: 50 },
  lane: 20,
  scroll: { x: 280, y: 560 },
  size: { x: 680, y: 610 },
};
const swapped = { ...grid, swapped: true, size: { x: 660, y: 630 } };

test('a crossing lies where it does in the matrix', () => {
  expect(placeOnMap(grid, 112, 28)).toEqual({ x: 28.5, y: 56.25 });
  expect(placeOnMap(swapped, 112, 28)).toEqual({ x: 56.25, y: 28.5 });
  expect(placeOnMap(grid, 112, -1)).toEqual({ x: 0, y: 56.25 });
  expect([placeOnMap(grid, 112, -2), placeOnMap(grid, 300, 1)]).toEqual([undefined, undefined]);
});

test('routes that are unknown are not on it', () => {
  const facts = [{ ...UNKNOWN_FACT, source: 28 }, UNKNOWN_FACT, { ...UNKNOWN_FACT, source: 0 }];
  expect(routesOnMap(grid, facts)).toEqual([
    { x: 28.5, y: 0.25 },
    { x: 0.5, y: 1.25 },
  ]);
});

test('the frame is what the window shows', () => {
  expect(frameOnMap(grid)).toEqual({ at: { x: 28, y: 28 }, size: { x: 56, y: 28 } });
  expect(frameOnMap({ ...grid, scroll: { x: 9999, y: 0 } }).at).toEqual({ x: 56, y: 0 });
  expect(frameOnMap(swapped).size).toEqual({ x: 28, y: 56 });
  const small = { ...grid, sources: axisOf(3), destinations: axisOf(0) };
  expect(frameOnMap(small)).toEqual({ at: { x: 0, y: 0 }, size: { x: 112, y: 112 } });
});

test('a press brings what is there into the middle, as far as it goes', () => {
  expect(scrollFromMap(grid, { x: 56, y: 42 })).toEqual({ x: 280, y: 560 });
  expect(scrollFromMap(grid, { x: 0, y: 112 })).toEqual({ x: 0, y: 1680 });
});

test('a map is worth it from 65 entries on one axis', () => {
  expect([isWorthAMap(64, 64), isWorthAMap(65, 1), isWorthAMap(1, 65)]).toEqual([
    false,
    true,
    true,
  ]);
});
