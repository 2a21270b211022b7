import { expect, test, vi } from 'vitest';

import { since } from './reading';

const entry = (id: string) => ({ id, time: 'T', why: 'lock' as const });

test('newer entries are read in as many pages as there are', async () => {
  const ask = vi
    .fn()
    .mockResolvedValueOnce({ ok: true, body: { entries: [entry('3')], next: 'c' } })
    .mockResolvedValueOnce({ ok: true, body: { entries: [entry('2')] } });
  expect(await since({ why: 'lock' }, 'F', ask)).toEqual({
    ok: true,
    entries: [entry('3'), entry('2')],
  });
  const query = { why: 'lock', from: 'F', limit: '1000' };
  expect(ask.mock.calls).toEqual([
    ['/api/v1/history', { query }],
    ['/api/v1/history', { query: { ...query, cursor: 'c' } }],
  ]);
});

test('the beginning that the filters want counts when it is later', async () => {
  const ask = vi.fn().mockResolvedValue({ ok: true, body: { entries: [] } });
  await since({ from: '2026-02' }, '2026-01', ask);
  expect(ask.mock.calls).toMatchObject([['/api/v1/history', { query: { from: '2026-02' } }]]);
});

test('a refusal ends it', async () => {
  const refusal = { ok: false, status: 403, sentence: 'No.' };
  expect(await since({}, undefined, vi.fn().mockResolvedValue(refusal))).toEqual(refusal);
});
