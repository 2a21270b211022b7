import { expect, test } from 'vitest';

import { below, chanceOf } from '../live/history';
import { isIn, layOut, lengthOf, windowOf } from './axis';
import { arrived, idleSlots, poolSize, slotOf } from './pool';
import { randomAxis } from './random_axis';

test.each(Array.from({ length: 20 }, (_, seed) => seed))(
  'scrolling %d: the pool shows each line of the window, drawn once',
  (seed) => {
    const chance = chanceOf(seed);
    const axis = randomAxis(chance);
    const breadth = 300;
    const size = poolSize(breadth, 12, 2);
    const pool: (number | undefined)[] = Array.from({ length: size });
    let before = { first: 0, end: 0 };
    for (let i = 0; i < 60; i += 1) {
      const from = below(chance, lengthOf(axis));
      const now = windowOf(axis, from, from + breadth, 2);
      expect(now.end - now.first).toBeLessThanOrEqual(size);
      const drawn = arrived(before, now);
      for (const line of drawn) pool[slotOf(line, size)] = line;
      for (const slot of idleSlots(now, size)) pool[slot] = undefined;
      const shown = [...axis.lines.keys()].filter((line) => isIn(now, line));
      expect(pool.filter((line) => line !== undefined).sort((a, b) => a - b)).toEqual(shown);
      expect(drawn.filter((line) => isIn(before, line))).toEqual([]);
      before = now;
    }
  },
);

test('the pool is as big as the most lines that a window can have', () => {
  const members = Array.from({ length: 200 }, (_, i) => i);
  const axis = layOut([{ name: 'A', members, folded: false }], { band: 0, member: 12, folded: 24 });
  const breadths = Array.from({ length: 100 }, (_, i) => windowOf(axis, 600 + i, 900 + i, 2));
  expect(Math.max(...breadths.map(({ first, end }) => end - first))).toBe(poolSize(300, 12, 2));
});
