import { expect, test } from 'vitest';

import type { Lock } from '../api/types';
import { lockRows } from './locks';

const lock = (destination: number): Lock => ({
  router: 'r1',
  destination,
  destinationName: `TX ${String(destination + 1)}`,
  mode: 'lock',
  owner: { id: 'ben', name: 'Ben L.' },
  reason: '',
  since: '2026-11-22T13:20:00.000Z',
});
const locks = (...destinations: readonly number[]) =>
  new Map(destinations.map((each) => [each, lock(each)]));
const seen = (rows: ReturnType<typeof lockRows>) =>
  rows.map(({ name, lock: held }) => `${name}${held === undefined ? ' free' : ''}`);

test('locks come by destination', () => {
  expect(lockRows([], locks(7, 2))).toEqual([
    { destination: 2, name: 'TX 3', lock: lock(2) },
    { destination: 7, name: 'TX 8', lock: lock(7) },
  ]);
});

test('what is freed stays at its place, what comes is behind', () => {
  const before = lockRows([], locks(2, 7));
  const after = lockRows(before, locks(7, 1));
  expect(seen(after)).toEqual(['TX 3 free', 'TX 8', 'TX 2']);
  expect(seen(lockRows(after, locks(2, 7)))).toEqual(['TX 3', 'TX 8', 'TX 2 free']);
});
