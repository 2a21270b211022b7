import { expect, test } from 'vitest';

import { nameOf } from '../live/history';
import { readFilter } from '../search/filter';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { lengthOf } from './axis';
import { axisOf, sized, type Layout } from './view';

const speech = speechOf(english, 'en', 'UTC');
const names = Array.from({ length: 20 }, (_, i) => nameOf(i, i < 10 ? `CAM ${i}` : `VTR ${i}`));
const usual = {
  filter: [],
  pins: [],
  folds: new Set<string>(),
  size: 'L',
  hasBands: true,
} as const;
const laidOut = (change: Partial<Layout>) => axisOf(names, { ...usual, ...change }, speech);
const lines = (filter: string, folds: readonly string[] = [], hasBands = true) =>
  laidOut({ filter: readFilter(filter), folds: new Set(folds), hasBands });

test('groups have bands, or follow each other', () => {
  expect(lengthOf(lines(''))).toBe(2 * 24 + 20 * 32);
  expect(lengthOf(lines('', [], false))).toBe(20 * 32);
});

test('what the filter hides and what is folded takes no place', () => {
  expect(lengthOf(lines('vtr'))).toBe(24 + 10 * 32);
  expect(lengthOf(lines('', ['VTR'], false))).toBe(10 * 32 + 24);
});

test('what is pinned comes first, in a group of its own', () => {
  const { groups } = laidOut({ pins: [12, 3] });
  expect(groups.map(({ name, members }) => [name, members.slice(0, 3)])).toEqual([
    ['Pinned', [12, 3]],
    ['CAM', [0, 1, 2]],
    ['VTR', [10, 11, 13]],
  ]);
});

test('of those alone that are asked for', () => {
  const { groups } = laidOut({ only: new Set([3, 12]), filter: readFilter('cam') });
  expect(groups).toEqual([{ name: 'CAM', members: [3], folded: false }]);
  expect(laidOut({ only: new Set() }).lines).toEqual([]);
});

test('sizes go up and down, and end', () => {
  expect(sized('L', 1)).toBe('XL');
  expect(sized('XL', 1)).toBe('XL');
  expect(sized('S', -1)).toBe('S');
});
