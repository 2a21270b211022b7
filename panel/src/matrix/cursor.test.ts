import { expect, test } from 'vitest';

import { nameOf } from '../live/history';
import { NO_SOURCE } from '../live/router_topic';
import { layOut } from './axis';
import { atNumbers, indexAt, kept, moved, type Cursor, type Step } from './cursor';

const group = (name: string, members: number[], folded = false) => ({ name, members, folded });
const sizes = { band: 24, member: 32, folded: 24 };
const destinations = layOut(
  [group('M', [0, 1, 2]), group('T', [3, 4]), group('F', [5, 6], true)],
  sizes,
);
const sources = layOut([group('C', [0, 1, 2]), group('V', [3, 4, 5])], { ...sizes, band: 0 });
const extent = { destinations: 64, sources: 64 };
const go = (from: Cursor, ...moves: readonly Step[]) =>
  moves.reduce((at, move) => moved(at, move, destinations, sources, extent), from);
const at = (destination: number, source: number): Cursor => ({ destination, source });

test('goes from place to place, over bands, onto strips', () => {
  expect(go(at(0, 0), 'down', 'right')).toEqual(at(1, 1));
  expect(go(at(2, 0), 'down')).toEqual(at(3, 0));
  expect(go(at(4, 0), 'down')).toEqual(at(5, 0)); // the strip, by its first
  expect(go(at(5, 0), 'down')).toEqual(at(5, 0));
  expect(go(at(3, 0), 'up')).toEqual(at(2, 0));
});

test('"No source" is before the first source', () => {
  expect(go(at(0, 0), 'left')).toEqual(at(0, NO_SOURCE));
  expect(go(at(0, 0), 'left', 'left')).toEqual(at(0, NO_SOURCE));
  expect(go(at(0, NO_SOURCE), 'right')).toEqual(at(0, 0));
  expect(go(at(0, 4), 'rowStart')).toEqual(at(0, NO_SOURCE));
  expect(go(at(0, NO_SOURCE), 'groupRight')).toEqual(at(0, 0));
  expect(go(at(0, NO_SOURCE), 'pageLeft')).toEqual(at(0, NO_SOURCE));
});

test('goes to the first and the last destination of a source', () => {
  expect(go(at(3, 2), 'columnStart')).toEqual(at(0, 2));
  expect(go(at(3, 2), 'columnEnd')).toEqual(at(5, 2));
});

test('goes by groups, windows and to the ends', () => {
  expect(go(at(0, 0), 'groupDown', 'groupRight')).toEqual(at(3, 3));
  expect(go(at(3, 3), 'groupUp', 'groupLeft')).toEqual(at(0, 0));
  expect(go(at(0, 0), 'pageDown', 'pageRight')).toEqual(at(2, 2));
  expect(go(at(2, 2), 'pageUp', 'pageLeft')).toEqual(at(0, 0));
  expect(go(at(1, 1), 'rowEnd')).toEqual(at(1, 5));
  expect(go(at(1, 1), 'lastCorner')).toEqual(at(5, 5));
  expect(go(at(4, 4), 'firstCorner')).toEqual(at(0, NO_SOURCE));
});

test('stays where it is as long as that is shown', () => {
  expect(kept(at(6, NO_SOURCE), destinations, sources)).toEqual(at(6, NO_SOURCE));
  expect(kept(at(9, 9), destinations, sources)).toEqual(at(0, 0));
});

test('a band has no member, a strip its first', () => {
  expect(indexAt(destinations, 0)).toBeUndefined();
  expect(indexAt(destinations, 1)).toBe(0);
  expect(indexAt(destinations, destinations.lines.length - 1)).toBe(5);
});

test('goes to a number that people see, where there is one', () => {
  const names = [nameOf(0), nameOf(7)]; // the numbers 1 and 8
  expect(atNumbers(at(3, 3), { destination: 1, source: 8 }, names, names)).toEqual(at(0, 7));
  expect(atNumbers(at(3, 3), { destination: 8 }, names, names)).toEqual(at(7, 3));
  expect(atNumbers(at(3, 3), { destination: 2, source: 2 }, names, names)).toEqual(at(3, 3));
});
