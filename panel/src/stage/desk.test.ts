import { expect, test } from 'vitest';

import type { Answer } from '../api/ask';
import type { command } from '../api/command';
import { operationOf, stageOf } from '../live/history';
import { EMPTY_DESK, openDesk, type Desk } from './desk';

const { rows } = stageOf('r1', [4]);
const operation = operationOf('01');
const lost: Answer<never> = { ok: false, status: 0 };

// A desk whose server answers when it is told to.
function deskOf() {
  const asked: { method: string; path: string; at: unknown; key: string; body: unknown }[] = [];
  const open: ((answer: Answer<unknown>) => void)[] = [];
  type Wanted = { at: unknown; key: string; body: unknown };
  const send = ((method: string, path: string, { at, key, body }: Wanted) => {
    asked.push({ method, path, at, key, body });
    return new Promise((resolve) => open.push(resolve));
  }) as unknown as typeof command;
  const seen = { desk: EMPTY_DESK };
  let keys = 0;
  const clerk = openDesk(
    'r1',
    send,
    () => `k${++keys}`,
    (desk: Desk) => (seen.desk = desk),
  );
  const settled = () => Promise.resolve().then(() => undefined);
  const answer = async (given: Answer<unknown>) => {
    await settled();
    open.shift()?.(given);
  };
  return { asked, seen, clerk, settled, answer };
}

test('a repeated TAKE is sent once', async () => {
  const { asked, seen, clerk, answer } = deskOf();
  const taken = clerk.take(rows);
  await clerk.take(rows);
  await answer({ ok: true, body: operation });
  await taken;
  await clerk.take(rows); // not gone from the stage that is shown
  expect(asked).toMatchObject([
    { method: 'post', path: '/api/v1/routers/{router}/stage/take', body: { rule: 'rest' } },
  ]);
  expect(seen.desk.told).toBe(operation);
});

test('TAKE after a lost answer has the same key', async () => {
  const { asked, seen, clerk, answer } = deskOf();
  const first = clerk.take(rows);
  await answer(lost);
  await first;
  expect(seen.desk.refused).toEqual(lost);
  const second = clerk.take(rows);
  await answer({ ok: true, body: operation });
  await second;
  expect(asked.map(({ key }) => key)).toEqual(['k1', 'k1']);
  expect(seen.desk.refused).toBeUndefined();
});

test('what was pressed before goes before', async () => {
  const { asked, clerk, settled, answer } = deskOf();
  const staged = clerk.change({ remove: [2] });
  const taken = clerk.take(rows);
  await settled();
  expect(asked.map(({ method }) => method)).toEqual(['patch']);
  await answer({ ok: true, body: { router: 'r1', rows: [] } });
  await staged;
  await answer({ ok: false, status: 409, sentence: 'nothing is staged' });
  await taken;
  expect(asked.map(({ method }) => method)).toEqual(['patch', 'post']);
});

test('a refusal is kept until something is done', async () => {
  const { seen, clerk, answer } = deskOf();
  const refused = { ok: false, status: 409, sentence: 'MON 5 is locked' } as const;
  const taken = clerk.take(rows);
  await answer(refused);
  await taken;
  expect(seen.desk).toMatchObject({ refused, take: undefined });
  const cleared = clerk.clear();
  await answer({ ok: true, body: undefined });
  await cleared;
  expect(seen.desk.refused).toBeUndefined();
});

test('a take without a stage names its rows', async () => {
  const { asked, seen, clerk, answer } = deskOf();
  const taken = clerk.takeNow([4, 5], -1);
  await answer({ ok: true, body: operation });
  await taken;
  const wanted = [4, 5].map((destination) => ({ destination, source: null }));
  expect(asked).toMatchObject([
    { path: '/api/v1/routers/{router}/routes', body: { rows: wanted, rule: 'rest' } },
  ]);
  expect(seen.desk.told).toBe(operation);
});

test('a dry run is of the rows as they were, until it is closed', async () => {
  const { seen, clerk, answer } = deskOf();
  const asked = clerk.dryRun(rows);
  await answer({ ok: true, body: { change: 1, rows: [] } });
  await asked;
  expect(seen.desk.dryRun).toMatchObject({ change: 1, of: rows });
  clerk.closeDryRun();
  expect(seen.desk.dryRun).toBeUndefined();
});

test('what went wrong is staged again, where it is known what', async () => {
  const { asked, clerk, answer } = deskOf();
  const [row] = operation.rows;
  if (row === undefined) throw new Error('no row');
  const withoutSource = { ...row };
  delete withoutSource.source;
  const staged = clerk.retry([row, withoutSource]);
  await answer({ ok: true, body: { router: 'r1', rows: [] } });
  await staged;
  expect(asked).toMatchObject([{ body: { rows: [{ destination: 4, source: 6 }] } }]);
});

test('what went wrong is accepted, one destination after another', async () => {
  const { asked, seen, clerk, answer } = deskOf();
  const accepted = clerk.accept([4, 7]);
  await answer({ ok: true, body: undefined });
  await answer({ ok: true, body: undefined });
  await accepted;
  const path = '/api/v1/routers/{router}/destinations/{index}/accept';
  expect(asked).toMatchObject([
    { method: 'post', path, at: { router: 'r1', index: 4 }, key: 'k1' },
    { method: 'post', path, at: { router: 'r1', index: 7 }, key: 'k2' },
  ]);
  expect(seen.desk.refused).toBeUndefined();
});

test('accepting ends where the server refuses', async () => {
  const { asked, seen, clerk, answer } = deskOf();
  const accepted = clerk.accept([4, 7]);
  await answer({ ok: false, status: 409 });
  await accepted;
  expect(asked).toHaveLength(1);
  expect(seen.desk.refused).toEqual({ ok: false, status: 409 });
});
