import { expect, test } from 'vitest';

import { nameOf } from '../live/history';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { hiddenWords, passing } from './filtered';

const speech = speechOf(english, 'en', 'UTC');
const names = Array.from({ length: 6 }, (_, i) => nameOf(i, i < 4 ? `MON ${i}` : `TX ${i}`));

test('what passes the filter, or is asked for alone', () => {
  expect([...passing(names, '')]).toEqual([0, 1, 2, 3, 4, 5]);
  expect([...passing(names, 'tx')]).toEqual([4, 5]);
  expect([...passing(names, 'tx', new Set([1, 5]))]).toEqual([5]);
});

test.each([
  [[4], [5], ''],
  [[1], [4], '1 staged is hidden by the filter.'],
  [[1, 2], [], '2 staged are hidden by the filter.'],
  [[], [0], '1 problem is hidden by the filter.'],
  [[4], [0, 1, 2], '3 problems are hidden by the filter.'],
  [[1, 2], [0], '2 staged and 1 problem are hidden by the filter.'],
  [[1, 2], [0, 1, 3], '2 staged and 3 problems are hidden by the filter.'],
])('staged %j, problems %j: %s', (staged, problems, words) => {
  expect(hiddenWords(speech, passing(names, 'tx'), staged, problems)).toBe(words);
});
