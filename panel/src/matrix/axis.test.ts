import { expect, test } from 'vitest';

import { isIn, layOut, lengthOf, lineAt, middleOf, startOf, windowOf, type Group } from './axis';
import { randomAxis } from './random_axis';
import { below, chanceOf } from '../live/history';

const SIZES = { band: 20, member: 32, folded: 24 };
const group = (name: string, members: readonly number[], folded = false): Group => ({
  name,
  members,
  folded,
});

test('bands, members and strips follow each other', () => {
  const axis = layOut([group('A', [3, 1]), group('gone', []), group('B', [0, 2], true)], SIZES);
  expect(axis.lines).toEqual([
    { kind: 'band', group: 0, index: -1 },
    { kind: 'member', group: 0, index: 3 },
    { kind: 'member', group: 0, index: 1 },
    { kind: 'folded', group: 2, index: -1 },
  ]);
  expect([...axis.starts]).toEqual([0, 20, 52, 84, 108]);
  expect([3, 1, 0, 2, 7].map((index) => axis.lineOf.get(index))).toEqual([1, 2, 3, 3, undefined]);
});

test('without bands members follow each other', () => {
  const axis = layOut([group('A', [0]), group('B', [1])], { ...SIZES, band: 0 });
  expect([...axis.starts]).toEqual([0, 32, 64]);
});

test('a window that ends where a line starts is without it', () => {
  const axis = layOut([group('A', [0, 1, 2])], SIZES);
  expect(windowOf(axis, 0, 52)).toEqual({ first: 0, end: 2 });
  expect(windowOf(axis, 20, 53)).toEqual({ first: 1, end: 3 });
});

test('an empty axis shows nothing', () => {
  const axis = layOut([], SIZES);
  expect([lengthOf(axis), lineAt(axis, 0), windowOf(axis, 0, 100)]).toEqual([
    0,
    undefined,
    { first: 0, end: 0 },
  ]);
});

test.each(Array.from({ length: 20 }, (_, seed) => seed))(
  'layout %d: each line is found by its start, middle and last pixel',
  (seed) => {
    const axis = randomAxis(chanceOf(seed));
    for (const line of axis.lines.keys()) {
      const end = startOf(axis, line + 1);
      for (const place of [startOf(axis, line), middleOf(axis, line), end - 1, end - 0.001])
        expect(lineAt(axis, place)).toBe(line);
    }
    expect([lineAt(axis, -0.001), lineAt(axis, lengthOf(axis)), lineAt(axis, NaN)]).toEqual([
      undefined,
      undefined,
      undefined,
    ]);
  },
);

test.each(Array.from({ length: 20 }, (_, seed) => seed))(
  'layout %d: a window has the lines that show, and no others',
  (seed) => {
    const chance = chanceOf(seed);
    const axis = randomAxis(chance);
    for (let i = 0; i < 50; i += 1) {
      const from = below(chance, lengthOf(axis) * 1.4) - lengthOf(axis) * 0.2;
      const to = from + below(chance, 600);
      const window = windowOf(axis, from, to);
      const showing = [...axis.lines.keys()].filter(
        (line) => startOf(axis, line) < to && startOf(axis, line + 1) > from && to > from,
      );
      expect([...axis.lines.keys()].filter((line) => isIn(window, line))).toEqual(showing);
      const wider = windowOf(axis, from, to, 3);
      if (showing.length === 0) expect(wider).toEqual({ first: 0, end: 0 });
      else
        expect(wider).toEqual({
          first: Math.max(0, window.first - 3),
          end: Math.min(axis.lines.length, window.end + 3),
        });
    }
  },
);
