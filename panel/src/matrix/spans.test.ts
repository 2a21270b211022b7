import { expect, test } from 'vitest';

import { layOut } from './axis';
import { openSpans } from './spans';

const group = (name: string, members: number[], folded = false) => ({ name, members, folded });
const axis = layOut([group('C', [0, 1, 2]), group('F', [3, 4], true), group('V', [5, 6])], {
  band: 0,
  member: 32,
  folded: 24,
});
const said = (first: number, end: number) =>
  openSpans(axis, { first, end }).map(({ group: { name }, start, size }) => [name, start, size]);

test('a group reaches over all its lines, also those out of view', () => {
  expect(said(1, 3)).toEqual([['C', 0, 96]]);
  expect(said(0, 6)).toEqual([
    ['C', 0, 96],
    ['V', 120, 64],
  ]);
});

test('folded groups and those out of view are none', () => {
  expect(said(3, 4)).toEqual([]);
  expect(said(0, 0)).toEqual([]);
});
