import { expect, test } from 'vitest';

import { operationOf } from '../live/history';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { asLost } from './lost';

const { say } = speechOf(english, 'en', 'UTC');

test('what is open on a lost link has timed out, and nothing else has', () => {
  const [open] = operationOf('1').rows;
  if (open === undefined) throw new Error('no row');
  const confirmed = { ...open, outcome: 'confirmed' as const };
  const elsewhere = { ...open, router: 'r2' };
  const operation = { ...operationOf('1'), rows: [open, confirmed, elsewhere] };
  expect(asLost(say, operation, (router) => router === 'r1').rows).toEqual([
    { ...open, outcome: 'timedOut', detail: 'link lost' },
    confirmed,
    elsewhere,
  ]);
});
