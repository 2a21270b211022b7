import { expect, test } from 'vitest';

import { layOut } from './axis';
import { toggled, withBetween } from './marked';

// Lines: a band, 0, 1, a strip, a band, 4.
const axis = layOut(
  [
    { name: 'CAM', members: [0, 1], folded: false },
    { name: 'VTR', members: [2, 3], folded: true },
    { name: 'SAT', members: [4], folded: false },
  ],
  { band: 24, member: 32, folded: 24 },
);

test('what is not marked comes last, what is goes', () => {
  expect(toggled([3, 1], 2)).toEqual([3, 1, 2]);
  expect(toggled([3, 1], 3)).toEqual([1]);
});

test.each([
  [1, 5],
  [5, 1],
])('from line %i to %i all members are marked, what a strip hides is not', (one, other) => {
  expect(withBetween([], axis, one, other)).toEqual([0, 1, 4]);
});

test('what is marked stays so, and stands once', () => {
  expect(withBetween([4, 0], axis, 1, 2)).toEqual([4, 0, 1]);
});
