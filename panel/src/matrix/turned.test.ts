import { expect, test } from 'vitest';

import { layOut } from './axis';
import { MOVES, moved, type Move } from './cursor';
import { extension, stepOf } from './turned';

const sizes = { band: 0, member: 32, folded: 24 };
const axis = layOut(
  [
    [0, 1, 2],
    [3, 4, 5],
    [6, 7, 8],
  ].map((members) => ({ name: '', members, folded: false })),
  sizes,
);
const from = { destination: 4, source: 4 };
const go = (move: Move, swapped: boolean) =>
  moved(from, stepOf(move, swapped), axis, axis, { destinations: 64, sources: 96 });

test('without swapping keys mean what they say', () => {
  for (const move of MOVES) expect(stepOf(move, false)).toBe(move);
});

test('with swapped axes arrows up and down go along the sources', () => {
  expect(go('up', true)).toEqual({ destination: 4, source: 3 });
  expect(go('down', true)).toEqual({ destination: 4, source: 5 });
  expect(go('left', true)).toEqual({ destination: 3, source: 4 });
  expect(go('right', true)).toEqual({ destination: 5, source: 4 });
  expect(go('groupDown', true)).toEqual({ destination: 4, source: 6 });
  expect(go('groupLeft', true)).toEqual({ destination: 0, source: 4 });
  expect(go('pageDown', true)).toEqual({ destination: 4, source: 7 });
  expect(go('pageRight', true)).toEqual({ destination: 6, source: 4 });
});

test('with swapped axes a row is a source, and its ends are destinations', () => {
  expect(go('rowStart', true)).toEqual({ destination: 0, source: 4 });
  expect(go('rowEnd', true)).toEqual({ destination: 8, source: 4 });
  expect(go('lastCorner', true)).toEqual(go('lastCorner', false));
});

test('marking goes along the destinations alone', () => {
  const meanings = (swapped: boolean) =>
    ['extendUp', 'extendDown', 'extendLeft', 'extendRight', 'up'].map((each) =>
      extension(each, swapped),
    );
  expect(meanings(false)).toEqual(['up', 'down', undefined, undefined, undefined]);
  expect(meanings(true)).toEqual([undefined, undefined, 'up', 'down', undefined]);
});
