import { expect, test } from 'vitest';

import { chanceOf } from '../live/history';
import { layOut } from './axis';
import { farthestScroll, pointAt, type Grid } from './grid';
import { scrollKeeping } from './zoom';

const groups = [
  { name: 'A', members: Array.from({ length: 60 }, (_, i) => i), folded: false },
  { name: 'B', members: [60, 61], folded: true },
  { name: 'C', members: Array.from({ length: 60 }, (_, i) => i + 62), folded: false },
];
const gridOf = (member: number, swapped: boolean): Grid => ({
  destinations: layOut(groups, { band: 24, member, folded: 24 }),
  sources: layOut(groups, { band: 0, member, folded: 24 }),
  swapped,
  head: { x: 292, y: 128 },
  lane: 32,
  scroll: { x: 1100, y: 1300 },
  size: { x: 1200, y: 800 },
});

test.each([false, true])(
  'the crosspoint under the pointer stays under it, swapped: %s',
  (swapped) => {
    const chance = chanceOf(3);
    let kept = 0;
    for (const member of [24, 44]) {
      for (let i = 0; i < 100; i += 1) {
        const before = gridOf(32, swapped);
        const pointer = { x: 330 + chance() * 860, y: 170 + chance() * 620 };
        const after = gridOf(member, swapped);
        const scroll = scrollKeeping(before, after, pointer);
        const far = farthestScroll(after);
        if (scroll.x <= 0 || scroll.y <= 0 || scroll.x >= far.x || scroll.y >= far.y) continue;
        expect(pointAt({ ...after, scroll }, pointer)).toEqual(pointAt(before, pointer));
        kept += 1;
      }
    }
    expect(kept).toBeGreaterThan(50);
  },
);

test('it never scrolls beyond the ends', () => {
  const before = { ...gridOf(44, false), scroll: farthestScroll(gridOf(44, false)) };
  const small = gridOf(12, false);
  expect(scrollKeeping(before, small, { x: 1190, y: 790 })).toEqual(farthestScroll(small));
  const start = { ...gridOf(44, false), scroll: { x: 0, y: 0 } };
  expect(scrollKeeping(start, small, { x: 600, y: 600 })).toEqual({ x: 0, y: 0 });
  const shrunk = { ...start, scroll: { x: 5, y: 5 } };
  expect(
    scrollKeeping(shrunk, { ...small, size: { x: 5000, y: 5000 } }, { x: 600, y: 600 }),
  ).toEqual({ x: 0, y: 0 });
});
