import { expect, test } from 'vitest';

import type { Source } from '../api/types';
import { nameOf } from '../live/history';
import { arrange, type Arrangement } from './groups';

const usual: Arrangement = {
  pins: [],
  pinnedName: 'Pinned',
  ungroupedName: 'In no group',
  folds: new Set(),
  shows: () => true,
  blockName: (first, last) => `${first}–${last}`,
};
const names = (...all: string[]) => all.map((name, i) => nameOf(i, name));
const short = (list: readonly Source[], more: Partial<Arrangement> = {}) =>
  arrange(list, { ...usual, ...more }).map(({ name, members }) => `${name}: ${members.join(' ')}`);

const cameras = names('CAM 1', 'CAM 2', 'VTR 3', 'CAM 4', 'VTR 5');

test('the router’s groups count, in the order of their first members', () => {
  const list = cameras.map((each, i) => ({
    ...each,
    group: ['', 'Tape', 'Tape', 'Jib', ''][i] ?? '',
  }));
  expect(short(list)).toEqual(['In no group: 0 4', 'Tape: 1 2', 'Jib: 3']);
});

test('one group for each name, also for the one of what is in none', () => {
  const list = cameras.map((each, i) => ({ ...each, group: i === 1 ? 'In no group' : '' }));
  expect(short(list)).toEqual(['In no group: 0 1 2 3 4']);
});

test('else the beginnings of names', () => {
  expect(short(cameras)).toEqual(['CAM: 0 1 3', 'VTR: 2 4']);
});

test('also where a letter counts', () => {
  expect(short(names('MON A', 'TX 1', 'MON B', 'TX 2'))).toEqual(['MON: 0 2', 'TX: 1 3']);
});

test.each([
  ['one for all', Array.from({ length: 18 }, (_, i) => `SRC ${i}`)],
  ['one for each', 'a b c d e f g h i j k l m n o p q r'.split(' ')],
  ['nothing but numbers', Array.from({ length: 18 }, (_, i) => (i < 9 ? `${i}` : `CAM ${i}`))],
])('else blocks, as with %s', (_why, all) => {
  expect(short(names(...all))).toEqual([
    '1–16: 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15',
    '17–18: 16 17',
  ]);
});

test('pins come first, and are not shown twice', () => {
  expect(short(cameras, { pins: [4, 0, 99] })).toEqual(['Pinned: 4 0', 'CAM: 1 3', 'VTR: 2']);
});

test('a filter leaves out members, and groups without any', () => {
  expect(short(cameras, { shows: (index) => index > 2 && index !== 4 })).toEqual(['CAM: 3']);
});

test('folds are by name', () => {
  const groups = arrange(cameras, { ...usual, pins: [0], folds: new Set(['VTR', 'Pinned']) });
  expect(groups.map(({ folded }) => folded)).toEqual([true, false, true]);
});
