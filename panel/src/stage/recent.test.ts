import { expect, test } from 'vitest';

import type { Operation } from '../api/types';
import { ANA, operationOf } from '../live/history';
import { KEPT, missed, recent } from './recent';

const of = (id: string, second: number, more: Partial<Operation> = {}): Operation => ({
  ...operationOf(id),
  actor: { person: ANA, origin: 'panel' },
  wished: `2026-11-22T14:02:0${second}.000Z`,
  ...more,
});
const told = (...all: readonly Operation[]) => new Map(all.map((each) => [each.id, each]));
const ids = (all: readonly Operation[]) => all.map(({ id }) => id);

test('what is told takes the place of what was kept, newest first', () => {
  const ended = of('a', 1, { state: 'ended' });
  expect(recent([of('a', 1, { state: 'open' })], told(ended, of('b', 2)), 'ana', 'r1')).toEqual([
    of('b', 2),
    ended,
  ]);
});

test('what is not told any more stays, up to a number', () => {
  const kept = [5, 4, 3, 2, 1].map((second) => of(`k${second}`, second));
  expect(ids(recent(kept, told(of('new', 6)), 'ana', 'r1'))).toEqual([
    'new',
    'k5',
    'k4',
    'k3',
    'k2',
  ]);
  expect(KEPT).toBe(5);
});

test('only mine, and of this router', () => {
  const others = of('b', 1, { actor: { person: { id: 'ben', name: 'Ben' }, origin: 'panel' } });
  expect(recent([], told(others), 'ana', 'r1')).toEqual([]);
  expect(recent([], told(of('a', 1)), 'ana', 'r2')).toEqual([]);
});

test('open ones that are not told any more are missed', () => {
  const kept = [of('a', 1, { state: 'open' }), of('b', 2, { state: 'ended' })];
  expect(missed(kept, told())).toEqual(['a']);
  expect(missed(kept, told(of('a', 1)))).toEqual([]);
});
