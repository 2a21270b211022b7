import { expect, test } from 'vitest';

import type { Answer } from '../api/ask';
import type { command } from '../api/command';
import { openRunning, type Run } from './run';

const ACROSS = { at: { salvo: '01S' }, body: { version: 3, rule: 'rest' } };
const dryRun = { checked: '2026-11-22T14:02:31.000Z', rule: 'rest', change: 2, blocked: 0 };
const operation = { id: '01O', kind: 'salvo' };

function running() {
  const sent: unknown[] = [];
  const open: ((answer: Answer<unknown>) => void)[] = [];
  const send = ((method: string, path: string, wanted: unknown) => {
    sent.push([method, path, wanted]);
    return new Promise((resolve) => open.push(resolve));
  }) as unknown as typeof command;
  const seen: { run: Run | undefined } = { run: undefined };
  let keys = 0;
  const clerk = openRunning(
    '01S',
    send,
    () => `k${++keys}`,
    (run) => (seen.run = run),
  );
  const answer = (given: Answer<unknown>) => open.shift()?.(given);
  const checked = async () => {
    const asked = clerk.check(3, 'rest');
    answer({ ok: true, body: dryRun });
    await asked;
  };
  return { sent, seen, clerk, answer, checked };
}
const take = (key: string) => ['post', '/api/v1/salvos/{salvo}/take', { ...ACROSS, key }];

test('it begins with a dry run', async () => {
  const { sent, seen, clerk, checked } = running();
  await clerk.take();
  expect(sent).toEqual([]);
  await checked();
  expect(sent).toEqual([['post', '/api/v1/salvos/{salvo}/dry-run', { ...ACROSS, key: 'k1' }]]);
  expect(seen.run).toMatchObject({ checked: { ...dryRun, version: 3 }, isAsking: false });
});

test('what was checked goes, once', async () => {
  const { sent, seen, clerk, answer, checked } = running();
  await checked();
  const pressed = [clerk.take(), clerk.take()];
  answer({ ok: true, body: operation });
  await Promise.all(pressed);
  await clerk.take();
  expect(sent.slice(1)).toEqual([take('k2')]);
  expect(seen.run).toEqual({ checked: undefined, isAsking: false, operation, refused: undefined });
});

test('without an answer it may be pressed again, and is the same run', async () => {
  const { sent, seen, clerk, answer, checked } = running();
  await checked();
  for (const given of [{ ok: false, status: 0 } as const, { ok: true, body: operation } as const]) {
    const pressed = clerk.take();
    answer(given);
    await pressed;
  }
  expect(sent.slice(1)).toEqual([take('k2'), take('k2')]);
  expect(seen.run).toMatchObject({ operation, refused: undefined });
});

test('a run that was refused begins anew with a dry run', async () => {
  const { sent, seen, clerk, answer, checked } = running();
  await checked();
  const refused = { ok: false, status: 409, sentence: 'no row goes' } as const;
  const pressed = clerk.take();
  answer(refused);
  await pressed;
  expect(seen.run).toMatchObject({ checked: undefined, refused, isAsking: false });
  await clerk.take();
  expect(sent).toHaveLength(2);
  await checked();
  expect(seen.run).toMatchObject({ checked: dryRun, refused: undefined });
});

test('why there is no dry run is kept, and one is asked for at a time', async () => {
  const { sent, seen, clerk, answer } = running();
  const asked = [clerk.check(3, 'rest'), clerk.check(3, 'rest')];
  answer({ ok: false, status: 404 });
  await Promise.all(asked);
  expect(sent).toHaveLength(1);
  expect(seen.run).toMatchObject({ checked: undefined, refused: { status: 404 } });
});
