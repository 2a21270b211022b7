import { expect, test } from 'vitest';

import { tokenEnd } from './token';

test('a token ends after days, or never', () => {
  const now = Date.parse('2026-11-22T14:00:00Z');
  expect(tokenEnd(30, now)).toEqual({ expires: '2026-12-22T14:00:00.000Z' });
  expect(tokenEnd(undefined, now)).toEqual({});
});
