import { expect, test } from 'vitest';

import type { ListRow } from './list';
import { cellsOf, inOrder, listFile, orderAfter, type Order } from './list_table';

type Given = { now?: string; since?: number; lock?: string };
const rowOf = (destination: number, { now = 'CAM 1', since = 0, lock }: Given = {}): ListRow => ({
  shown: {
    destination,
    name: `MON ${String(destination + 1)}`,
    fact: { source: 0, sourceName: now, mark: 'fact', words: '', since, by: 'Ben L.' },
    wishes: [],
    lock: lock === undefined ? undefined : { mark: 'locked', words: lock },
    stagedBy: [],
    header: undefined,
    isProblem: false,
    isHatched: false,
  },
  number: destination + 1,
  routerName: '',
  since: since === 0 ? '' : String(since),
  states: [
    { mark: 'staged', words: 'Staged', source: 'VTR 7' },
    { mark: 'stale', words: 'Stale', source: '' },
  ],
});
const places = (rows: readonly ListRow[]) => rows.map(({ shown }) => shown.destination);
const after = (column: number, rows: readonly ListRow[], present?: Order) =>
  orderAfter(present, column, rows, 'en');

test('each cell is in words', () => {
  expect(cellsOf(rowOf(2, { since: 5, lock: 'Locked by Ben L.' }))).toEqual([
    'MON 3',
    'CAM 1',
    '5',
    'Ben L.',
    'Staged → VTR 7, Stale',
    'Locked by Ben L.',
  ]);
  expect(cellsOf(rowOf(2)).at(-1)).toBe('');
});

test('destinations go by their number, times by time, words with numbers in them by both', () => {
  expect(after(0, [rowOf(10), rowOf(2)])?.destinations).toEqual([2, 10]);
  const times = [rowOf(0, { since: 20 }), rowOf(1, { since: 3 })];
  expect(after(2, times)?.destinations).toEqual([1, 0]);
  const sources = [rowOf(0, { now: 'CAM 10' }), rowOf(1, { now: 'CAM 9' })];
  expect(after(1, sources)?.destinations).toEqual([1, 0]);
});

test('a column that is pressed again turns round, and the third time it is over', () => {
  const rows = [rowOf(0), rowOf(1)];
  const up = after(0, rows);
  const down = after(0, rows, up);
  expect(down).toEqual({ column: 0, isDown: true, destinations: [1, 0] });
  expect(after(0, rows, down)).toBeUndefined();
  expect(after(1, rows, down)).toMatchObject({ column: 1, isDown: false });
});

test('rows stay where they were when they were sorted, and new ones come last', () => {
  const order = { column: 1, isDown: false, destinations: [4, 1] };
  expect(places(inOrder([rowOf(0), rowOf(1), rowOf(4)], order))).toEqual([4, 1, 0]);
});

test('the file quotes what it says', () => {
  const file = listFile(['A', 'B'], [rowOf(0, { now: 'CAM "1"' })]);
  expect(file).toBe('"A","B"\r\n"MON 1","CAM ""1""","","Ben L.","Staged → VTR 7, Stale",""\r\n');
});
