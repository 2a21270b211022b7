import { expect, test } from 'vitest';

import { connect, heard, lost, opened, tryNow } from '../live/connection';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { serverStrip } from './server';

const speech = speechOf(english, 'en', 'UTC');
const T = 1_000_000;
const open = opened(connect(T).connection, T).connection;
const spoken = heard(open, T);

test('nothing is said while the server is heard, or before', () => {
  expect(serverStrip(speech, spoken, T + 14_999)).toBe('');
  expect(serverStrip(speech, open, T + 20_000)).toBe('');
});

test('a loss says how old all is, and when it tries again', () => {
  const connection = { ...lost(spoken, T + 40_000, 0), retryAt: T + 43_000 };
  expect(serverStrip(speech, connection, T + 40_001)).toBe(
    'No connection to the server. What you see is 0:40 old. Trying again in 3 s.',
  );
  expect(serverStrip(speech, connection, T + 43_100)).toContain('Trying again in 0 s.');
});

test('a server that is silent, or asked again, is said to be tried now', () => {
  const words = 'No connection to the server. What you see is 0:15 old. Trying again now.';
  expect(serverStrip(speech, spoken, T + 15_000)).toBe(words);
  const again = tryNow(lost(spoken, T + 14_000, 0), T + 14_500).connection;
  expect(serverStrip(speech, again, T + 15_000)).toBe(words);
});
