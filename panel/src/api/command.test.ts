import { expect, test, vi } from 'vitest';

import { command, newKey } from './command';

const answer = (status: number, body: string | null = null) =>
  new Response(body, { status, headers: { 'Content-Type': 'application/json' } });
const lost = () => Promise.reject(new TypeError('lost'));
const take = (fetched: typeof fetch) =>
  command(
    'post',
    '/api/v1/routers/{router}/stage/take',
    { at: { router: 'r 1' }, body: { rule: 'rest' }, key: 'k1' },
    fetched,
  );

test('tells its key, and what it wants where', async () => {
  const fetched = vi.fn(() => Promise.resolve(answer(202, '{"id":"01"}')));
  expect(await take(fetched)).toEqual({ ok: true, body: { id: '01' } });
  expect(fetched).toHaveBeenCalledExactlyOnceWith('/api/v1/routers/r%201/stage/take', {
    method: 'POST',
    headers: { 'Idempotency-Key': 'k1', 'Content-Type': 'application/json' },
    body: '{"rule":"rest"}',
  });
});

test('is sent again with the same key when the answer is lost', async () => {
  const fetched = vi.fn(lost);
  fetched.mockImplementationOnce(lost);
  expect(await take(fetched)).toEqual({ ok: false, status: 0 });
  const [first, second] = fetched.mock.calls as unknown as [string, RequestInit][];
  expect(second).toEqual(first);
  expect(fetched).toHaveBeenCalledTimes(2);
});

test('without a key it is sent once, also when no answer comes', async () => {
  const fetched = vi.fn(lost);
  const body = { old: 'river otter', new: 'quiet harbour' };
  await command('put', '/api/v1/people/me/password', { at: {}, body }, fetched);
  expect(fetched).toHaveBeenCalledExactlyOnceWith('/api/v1/people/me/password', {
    method: 'PUT',
    headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify(body),
  });
});

test('is not sent again when the server has refused', async () => {
  const fetched = vi.fn(() => Promise.resolve(answer(503)));
  expect(await take(fetched)).toMatchObject({ ok: false, status: 503 });
  expect(fetched).toHaveBeenCalledOnce();
});

test('may have a question in its address, and nothing to send or to hear', async () => {
  const fetched = vi.fn(() => Promise.resolve(answer(204)));
  const wanted = {
    at: { router: 'r1', index: 3 },
    query: { force: 'true', reason: 'a b' },
    body: undefined,
    key: 'k',
  };
  const path = '/api/v1/routers/{router}/destinations/{index}/lock';
  expect(await command('delete', path, wanted, fetched)).toEqual({ ok: true, body: undefined });
  expect(fetched).toHaveBeenCalledExactlyOnceWith(
    '/api/v1/routers/r1/destinations/3/lock?force=true&reason=a+b',
    { method: 'DELETE', headers: { 'Idempotency-Key': 'k' } },
  );
});

test('no key is like another', () => {
  const keys = new Set(Array.from({ length: 100 }, newKey));
  expect(keys.size).toBe(100);
  expect([...keys].every((key) => /^[!-~]{1,64}$/.test(key))).toBe(true);
});

test('a command can be for what came with a tag alone', async () => {
  const fetched = vi.fn<typeof fetch>();
  fetched.mockResolvedValue(new Response(null, { status: 204 }));
  const wanted = { at: { router: 'r1' }, body: undefined, key: 'k', tag: '"7"' };
  await command('delete', '/api/v1/routers/{router}', wanted, fetched);
  expect(fetched.mock.calls[0]?.[1]?.headers).toEqual({
    'Idempotency-Key': 'k',
    'If-Match': '"7"',
  });
});
