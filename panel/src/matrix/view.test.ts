import { expect, test } from 'vitest';

import { nameOf } from '../live/history';
import { readFilter } from '../search/filter';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { lengthOf } from './axis';
import { axisOf, sized } from './view';

const speech = speechOf(english, 'en', 'UTC');
const names = Array.from({ length: 20 }, (_, i) => nameOf(i, i < 10 ? `CAM ${i}` : `VTR ${i}`));
const lines = (filter: string, folds: readonly string[] = [], hasBands = true) =>
  axisOf(names, readFilter(filter), new Set(folds), 'L', hasBands, speech);

test('groups have bands, or follow each other', () => {
  expect(lengthOf(lines(''))).toBe(2 * 24 + 20 * 32);
  expect(lengthOf(lines('', [], false))).toBe(20 * 32);
});

test('what the filter hides and what is folded takes no place', () => {
  expect(lengthOf(lines('vtr'))).toBe(24 + 10 * 32);
  expect(lengthOf(lines('', ['VTR'], false))).toBe(10 * 32 + 24);
});

test('sizes go up and down, and end', () => {
  expect(sized('L', 1)).toBe('XL');
  expect(sized('XL', 1)).toBe('XL');
  expect(sized('S', -1)).toBe('S');
});
