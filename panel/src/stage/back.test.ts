import { expect, test, vi } from 'vitest';

import { operationOf } from '../live/history';
import { askBack, goBack } from './back';

const rollback = operationOf('01', 'confirmed');
const { kind, wished } = rollback;
const back = { rollback };
const dryRun = { checked: wished, rule: 'rest', change: 1, unchanged: 0, blocked: 0, rows: [] };

const answering = (body: unknown, status = 200) =>
  vi.fn<typeof fetch>(() =>
    Promise.resolve(
      new Response(JSON.stringify(body), {
        status,
        headers: {
          'Content-Type': status === 200 ? 'application/json' : 'application/problem+json',
        },
      }),
    ),
  );
const sent = (fetched: ReturnType<typeof answering>) =>
  fetched.mock.calls.map(([address, request]) => [address, request?.body]);

test('a rollback is a dry run of one operation', async () => {
  const fetched = answering(dryRun);
  expect(await askBack(back, fetched)).toEqual({
    ok: true,
    body: { steps: 1, of: { operation: '01', kind, wished }, dryRun },
  });
  expect(sent(fetched)).toEqual([
    ['/api/v1/operations/01/rollback', '{"rule":"rest","dryRun":true}'],
  ]);
});

test('a refusal is passed on', async () => {
  const fetched = answering({ detail: 'there is no such operation' }, 404);
  expect(await askBack(back, fetched)).toMatchObject({ ok: false, status: 404 });
});

test('an undo or redo is the next of them', async () => {
  const fetched = answering({ steps: 0 });
  expect(await askBack('redo', fetched)).toEqual({ ok: true, body: { steps: 0 } });
  expect(sent(fetched)).toEqual([['/api/v1/redo?rule=rest', undefined]]);
});

test('it goes by the key that it was given', async () => {
  const fetched = answering({});
  await goBack('redo', '01', 'k1', fetched);
  await goBack(back, '01', 'k2', fetched);
  expect(sent(fetched)).toEqual([
    ['/api/v1/redo', '{"rule":"rest","of":"01"}'],
    ['/api/v1/operations/01/rollback', '{"rule":"rest","dryRun":false}'],
  ]);
  const keys = fetched.mock.calls.map(([, request]) => request?.headers);
  expect(keys).toMatchObject([{ 'Idempotency-Key': 'k1' }, { 'Idempotency-Key': 'k2' }]);
});
