import { expect, test } from 'vitest';

import { below, chanceOf } from '../live/history';
import { layOut, startOf } from './axis';
import { firstPlace, lastPlace, nextGroup, nextPage, nextPlace } from './move';
import { randomAxis } from './random_axis';

// 0 band, 1, 2 members; 3 strip; 4 band, 5, 6, 7 members
const axis = layOut(
  [
    { name: 'A', members: [0, 1], folded: false },
    { name: 'B', members: [2, 3], folded: true },
    { name: 'C', members: [4, 5, 6], folded: false },
  ],
  { band: 24, member: 32, folded: 24 },
);
const walk = (step: (line: number) => number, from: number, times: number) => {
  const lines = [from];
  for (let i = 0; i < times; i += 1) lines.push(step(lines.at(-1) ?? 0));
  return lines;
};

test('it steps over bands and stays at the ends', () => {
  expect(walk((line) => nextPlace(axis, line, 1), 1, 6)).toEqual([1, 2, 3, 5, 6, 7, 7]);
  expect(walk((line) => nextPlace(axis, line, -1), 7, 6)).toEqual([7, 6, 5, 3, 2, 1, 1]);
  expect([firstPlace(axis), lastPlace(axis)]).toEqual([1, 7]);
});

test('it goes from group to group', () => {
  expect(walk((line) => nextGroup(axis, line, 1), 2, 3)).toEqual([2, 3, 5, 5]);
  expect(walk((line) => nextGroup(axis, line, -1), 6, 3)).toEqual([6, 3, 1, 1]);
});

test('a page ends at the first and the last place', () => {
  expect([nextPage(axis, 3, -1, 500), nextPage(axis, 3, 1, 500)]).toEqual([1, 7]);
});

test('an empty axis has no places', () => {
  const empty = layOut([], { band: 24, member: 32, folded: 24 });
  expect([firstPlace(empty), lastPlace(empty)]).toEqual([undefined, undefined]);
});

test.each(Array.from({ length: 20 }, (_, seed) => seed))(
  'layout %d: pages lead from end to end, never onto a band',
  (seed) => {
    const chance = chanceOf(seed);
    const random = randomAxis(chance);
    const breadth = 100 + below(chance, 300);
    for (const by of [1, -1] as const) {
      const [from, to] =
        by === 1
          ? [firstPlace(random), lastPlace(random)]
          : [lastPlace(random), firstPlace(random)];
      let line = from ?? -1;
      for (let i = 0; i < 500 && line !== to; i += 1) {
        const next = nextPage(random, line, by, breadth);
        expect(random.lines[next]?.kind).not.toBe('band');
        expect((next - line) * by).toBeGreaterThan(0);
        expect(Math.abs(startOf(random, next) - startOf(random, line))).toBeLessThanOrEqual(
          breadth + 24 + 44, // a band and the longest member
        );
        line = next;
      }
      expect(line).toBe(to);
    }
  },
);
