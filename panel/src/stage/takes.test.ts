import { expect, test, vi } from 'vitest';

import type { Operation } from '../api/types';
import { ANA, operationOf } from '../live/history';
import { followTakes } from './takes';

const of = (id: string, state: Operation['state'], person = ANA): Operation => ({
  ...operationOf(id),
  actor: { person, origin: 'panel' },
  state,
});
const told = (...all: readonly Operation[]) => new Map(all.map((each) => [each.id, each]));

function standIn(answer: Operation | undefined) {
  const ask = vi.fn(() =>
    Promise.resolve(
      answer === undefined
        ? { ok: false as const, status: 404 }
        : { ok: true as const, body: answer },
    ),
  );
  const tell = vi.fn();
  return { ask, tell, hear: followTakes('ana', 'r1', ask, tell) };
}

test('mine are told, and which has just ended', async () => {
  const { ask, tell, hear } = standIn(undefined);
  await hear(told(of('a', 'open'), of('b', 'ended', { id: 'ben', name: 'Ben L.' })));
  expect(tell).toHaveBeenLastCalledWith([of('a', 'open')], undefined);
  await hear(told(of('a', 'ended')));
  expect(tell).toHaveBeenLastCalledWith([of('a', 'ended')], of('a', 'ended'));
  await hear(told(of('a', 'ended')));
  expect(tell).toHaveBeenLastCalledWith([of('a', 'ended')], undefined);
  expect(ask).not.toHaveBeenCalled();
});

test('one that ended before it was told has just ended, unless it had before all telling', async () => {
  const { tell, hear } = standIn(undefined);
  await hear(told(of('a', 'ended')));
  expect(tell).toHaveBeenLastCalledWith([of('a', 'ended')], undefined);
  await hear(told(of('a', 'ended'), of('b', 'ended')));
  expect(tell).toHaveBeenLastCalledWith([of('b', 'ended'), of('a', 'ended')], of('b', 'ended'));
});

test('an end that was missed is asked for', async () => {
  const { ask, tell, hear } = standIn(of('a', 'ended'));
  await hear(told(of('a', 'open')));
  await hear(told());
  expect(ask).toHaveBeenCalledExactlyOnceWith('a');
  expect(tell).toHaveBeenLastCalledWith([of('a', 'ended')], of('a', 'ended'));
});

test('what cannot be read stays as it was', async () => {
  const { tell, hear } = standIn(undefined);
  await hear(told(of('a', 'open')));
  await hear(told());
  expect(tell).toHaveBeenLastCalledWith([of('a', 'open')], undefined);
});
