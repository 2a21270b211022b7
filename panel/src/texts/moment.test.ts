import { expect, test } from 'vitest';

import { english } from './english';
import { exactClock, moment } from './moment';
import { speechOf } from './speech';

const speech = speechOf(english, 'en-GB', 'Europe/Paris');
const NOW = Date.parse('2026-11-22T14:02:11.250Z');

test.each([
  ['2026-11-22T14:02:11.250Z', '15:02:11'],
  ['2026-11-21T23:00:00.000Z', '00:00:00'],
  ['2026-11-21T22:59:59.000Z', '21 Nov, 23:59:59'],
  ['2025-11-22T14:02:11.000Z', '22 Nov 2025, 15:02:11'],
])('%s is "%s"', (time, words) => {
  expect(moment(speech, Date.parse(time), NOW)).toBe(words);
});

test('a moment can be told to the millisecond', () => {
  expect(exactClock(speech, NOW)).toBe('15:02:11.250');
});
