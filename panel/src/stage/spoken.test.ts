import { expect, test } from 'vitest';

import type { Operation, OperationRow } from '../api/types';
import { operationOf } from '../live/history';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { NOTHING, spoken } from './spoken';

const speech = speechOf(english, 'en', 'UTC');
const row = (more: Partial<OperationRow>): OperationRow => ({
  router: 'r1',
  destination: 11,
  destinationName: 'MON 12',
  outcome: 'confirmed',
  latencyMs: 84.2,
  ...more,
});
const ended = (rows: readonly OperationRow[]): Operation => ({
  ...operationOf('01', 'confirmed'),
  rows: [...rows],
});

test('nothing before it has ended', () => {
  expect(spoken(speech, operationOf('01'))).toEqual(NOTHING);
});

test('each row of a few', () => {
  expect(spoken(speech, ended([row({}), row({ outcome: 'timedOut' }), row({})]))).toEqual({
    politely: 'MON 12 confirmed in 84 milliseconds. MON 12 confirmed in 84 milliseconds',
    urgently: 'Timed out: MON 12',
  });
  expect(spoken(speech, ended([row({ outcome: 'notSent', detail: 'it is locked' })]))).toEqual({
    politely: 'MON 12: Not sent: it is locked',
    urgently: '',
  });
});

test('of many the headline', () => {
  const rows = [row({}), row({}), row({}), row({ outcome: 'timedOut' })];
  expect(spoken(speech, ended(rows))).toEqual({
    politely: '3 of 4 confirmed, slowest 84 ms · 1 timed out',
    urgently: '',
  });
});
