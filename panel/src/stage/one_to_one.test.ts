import { expect, test } from 'vitest';

import { oneToOne } from './one_to_one';

const row = (destination: number, source: number) => ({ destination, source });

test('each destination gets the next source, in the order in which they are seen', () => {
  expect(oneToOne([4, 7, 5], [0, 2, 1, 3, 6], 2)).toEqual([row(4, 2), row(7, 1), row(5, 3)]);
});

test('destinations beyond the last source get none', () => {
  expect(oneToOne([4, 7, 5], [0, 2, 1], 2)).toEqual([row(4, 2), row(7, 1)]);
});

test('nothing comes of a source that is not seen, as "No source" never is', () => {
  expect(oneToOne([4, 7], [0, 1], 9)).toEqual([]);
  expect(oneToOne([4, 7], [0, 1], -1)).toEqual([]);
});
