import { expect, test } from 'vitest';

import { age, clock, duration, inSeconds, old } from './clock';
import { english } from './english';
import { speechOf } from './speech';

const speech = speechOf(english, 'en-GB', 'Europe/Vienna');
const at = (text: string) => Date.parse(text);
const NOW = at('2026-11-22T13:02:11.000Z');

test('the clock is that of the zone', () => {
  expect(clock(speech, NOW)).toBe('14:02:11');
  expect(clock(speech, NOW, false)).toBe('14:02');
});

test.each([
  [-500, '0:00'],
  [999, '0:00'],
  [42_000, '0:42'],
  [60_000, '1:00'],
  [119_999, '1:59'],
  [120_000, '2 min'],
  [3_599_999, '59 min'],
  [3_600_000, 'since 13:02'],
  [14 * 3_600_000, 'since 00:02'],
  [15 * 3_600_000, 'since 23:02 yesterday'],
  [38 * 3_600_000, 'since 00:02 yesterday'],
  [39 * 3_600_000, 'since 23:02 on 20 Nov 2026'],
])('an age of %d ms is "%s"', (ms, words) => {
  expect(age(speech, NOW - ms, NOW)).toBe(words);
});

test('what is old says so, unless it says since when', () => {
  expect(old(speech, NOW - 42_000, NOW)).toBe('0:42 old');
  expect(old(speech, NOW - 24 * 3_600_000, NOW)).toBe('since 14:02 yesterday');
});

test.each([
  ['a day of 25 hours', '2026-10-25T23:30:00.000Z', '2026-10-24T22:10:00.000Z'],
  ['a day of 23 hours', '2026-03-29T22:30:00.000Z', '2026-03-28T23:10:00.000Z'],
])('at half past midnight after %s, ten past midnight was yesterday', (_day, now, from) => {
  expect(age(speech, at(from), at(now))).toBe('since 00:10 yesterday');
});

test.each([
  [0, '0 ms'],
  [84.2, '84 ms'],
  [999.4, '999 ms'],
  [999.6, '1.0 s'],
  [7400, '7.4 s'],
  [9940, '9.9 s'],
  [42_300, '42 s'],
  [59_600, '1 min 0 s'],
  [72_000, '1 min 12 s'],
  [100_000, '1 min 40 s'],
])('%d ms last "%s"', (ms, words) => {
  expect(duration(speech, ms)).toBe(words);
});

test('what counts up counts in tenths', () => {
  expect(inSeconds(speech, 400)).toBe('0.4 s');
});
