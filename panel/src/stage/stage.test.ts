import { describe, expect, test } from 'vitest';

import type { DryRunRow, OperationRow, Reason, StageRow } from '../api/types';
import { BEN, operationOf, stageOf, TIME } from '../live/history';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { dryRunHeadline, verdict } from './dry_run';
import { headline, resultsShown, retryable, returnable } from './results';
import { stageRowShown } from './row';
import { takeShown, type Means } from './take';

const speech = speechOf(english, 'en', 'UTC');
const usual: Means = {
  speech,
  link: 'ready',
  hearsServer: true,
  screenLocked: false,
  mayTake: true,
};
const [staged] = stageOf('r1', [11]).rows;
if (staged === undefined) throw new Error('no row');
const blocked = (reason: Reason, detail = 'in words'): StageRow => ({
  ...staged,
  blocked: { reason, detail },
});
const changed: StageRow = { ...staged, changed: true };
const take = (rows: readonly StageRow[], more: Partial<Means> = {}) =>
  takeShown({ router: 'r1', rows: [...rows] }, { ...usual, ...more });

describe('TAKE', () => {
  test('counts the rows that would go', () => {
    expect(take([staged, staged])).toEqual({ count: 2, can: true, reason: '', note: '' });
  });

  test('leaves locked rows on the list, and goes without them', () => {
    const rows = [staged, blocked('destinationLocked'), blocked('destinationProtected')];
    expect(take(rows)).toEqual({
      count: 1,
      can: true,
      reason: '',
      note: '2 locked rows stay on the list.',
    });
    expect(take(rows.slice(0, 2)).note).toBe('1 locked row stays on the list.');
  });

  test.each([
    ['nothing is staged', [], {}, 0, 'Nothing staged'],
    [
      'the server is not heard',
      [staged],
      { hearsServer: false },
      1,
      'No connection to the server: takes are not possible',
    ],
    [
      'the link is down',
      [blocked('linkNotReady')],
      { link: 'down' },
      1,
      'Link down: takes are not possible',
    ],
    [
      'the link is being read',
      [staged],
      { link: 'reading' },
      1,
      'Link down: takes are not possible',
    ],
    ['a row changed', [staged, changed], {}, 1, '1 row changed since you staged it. Decide first.'],
    [
      'rows changed',
      [changed, changed],
      {},
      0,
      '2 rows changed since you staged them. Decide first.',
    ],
    ['the screen is locked', [staged], { screenLocked: true }, 1, 'Screen locked'],
    ['I may only look', [], { mayTake: false }, 0, 'You may look, not take'],
    ['I may only look, now', [staged], { mayTake: false }, 1, 'You may look, not take'],
    ['no row can go', [blocked('destinationLocked')], {}, 0, 'None of these rows can go'],
    ['a source has gone', [blocked('noSuchSource')], {}, 0, 'None of these rows can go'],
  ] as const)('is grey when %s', (_why, rows, more, count, reason) => {
    expect(take(rows, more)).toMatchObject({ count, can: false, reason });
  });

  test('without a stage nothing is staged', () => {
    expect(takeShown(undefined, usual)).toMatchObject({ count: 0, reason: 'Nothing staged' });
  });
});

describe('a staged row', () => {
  const now = { source: 35, sourceName: 'SAT 36', changed: TIME, by: BEN };
  const shown = (row: StageRow, lockWords?: string) => stageRowShown(speech, row, lockWords);

  test('says what it would change', () => {
    expect(shown(staged)).toEqual({
      destination: 11,
      destinationName: 'MON 12',
      old: 'CAM 1',
      wished: 'CAM 2',
      mark: 'staged',
      trouble: '',
      asks: false,
    });
    const { seen, seenName, sourceName, ...bare } = { ...staged, source: null };
    expect([seen, seenName, sourceName]).toEqual([0, 'CAM 1', 'CAM 2']);
    expect(shown(bare)).toMatchObject({ old: 'Unknown', wished: 'No source' });
  });

  test.each([
    [now, 'Changed since you staged it: Ben L. put SAT 36 here at 14:02:11'],
    [
      { ...now, by: null },
      'Changed since you staged it: SAT 36 was put here at 14:02:11, changed at the router, not from this server',
    ],
    [
      { source: null, changed: TIME },
      'Changed since you staged it: No source was put here at 14:02:11, it is not known by whom',
    ],
    [{ source: 35, sourceName: 'SAT 36' }, 'Changed since you staged it: SAT 36 is here now'],
    [{ changed: TIME }, 'Changed since you staged it: what it shows now is not known'],
    [undefined, 'Changed since you staged it: what it shows now is not known'],
  ])('asks when it changed %#', (present, trouble) => {
    const row = present === undefined ? changed : { ...changed, now: present };
    expect(shown(row)).toMatchObject({ mark: 'changed', trouble, asks: true });
  });

  test.each([
    [
      blocked('destinationLocked'),
      'Locked by Ben L. until 18:00',
      'locked',
      'Locked by Ben L. until 18:00',
    ],
    [blocked('destinationProtected'), undefined, 'locked', 'in words'],
    [blocked('noSuchSource'), 'Locked', 'notSent', 'in words'],
    [blocked('linkNotReady'), undefined, 'staged', ''],
  ] as const)('says what stands against it %#', (row, lockWords, mark, trouble) => {
    expect(shown(row, lockWords)).toMatchObject({ mark, trouble, asks: false });
  });
});

describe('results', () => {
  const at = Date.parse(TIME) + 500;
  const [open] = operationOf('1').rows;
  if (open === undefined) throw new Error('no row');
  const rowsOf = (...rows: Partial<OperationRow>[]) => ({
    ...operationOf('1'),
    rows: rows.map((row) => ({ ...open, ...row })),
  });

  test.each([
    [{ state: 'queued' }, 'open', 'queued', 'Queued'],
    [{ state: 'sent', sentMs: 100 }, 'open', 'sent', 'Sent 0.4 s'],
    [{ state: 'sent', sentMs: 900 }, 'open', 'sent', 'Sent 0.0 s'],
    [{ outcome: 'confirmed', latencyMs: 84.2 }, 'confirmed', 'confirmed', 'Confirmed 84 ms'],
    [{ outcome: 'confirmed', unchanged: true }, 'confirmed', 'confirmed', 'Already so'],
    [{ outcome: 'confirmed' }, 'confirmed', 'confirmed', 'Confirmed'],
    [
      { outcome: 'contradicted', detail: 'the router shows SAT 36' },
      'contradicted',
      'contradicted',
      'Contradicted: the router shows SAT 36',
    ],
    [
      { outcome: 'timedOut', lateMs: 7402.9 },
      'timedOut',
      'confirmedLate',
      'Confirmed late after 7.4 s',
    ],
    [{ outcome: 'timedOut' }, 'timedOut', 'timedOut', 'Timed out'],
    [
      { outcome: 'refused', detail: 'code 3' },
      'notSent',
      'notSent',
      'Refused by the router: code 3',
    ],
    [
      { outcome: 'superseded' },
      'notSent',
      'notSent',
      'Not sent: a newer take of this destination took its place',
    ],
    [
      { outcome: 'unknown', detail: 'the server was restarted' },
      'unknown',
      'outcomeUnknown',
      'Unknown: the server was restarted',
    ],
  ] as const)('a row %#', (row, kind, mark, words) => {
    expect(resultsShown(speech, rowsOf(row), at)).toMatchObject([{ kind, mark, words }]);
  });

  test('the headline counts, and each count is a filter', () => {
    const confirmed = { outcome: 'confirmed' } as const;
    const operation = rowsOf(
      { ...confirmed, latencyMs: 84 },
      { ...confirmed, latencyMs: 212 },
      { outcome: 'refused' },
      { outcome: 'notSent' },
      { outcome: 'timedOut' },
      {},
    );
    expect(headline(speech, operation)).toEqual([
      { kind: 'confirmed', count: 2, words: '2 of 6 confirmed, slowest 212 ms' },
      { kind: 'open', count: 1, words: '1 under way' },
      { kind: 'timedOut', count: 1, words: '1 timed out' },
      { kind: 'notSent', count: 2, words: '2 not sent' },
    ]);
    for (const { kind, count } of headline(speech, operation))
      expect(resultsShown(speech, operation, at).filter((each) => each.kind === kind)).toHaveLength(
        count,
      );
    expect(headline(speech, rowsOf({}))[0]).toEqual({
      kind: 'confirmed',
      count: 0,
      words: '0 of 1 confirmed',
    });
  });

  test('what went wrong and did not come right can be staged again', () => {
    const operation = rowsOf(
      { outcome: 'timedOut' },
      { outcome: 'timedOut', lateMs: 1 },
      { outcome: 'confirmed' },
      {},
      { outcome: 'notSent' },
    );
    expect(retryable(operation)).toEqual([operation.rows[0], operation.rows[4]]);
  });

  test('what it has changed can be rolled back', () => {
    const operation = rowsOf(
      { outcome: 'confirmed' },
      { outcome: 'confirmed', unchanged: true },
      { outcome: 'timedOut', lateMs: 1 },
      { outcome: 'timedOut' },
    );
    expect(returnable(operation)).toEqual([operation.rows[0], operation.rows[2]]);
  });
});

describe('a dry run', () => {
  const row: DryRunRow = {
    router: 'r1',
    destination: 1,
    destinationName: 'MON 2',
    verdict: 'change',
  };
  const against = (reason: Reason): DryRunRow => ({
    ...row,
    verdict: 'blocked',
    reason,
    detail: 'in words',
  });

  test.each([
    [row, undefined, 'Will change'],
    [{ ...row, verdict: 'unchanged' }, undefined, 'Already so'],
    [against('destinationLocked'), 'Locked by Ben L.', 'Locked by Ben L.'],
    [against('destinationProtected'), undefined, 'in words'],
    [against('linkNotReady'), undefined, 'Link down'],
    [against('factUnknown'), 'Locked by Ben L.', 'Present source unknown'],
    [against('noSuchSource'), undefined, 'No such source'],
    [against('tooLate'), undefined, 'in words'],
    [{ ...row, verdict: 'blocked' }, undefined, 'Not sent'],
  ] as const)('says of a row %#', (each, lockWords, words) => {
    expect(verdict(speech, each, lockWords)).toBe(words);
  });

  test.each([
    [
      12,
      3,
      1,
      [against('destinationLocked')],
      '12 will change, 3 already so, 1 locked. Checked 14:02:11.',
    ],
    [
      0,
      0,
      2,
      [against('destinationLocked'), against('noRight')],
      '0 will change, 1 locked, 1 will not go. Checked 14:02:11.',
    ],
    [1, 0, 0, [row], '1 will change. Checked 14:02:11.'],
  ] as const)('has a headline %#', (change, unchanged, count, rows, words) => {
    const dryRun = {
      checked: TIME,
      rule: 'rest' as const,
      change,
      unchanged,
      blocked: count,
      rows: [...rows],
    };
    expect(dryRunHeadline(speech, dryRun)).toBe(words);
  });
});
