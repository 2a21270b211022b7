import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { attemptAfter, attemptAt, attemptWords, mayTry } from './attempt';

const speech = speechOf(english, 'en', 'UTC');
const T = 1_000_000;
const wrong = { ok: false, status: 401, sentence: 'The name or the password is wrong.' } as const;
const slowed = { ok: false, status: 429, sentence: 'Too many attempts.', wait: 8 } as const;

test('a wrong password may be followed by another at once', () => {
  const attempt = attemptAfter(wrong, T);
  expect(attemptWords(speech, attempt, T)).toBe('The name or the password is wrong.');
  expect(mayTry(attempt)).toBe(true);
});

test('when the server will not listen, the wait counts down to its end', () => {
  const attempt = attemptAfter(slowed, T);
  expect(attemptWords(speech, attempt, T + 1)).toBe('Too many attempts. Try again in 8 s.');
  expect(attemptWords(speech, attempt, T + 7999)).toBe('Too many attempts. Try again in 1 s.');
  expect(mayTry(attemptAt(attempt, T + 7999))).toBe(false);
  expect(mayTry(attemptAt(attempt, T + 8000))).toBe(true);
  expect(attemptWords(speech, attemptAt(attempt, T + 8000), T + 8000)).toBe('');
});

test('while one is under way there is no other', () => {
  expect(mayTry({ is: 'asking' })).toBe(false);
  expect(attemptWords(speech, { is: 'asking' }, T)).toBe('One moment…');
});

test('after one that has succeeded there is none', () => {
  const attempt = attemptAfter({ ok: true, body: {} }, T);
  expect([mayTry(attempt), attemptWords(speech, attempt, T)]).toEqual([false, '']);
});

test('a server that does not answer is said to do so', () => {
  const attempt = attemptAfter({ ok: false, status: 0 }, T);
  expect(attemptWords(speech, attempt, T)).toBe('The server does not answer.');
});
