import { expect, test } from 'vitest';

import type { Lock } from '../api/types';
import { ANA, BEN } from '../live/history';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { held, holdOf, lockWanted, mayBreak } from './hold';

const speech = speechOf(english, 'en', 'UTC');
const NOW = Date.parse('2026-11-22T13:30:00.000Z');
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
  expect(holdOf(speech, undefined, 'ben', NOW)).toEqual({ is: 'free' });
  expect(holdOf(speech, lock, 'ben', NOW)).toEqual({ is: 'mine' });
  expect(holdOf(speech, lock, 'ana', NOW)).toEqual({
    is: 'foreign',
    words: 'Locked by Ben L. since 13:20.',
    because: "'Live feed, do not touch.'",
  });
  expect(holdOf(speech, { ...lock, until: '2026-11-22T18:00:00.000Z' }, 'ana', NOW)).toMatchObject({
    words: 'Locked by Ben L. since 13:20 until 18:00.',
  });
  expect(holdOf(speech, { ...lock, reason: '' }, 'ana', NOW)).toMatchObject({ because: '' });
});

test('names the day of what is not today', () => {
  expect(holdOf(speech, lock, 'ana', NOW + 24 * 3600_000)).toMatchObject({
    words: 'Locked by Ben L. since Nov 22, 13:20.',
  });
});

test('a lock is broken with a reason alone', () => {
  expect(mayBreak(' ab ')).toBe(false);
  expect(mayBreak('abc')).toBe(true);
});

test('a lock has no end, or one in an hour, or at a time', () => {
  expect(lockWanted('protect', '', { is: 'none' }, NOW)).toEqual({ mode: 'protect', reason: '' });
  expect(lockWanted('lock', 'x', { is: 'hour' }, NOW)).toEqual({
    mode: 'lock',
    reason: 'x',
    until: '2026-11-22T14:30:00.000Z',
  });
  expect(lockWanted('lock', '', { is: 'time', at: NOW + 60_000 }, NOW)).toMatchObject({
    until: '2026-11-22T13:31:00.000Z',
  });
});

test('no lock ends before it begins, or at a time that is not written', () => {
  expect(lockWanted('lock', '', { is: 'time', at: NOW }, NOW)).toBeUndefined();
  expect(lockWanted('lock', '', { is: 'time', at: NaN }, NOW)).toBeUndefined();
});

test('a selection is told apart by who holds what in it', () => {
  const locks = new Map([
    [3, lock],
    [5, { ...lock, destination: 5, owner: ANA }],
  ]);
  expect(held(locks, [2, 3, 5, 7], 'ana')).toEqual({ free: [2, 7], mine: [5], foreign: [3] });
});
