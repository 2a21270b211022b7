import { expect, test } from 'vitest';

import { begin, newerFrom, NONE, OVERLAP, showWaiting, withNewer, withOlder } from './pages';

const T = Date.parse('2026-11-22T14:00:00.000Z');
const entry = (n: number, text = '') => ({
  id: `0${n}`,
  time: new Date(T + n * 1000).toISOString(),
  why: 'outside' as const,
  text,
});
const ids = (entries: readonly { id: string }[]) => entries.map(({ id }) => id);
const pages = begin({ entries: [entry(5), entry(4)], next: 'c' });
const reading = { live: true, scrolled: false, touched: false };

test('older entries are put below, each once', () => {
  const older = withOlder(pages, { entries: [entry(4), entry(3)] });
  expect(ids(older.shown)).toEqual(['05', '04', '03']);
  expect(older.next).toBeUndefined();
});

test('new entries are shown at once to who waits for them at the top', () => {
  const after = withNewer(pages, [entry(7), entry(6), entry(5)], reading);
  expect(ids(after.shown)).toEqual(['07', '06', '05', '04']);
  expect([after.waiting, after.next]).toEqual([[], 'c']);
});

test.each([{ live: false }, { scrolled: true }, { touched: true }])(
  'with %j they wait until they are asked for',
  (change) => {
    const after = withNewer(pages, [entry(6), entry(5)], { ...reading, ...change });
    expect(after.shown).toEqual(pages.shown);
    expect(ids(after.waiting)).toEqual(['06']);
    const more = withNewer(after, [entry(7), entry(6)], { ...reading, ...change });
    expect(ids(more.waiting)).toEqual(['07', '06']);
    expect(ids(showWaiting(more).shown)).toEqual(['07', '06', '05', '04']);
    expect(showWaiting(more).waiting).toEqual([]);
  },
);

test('an entry that came late stands at its time', () => {
  const gap = begin({ entries: [entry(7), entry(5)] });
  expect(ids(withNewer(gap, [entry(6)], reading).shown)).toEqual(['07', '06', '05']);
});

test('what is known changes in its place', () => {
  const after = withNewer(pages, [entry(4, 'late')], { ...reading, touched: true });
  expect(after.shown.map(({ text }) => text)).toEqual(['', 'late']);
  expect(after.waiting).toEqual([]);
});

test('newer ones are asked for from before the newest', () => {
  expect(newerFrom(NONE)).toBeUndefined();
  expect(newerFrom(pages)).toBe(new Date(T + 5000 - OVERLAP).toISOString());
});
