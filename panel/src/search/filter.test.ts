import { expect, test } from 'vitest';

import { nameOf } from '../live/history';
import { matches, readFilter } from './filter';

const name = {
  ...nameOf(11, 'CAM 7 Jib'),
  routerName: 'Caméra-007b',
  alias: 'CAM 7 Jib',
  group: 'Studio floor',
};

test.each([
  ['', true],
  ['  ', true],
  ['cam', true],
  ['CAM jib', true],
  ['jib cam', true],
  ['cam vtr', false],
  ['am', false],
  ['camera', true],
  ['caméra', true],
  ['12', true],
  ['012', true],
  ['1', false],
  ['7', true],
  ['cam7', true],
  ['cam 70', false],
  ['cam7b', false],
  ['camera-7', true],
  ['12-40', true],
  ['1–12', true],
  ['13-40', false],
  ['1-11', false],
  ['40-12', false],
  ['cam 12-40', true],
  ['floor', true],
  ['@floor', true],
  ['@stu', true],
  ['@cam', false],
  ['@', false],
])("'%s' finds it: %s", (text, found) => {
  expect(matches(readFilter(text), name)).toBe(found);
});

test('blanks alone are no filter', () => {
  expect(readFilter('  ')).toEqual([]);
});

test('writing without blanks is found anywhere', () => {
  const japanese = nameOf(0, '第一スタジオ 3');
  expect(matches(readFilter('スタジオ'), japanese)).toBe(true);
  expect(matches(readFilter('スタジオ3'), japanese)).toBe(true);
  expect(matches(readFilter('スタジオ4'), japanese)).toBe(false);
});

test('words of one text do not run into the next', () => {
  expect(matches(readFilter('12cam'), name)).toBe(false);
});
