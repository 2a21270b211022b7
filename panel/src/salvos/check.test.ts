import { expect, test } from 'vitest';

import type { DryRunRow, Lock } from '../api/types';
import { ANA, BEN, routerData, TIME } from '../live/history';
import { beginRouter } from '../live/router_topic';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { counts, ready, verdicts, type Means } from './check';

const speech = speechOf(english, 'en', 'UTC');
const circumstances = { speech, now: Date.parse(TIME), me: ANA.id, oldSince: undefined };
const lock = (destination: number, owner = BEN): Lock => ({
  router: 'r1',
  destination,
  destinationName: 'MON',
  mode: 'lock',
  owner,
  reason: '',
  since: TIME,
});
const locks = [lock(3), lock(4), lock(5, ANA)];
const states = new Map([['r1', beginRouter({ ...routerData(), locks })]]);
const row = (destination: number, reason?: DryRunRow['reason']): DryRunRow => ({
  router: 'r1',
  destination,
  destinationName: `MON ${destination + 1}`,
  source: 2,
  sourceName: 'CAM 3',
  was: 1,
  wasName: 'CAM 2',
  verdict: reason === undefined ? 'change' : 'blocked',
  ...(reason === undefined ? {} : { reason }),
});
const dryRun = (rows: readonly DryRunRow[]) => {
  const count = (verdict: DryRunRow['verdict']) =>
    rows.filter((each) => each.verdict === verdict).length;
  return {
    checked: TIME,
    rule: 'all' as const,
    change: count('change'),
    unchanged: count('unchanged'),
    blocked: count('blocked'),
    rows: [...rows],
  };
};
const unchanged = { ...row(1), verdict: 'unchanged' } as const;
const held = [3, 4, 5, 6].map((destination) => row(destination, 'destinationLocked'));

const means: Means = {
  speech,
  mayTake: true,
  hearsServer: true,
  isSaved: true,
  version: 3,
  rule: 'all',
};
const of = (rows: readonly DryRunRow[], more: Partial<Means> = {}, rule: 'all' | 'rest' = 'all') =>
  ready({ ...dryRun(rows), rule, version: 3, key: 'k' }, { ...means, rule, ...more });

test('counts what will change, what is so, and what is locked by whom', () => {
  expect(counts(speech, dryRun([row(0), unchanged, ...held, row(7, 'noRight')]), states)).toEqual([
    '1 will change',
    '1 already so',
    '2 locked (Ben L.)',
    '1 locked (Ana K.)',
    '1 locked',
    '1 will not go',
  ]);
  expect(counts(speech, dryRun([row(0)]), states)).toEqual(['1 will change']);
});

test('by the rule "all" those that could go are held back by those that cannot', () => {
  const rows = [row(0, 'blockedByOtherRow'), row(1, 'blockedByOtherRow'), ...held.slice(0, 1)];
  expect(counts(speech, dryRun(rows), states)).toEqual([
    '0 will change',
    '1 locked (Ben L.)',
    '2 held back by blocked rows',
  ]);
  expect(of(rows).reason).toBe('1 row is blocked, so nothing would be sent.');
});

test('says of each row what would become of it', () => {
  const rows = [row(0), unchanged, row(3, 'destinationLocked'), row(7, 'noSuchSource')];
  expect(verdicts(dryRun(rows), states, circumstances)).toEqual([
    { name: 'MON 1', words: 'Will change', mark: 'staged' },
    { name: 'MON 2', words: 'Already so', mark: 'fact' },
    { name: 'MON 4', words: 'Locked by Ben L.', mark: 'locked' },
    { name: 'MON 8', words: 'No such source', mark: 'notSent' },
  ]);
});

test('what would change can be taken', () => {
  expect(of([row(0), unchanged])).toEqual({ count: 1, reason: '' });
});

test('by its rule, one blocked row keeps all back, or only itself', () => {
  const rows = [row(0), row(1), ...held.slice(0, 1)];
  expect(of(rows)).toEqual({ count: 0, reason: '1 row is blocked, so nothing would be sent.' });
  expect(of(rows, {}, 'rest')).toEqual({ count: 2, reason: '' });
});

test.each([
  [{ hearsServer: false }, 'No connection to the server: takes are not possible'],
  [{ mayTake: false }, 'You may look, not take'],
  [{ isSaved: false }, 'Save the changes first.'],
  [{ version: 4 }, 'Dry run first.'],
  [{ rule: 'rest' }, 'Dry run first.'],
] as const)('%j: why it cannot be taken', (more, reason) => {
  expect(of([row(0)], more)).toEqual({ count: 0, reason });
});

test('nothing goes that was not checked, where nothing changes, or nothing can', () => {
  expect(ready(undefined, means).reason).toBe('Dry run first.');
  expect(of([unchanged]).reason).toBe('Nothing would change: all of it is already so.');
  expect(of(held, {}, 'rest').reason).toBe('None of these rows can go');
});
