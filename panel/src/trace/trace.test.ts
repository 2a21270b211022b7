import { expect, test } from 'vitest';

import type { Frame } from '../live/house_topics';
import { newest, ofDestination, rawShown, traceFile } from './trace';

const frame = (number: number, destination?: number): Frame => ({
  number,
  time: '2026-11-22T13:55:02.680Z',
  direction: 'sent',
  meaning: 'query',
  text: `query ${String(number)}`,
  raw: 'N0\t5',
  ...(destination === undefined ? {} : { destination }),
});

test('frames are filtered by their destination', () => {
  const frames = [frame(1, 4), frame(2), frame(3, 5)];
  expect(ofDestination(frames, undefined)).toBe(frames);
  expect(ofDestination(frames, 4)).toEqual([frame(1, 4)]);
});

test('bytes that cannot be seen are written', () => {
  expect(rawShown('A ~\\\r\n\x7fé')).toBe('A ~\\\\\\x0d\\x0a\\x7f\\xe9');
});

test('a file has a line for each frame', () => {
  expect(traceFile([frame(1), frame(2)])).toBe(
    '2026-11-22T13:55:02.680Z\tsent\tquery 1\tN0\\x095\n' +
      '2026-11-22T13:55:02.680Z\tsent\tquery 2\tN0\\x095\n',
  );
});

test('the newest frames are shown first, not more than can be read', () => {
  const frames = Array.from({ length: 201 }, (_, i) => frame(i));
  const numbers = newest(frames).map(({ number }) => number);
  expect([numbers[0], numbers.at(-1), numbers.length]).toEqual([200, 1, 200]);
});
