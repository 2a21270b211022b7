import { expect, test } from 'vitest';

import { layOut } from './axis';
import { slots } from './slots';

const members = Array.from({ length: 20 }, (_, i) => i);
const axis = layOut([{ name: 'G', members, folded: false }], { band: 24, member: 32, folded: 24 });

test('lines that stay in view keep their elements', () => {
  const elementOf = (first: number) =>
    new Map(slots(axis, { first, end: first + 5 }, 6).map(({ at, slot }) => [at, slot]));
  const [before, after] = [elementOf(3), elementOf(5)];
  expect([5, 6, 7].map((line) => after.get(line))).toEqual(
    [5, 6, 7].map((line) => before.get(line)),
  );
  expect([...before.values()].sort()).toEqual([0, 1, 3, 4, 5]);
});

test('elements come in their own order, with the places of their lines', () => {
  const shown = slots(axis, { first: 3, end: 6 }, 4);
  expect(shown.map(({ slot }) => slot)).toEqual([0, 1, 3]);
  expect(slots(axis, { first: 0, end: 2 }, 4)).toMatchObject([
    { at: 0, line: { kind: 'band' }, start: 0, size: 24 },
    { at: 1, line: { kind: 'member', index: 0 }, start: 24, size: 32 },
  ]);
  expect(
    slots(axis, { first: 19, end: 30 }, 40)
      .map(({ at }) => at)
      .sort(),
  ).toEqual([19, 20]);
});
