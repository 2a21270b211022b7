import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import {
  bytes,
  LINES_SHOWN,
  linesShown,
  periodCells,
  periodColumns,
  serverFigures,
} from './figures';

const speech = speechOf(english, 'en-GB', 'UTC');
const NOW = Date.parse('2026-11-22T14:05:20.000Z');
const server = {
  version: '1.0.0',
  instance: '01KAN1Q8G0X4T9B2V6M3C7R5ZD',
  started: '2026-11-21T13:55:02.416Z',
  time: '2026-11-22T14:05:20.711Z',
  timeZone: 'Europe/London',
  operators: 3,
  liveClients: 5,
  database: { bytes: 167_936, waiting: 2, failures: 1, lost: 4, refused: 3 },
  warnings: [],
};

test.each([
  [0, '0 kB'],
  [167_936, '168 kB'],
  [2_540_000, '2.5 MB'],
  [25_400_000, '25 MB'],
  [3_000_000_000, '3 GB'],
])('%d bytes are %s', (count, words) => {
  expect(bytes(speech, count)).toBe(words);
});

test('the server says its figures', () => {
  const figures = serverFigures(speech, server, 12, NOW);
  expect(figures.map(({ label, value }) => `${label}: ${value}`)).toEqual([
    'Version: 1.0.0',
    'Up since: 21 Nov, 13:55:02',
    'Operators: 3',
    'Panels connected: 5',
    'Database: 168 kB',
    'Entries not written yet: 2',
    'Entries lost: 7',
    'Last backup: never',
    'Delay to this panel: 12 ms',
  ]);
  expect(serverFigures(speech, server, undefined, NOW).at(-1)?.value).toBe('Unknown');
});

test('a period has a cell for each of its columns', () => {
  const cells = periodCells(speech, {
    confirmed: 14,
    contradicted: 1,
    refused: 2,
    timedOut: 3,
    notSent: 4,
    medianMs: 21.5,
    p95Ms: 84.1,
    slowestMs: 1800,
    linkLosses: 5,
  });
  expect(cells).toEqual(['14', '22 ms', '84 ms', '–', '1.8 s', '1', '3', '6', '5']);
  expect(periodColumns(speech)).toHaveLength(cells.length);
});

test('of the log the newest lines that are grave enough are shown', () => {
  const line = (level: 'debug' | 'note' | 'warning' | 'error', text: string) => ({
    time: 'T',
    level,
    text,
  });
  const lines = [line('error', 'a'), line('note', 'b'), line('warning', 'c'), line('debug', 'd')];
  const texts = (shown: readonly { text: string }[]) => shown.map(({ text }) => text).join('');
  expect(texts(linesShown(lines, 'debug'))).toBe('dcba');
  expect(texts(linesShown(lines, 'warning'))).toBe('ca');
  const many = Array.from({ length: LINES_SHOWN + 1 }, (_, i) => line('note', String(i)));
  expect(linesShown(many, 'note')).toHaveLength(LINES_SHOWN);
  expect(linesShown(many, 'note')[0]?.text).toBe(String(LINES_SHOWN));
});
