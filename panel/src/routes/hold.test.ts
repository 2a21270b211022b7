import { expect, test } from 'vitest';

import type { Lock } from '../api/types';
import { BEN } from '../live/history';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { holdOf, lockWanted, mayBreak } from './hold';

const speech = speechOf(english, 'en', 'UTC');
const lock: Lock = {
  router: 'r1',
  destination: 3,
  destinationName: 'MON 4',
  mode: 'lock',
  owner: BEN,
  reason: 'Live feed, do not touch.',
  since: '2026-11-22T13:20:00.114Z',
};

test('says who holds it', () => {
  expect(holdOf(speech, undefined, 'ben')).toEqual({ is: 'free' });
  expect(holdOf(speech, lock, 'ben')).toEqual({ is: 'mine' });
  expect(holdOf(speech, lock, 'ana')).toEqual({
    is: 'foreign',
    words: 'Locked by Ben L. since 13:20.',
    because: "'Live feed, do not touch.'",
  });
  expect(holdOf(speech, { ...lock, until: '2026-11-22T18:00:00.000Z' }, 'ana')).toMatchObject({
    words: 'Locked by Ben L. since 13:20 until 18:00.',
  });
  expect(holdOf(speech, { ...lock, reason: '' }, 'ana')).toMatchObject({ because: '' });
});

test('a lock is broken with a reason alone', () => {
  expect(mayBreak(' ab ')).toBe(false);
  expect(mayBreak('abc')).toBe(true);
});

test('a lock has no end, or one in an hour', () => {
  const now = Date.parse('2026-11-22T13:00:00.000Z');
  expect(lockWanted('protect', '', false, now)).toEqual({ mode: 'protect', reason: '' });
  expect(lockWanted('lock', 'x', true, now)).toEqual({
    mode: 'lock',
    reason: 'x',
    until: '2026-11-22T14:00:00.000Z',
  });
});
