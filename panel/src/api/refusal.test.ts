import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { refusalWords } from './refusal';

const { say } = speechOf(english, 'en', 'UTC');

test.each([
  [{ status: 401, sentence: 'Sign in first.' }, 'Sign in first.'],
  [{ status: 502 }, 'The server answered with status 502.'],
  [{ status: 0 }, 'The server does not answer.'],
])('%j is said as "%s"', (refusal, words) => {
  expect(refusalWords(say, { ok: false, ...refusal })).toBe(words);
});
