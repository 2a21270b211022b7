import { expect, test } from 'vitest';

import { isOver, midnight, queryOf } from './query';

const NOW = Date.parse('2026-11-22T14:02:11.250Z');
const iso = (time: number) => new Date(time).toISOString();

test.each([
  ['2026-11-22T14:02:11.250Z', 'UTC', '2026-11-22T00:00:00.000Z'],
  ['2026-11-22T14:02:11.250Z', 'Asia/Tokyo', '2026-11-21T15:00:00.000Z'],
  ['2026-11-22T00:00:00.000Z', 'UTC', '2026-11-22T00:00:00.000Z'],
  ['2026-03-29T14:00:00.000Z', 'Europe/London', '2026-03-29T00:00:00.000Z'],
  ['2026-10-25T14:00:00.000Z', 'Europe/London', '2026-10-24T23:00:00.000Z'],
])('the day of %s in %s began at %s', (now, timeZone, began) => {
  expect(iso(midnight(Date.parse(now), timeZone))).toBe(began);
});

test.each([
  [{}, {}],
  [{ time: 'hour' }, { from: '2026-11-22T13:02:11.250Z' }],
  [{ time: 'today' }, { from: '2026-11-22T00:00:00.000Z' }],
  [{ time: 'range', to: 'T' }, { to: 'T' }],
  [{ from: 'F', to: 'T' }, {}],
  [{ dest: '12' }, { router: 'r1', destination: '12' }],
  [
    { router: 'r2', source: '3' },
    { router: 'r2', source: '3' },
  ],
  [{ why: 'take' }, { why: 'take,stage' }],
  [{ take: 'op' }, { operation: 'op' }],
  [
    { who: 'ana', result: 'timedOut', text: 'a b' },
    { person: 'ana', outcome: 'timedOut', text: 'a b' },
  ],
])('%j asks for %j', (filters, query) => {
  expect(queryOf(filters, NOW, 'UTC', 'r1')).toEqual(query);
});

test('a destination of no router asks for nothing', () => {
  expect(queryOf({ dest: '12' }, NOW, 'UTC', undefined)).toEqual({});
});

test('a time that has passed is over', () => {
  expect(isOver({ time: 'range', to: iso(NOW - 1) }, NOW)).toBe(true);
  expect(isOver({ time: 'range', to: iso(NOW + 1) }, NOW)).toBe(false);
  expect(isOver({ time: 'hour', to: iso(NOW - 1) }, NOW)).toBe(false);
});
