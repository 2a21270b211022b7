import { expect, test } from 'vitest';

import { below, chanceOf, type Chance } from '../live/history';
import { isIn, layOut, startOf } from './axis';
import {
  crosspointMiddle,
  edgeOf,
  farthestScroll,
  noSourceMiddle,
  pointAt,
  reveal,
  spaceOf,
  visible,
  type Grid,
  type Place,
} from './grid';
import { randomAxis } from './random_axis';

const members = (count: number) => [
  { name: 'A', members: Array.from({ length: count }, (_, i) => i), folded: false },
];
const axisOf = (count: number) => layOut(members(count), { band: 0, member: 32, folded: 24 });
const plain: Grid = {
  destinations: axisOf(100),
  sources: axisOf(100),
  swapped: false,
  head: { x: 292, y: 128 },
  lane: 32,
  scroll: { x: 0, y: 0 },
  size: { x: 1000, y: 600 },
};

function randomGrid(chance: Chance): Grid {
  const grid = {
    ...plain,
    destinations: randomAxis(chance),
    sources: randomAxis(chance),
    swapped: chance() < 0.5,
    size: { x: 400 + below(chance, 800), y: 200 + below(chance, 600) },
  };
  const far = farthestScroll(grid);
  return { ...grid, scroll: { x: below(chance, far.x + 1), y: below(chance, far.y + 1) } };
}

const isInside = ({ size, head }: Grid, { x, y }: Place) =>
  x >= head.x && y >= head.y && x < size.x && y < size.y;
const seeds = Array.from({ length: 30 }, (_, seed) => seed);

test.each([
  [{ x: 10, y: 10 }, { area: 'corner' }],
  [
    { x: 291, y: 128 },
    { area: 'destination', line: 0 },
  ],
  [{ x: 292, y: 127 }, { area: 'noSourceHead' }],
  [
    { x: 323, y: 160 },
    { area: 'noSource', line: 1 },
  ],
  [
    { x: 324, y: 0 },
    { area: 'source', line: 0 },
  ],
  [
    { x: 355, y: 159 },
    { area: 'crosspoint', destination: 0, source: 0 },
  ],
  [
    { x: 356, y: 160 },
    { area: 'crosspoint', destination: 1, source: 1 },
  ],
  [{ x: 1000, y: 300 }, { area: 'outside' }],
  [{ x: 300, y: -1 }, { area: 'outside' }],
])('what lies at %j', (place, pointed) => {
  expect(pointAt(plain, place)).toEqual(pointed);
});

test('with swapped axes destinations lie across', () => {
  const swapped = { ...plain, swapped: true, scroll: { x: 32, y: 0 } };
  expect(pointAt(swapped, { x: 292, y: 10 })).toEqual({ area: 'destination', line: 1 });
  expect(pointAt(swapped, { x: 292, y: 130 })).toEqual({ area: 'noSource', line: 1 });
  expect(pointAt(swapped, { x: 10, y: 130 })).toEqual({ area: 'noSourceHead' });
  expect(pointAt(swapped, { x: 10, y: 160 })).toEqual({ area: 'source', line: 0 });
});

test('beyond the last lines nothing lies', () => {
  const small = { ...plain, destinations: axisOf(2), sources: axisOf(2) };
  expect(pointAt(small, { x: 324, y: 192 })).toEqual({ area: 'outside' });
  expect(pointAt(small, { x: 388, y: 160 })).toEqual({ area: 'outside' });
  expect(pointAt(small, { x: 10, y: 192 })).toEqual({ area: 'outside' });
  expect(pointAt(small, { x: 388, y: 10 })).toEqual({ area: 'outside' });
});

test.each(seeds)('grid %d: every crosspoint that shows is found by its own middle', (seed) => {
  const grid = randomGrid(chanceOf(seed));
  const lanes = grid.swapped ? { x: 0, y: grid.lane } : { x: grid.lane, y: 0 };
  const shows = visible(grid);
  let found = 0;
  for (const destination of grid.destinations.lines.keys()) {
    const lane = noSourceMiddle(grid, destination);
    if (isInside(grid, lane))
      expect(pointAt(grid, lane)).toEqual({ area: 'noSource', line: destination });
    for (const source of grid.sources.lines.keys()) {
      const middle = crosspointMiddle(grid, destination, source);
      if (
        !isInside(grid, { x: middle.x - lanes.x, y: middle.y - lanes.y }) ||
        !isInside(grid, middle)
      )
        continue;
      expect(pointAt(grid, middle)).toEqual({ area: 'crosspoint', destination, source });
      expect([isIn(shows.destinations, destination), isIn(shows.sources, source)]).toEqual([
        true,
        true,
      ]);
      found += 1;
    }
  }
  expect(found).toBeGreaterThan(0);
});

test.each(seeds)(
  'grid %d: what is revealed lies whole in view, moved no more than needed',
  (seed) => {
    const chance = chanceOf(seed);
    const grid = { ...randomGrid(chance), size: { x: 800, y: 500 } };
    for (let i = 0; i < 20; i += 1) {
      const destination = below(chance, grid.destinations.lines.length);
      const source = below(chance, grid.sources.lines.length);
      const moved = { ...grid, scroll: reveal(grid, destination, source) };
      const shows = visible(moved);
      expect([isIn(shows.destinations, destination), isIn(shows.sources, source)]).toEqual([
        true,
        true,
      ]);
      expect(edgeOf(moved, source)).toBeUndefined();
      expect(reveal(moved, destination, source)).toEqual(moved.scroll);
      const far = farthestScroll(moved);
      expect([moved.scroll.x >= 0, moved.scroll.y >= 0]).toEqual([true, true]);
      expect([
        moved.scroll.x <= Math.max(far.x, grid.scroll.x),
        moved.scroll.y <= Math.max(far.y, grid.scroll.y),
      ]).toEqual([true, true]);
    }
  },
);

test('all that scrolls takes the heads, the lane and the lines, whichever way they lie', () => {
  const grid = { ...plain, destinations: axisOf(10) };
  expect(spaceOf(grid)).toEqual({ x: 292 + 32 + 3200, y: 128 + 320 });
  expect(spaceOf({ ...grid, swapped: true })).toEqual({ x: 292 + 320, y: 128 + 32 + 3200 });
});

test('revealing moves as little as can be', () => {
  expect(reveal(plain, 3, 3)).toEqual({ x: 0, y: 0 });
  expect(reveal(plain, 99, 99)).toEqual(farthestScroll(plain));
  const scrolled = { ...plain, scroll: farthestScroll(plain) };
  expect(reveal(scrolled, 2, 5)).toEqual({ x: 160, y: 64 });
  const tiny = { ...plain, size: { x: 330, y: 140 } };
  expect(reveal(tiny, 7, 7).y).toBe(startOf(tiny.destinations, 7));
});

test('the edge says where a source lies that is not in view', () => {
  const grid = { ...plain, scroll: { x: 320, y: 0 } };
  expect([9, 10, 30, 31, 32].map((source) => edgeOf(grid, source))).toEqual([
    'before',
    undefined,
    undefined,
    'after',
    'after',
  ]);
});
