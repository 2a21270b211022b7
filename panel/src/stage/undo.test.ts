import { expect, test } from 'vitest';

import type { DryRunRow } from '../api/types';
import { BEN, operationOf, routerData } from '../live/history';
import { beginRouter, changeRouter } from '../live/router_topic';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { undoShown, type Back } from './undo';

const speech = speechOf(english, 'en', 'UTC');
const router = changeRouter(beginRouter(routerData()), {
  kind: 'routes',
  routes: [[3, 7, 1, BEN]],
});
const states = new Map([['r1', router]]);
const goes: DryRunRow = {
  router: 'r1',
  destination: 3,
  destinationName: 'MON 12',
  source: 2,
  sourceName: 'CAM 3',
  was: 35,
  wasName: 'SAT 36',
  verdict: 'change',
};
const blocked = (reason: DryRunRow['reason'], more: Partial<DryRunRow> = {}): DryRunRow => ({
  ...goes,
  verdict: 'blocked',
  ...(reason === undefined ? {} : { reason }),
  ...more,
});
function shown(rows: readonly DryRunRow[], back: Back = 'undo') {
  const change = rows.filter(({ verdict }) => verdict === 'change').length;
  return undoShown(
    speech,
    back,
    {
      steps: 1,
      of: { operation: '01', kind: 'stage', wished: '2026-11-22T14:01:58.000Z' },
      dryRun: {
        checked: '2026-11-22T14:04:21.660Z',
        rule: 'rest',
        change,
        unchanged: 0,
        blocked: rows.length - change,
        rows: [...rows],
      },
    },
    states,
  );
}

test('says what goes back', () => {
  expect(shown([goes, goes, goes])).toEqual({
    title: 'Undo take of 14:01:58: 3 routes back',
    rows: Array(3).fill('MON 12: SAT 36 → CAM 3'),
    count: 3,
    button: 'Undo 3',
  });
  expect(shown([goes], 'redo')).toMatchObject({
    title: 'Redo take of 14:01:58: 1 route',
    button: 'Redo 1',
  });
});

test.each([
  ['changedSince', {}, 'MON 12: Ben L. has changed it since (SAT 36)'],
  ['changedSince', { destination: 4 }, 'MON 12: it has changed since (SAT 36)'],
  ['changedSince', { router: 'r2' }, 'MON 12: it has changed since (SAT 36)'],
  ['factUnknown', {}, 'MON 12: what was there before is unknown'],
  ['destinationLocked', {}, 'MON 12: locked'],
  ['destinationProtected', {}, 'MON 12: locked'],
  ['noRight', {}, 'MON 12: you may look, not take'],
  ['linkNotReady', {}, 'Link down'],
  ['noSuchSource', { detail: 'it is gone' }, 'MON 12: it is gone'],
] as const)('refuses to guess: %s', (reason, more, words) => {
  expect(shown([blocked(reason, more)])).toMatchObject({ rows: [words], count: 0, button: '' });
});

test('offers to undo what can be', () => {
  expect(shown([goes, goes, blocked('destinationLocked')])?.button).toBe(
    'Undo the 2 that can be undone',
  );
});

test('a rollback says the same of any take', () => {
  const rollback = { rollback: operationOf('01', 'confirmed') };
  expect(shown([goes, goes], rollback)).toMatchObject({
    title: 'Roll back take of 14:01:58: 2 routes back',
    button: 'Roll back 2',
  });
  expect(shown([goes, blocked('destinationLocked')], rollback)).toMatchObject({
    rows: ['MON 12: SAT 36 → CAM 3', 'MON 12: locked'],
    button: 'Roll back the 1 that can be',
  });
});

test('says nothing when there is nothing to undo', () => {
  expect(undoShown(speech, 'undo', { steps: 0 }, states)).toBeUndefined();
});
