import { expect, test, vi } from 'vitest';

import { ask, end, send } from './ask';

const answering =
  (body: string, status = 200, type = 'application/json'): typeof fetch =>
  () =>
    Promise.resolve(new Response(body, { status, headers: { 'Content-Type': type } }));

test('gives the body of an answer', async () => {
  const body = { revision: 2, routers: [] };
  expect(await ask('/api/v1/routers', answering(JSON.stringify(body)))).toEqual({ ok: true, body });
});

test("gives the server's own sentence when it refuses", async () => {
  const problem = JSON.stringify({ detail: 'Sign in first.', code: 'notSignedIn' });
  expect(await ask('/api/v1/routers', answering(problem, 401, 'application/problem+json'))).toEqual(
    { ok: false, status: 401, sentence: 'Sign in first.', code: 'notSignedIn' },
  );
});

test('gives the status when something else refuses', async () => {
  expect(await ask('/version', answering('<h1>Bad gateway</h1>', 502, 'text/html'))).toEqual({
    ok: false,
    status: 502,
  });
});

test('says so when no answer comes', async () => {
  const silent = () => Promise.reject(new TypeError('refused'));
  expect(await ask('/version', silent)).toEqual({
    ok: false,
    status: 0,
  });
});

test('an answer that is cut off counts as none', async () => {
  expect(await ask('/version', answering('{"api":'))).toMatchObject({ ok: false, status: 0 });
});

test('sends what is to be made as JSON', async () => {
  const fetched = vi.fn(answering('{"person":{"id":"ana"}}', 201));
  const wanted = { code: 'c', id: 'ana', name: 'Ana K.', password: 'long enough' };
  const answer = await send('/api/v1/first-administrator', wanted, fetched);
  expect(answer).toEqual({ ok: true, body: { person: { id: 'ana' } } });
  expect(fetched).toHaveBeenCalledExactlyOnceWith('/api/v1/first-administrator', {
    method: 'POST',
    headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify(wanted),
  });
});

test('tells how long the server will not listen', async () => {
  const headers = { 'Content-Type': 'application/problem+json', 'Retry-After': '8' };
  const slowed = () =>
    Promise.resolve(new Response('{"detail":"Too many."}', { status: 429, headers }));
  expect(await ask('/version', slowed)).toEqual({
    ok: false,
    status: 429,
    sentence: 'Too many.',
    wait: 8,
  });
});

test('ends what was begun, without an answer to read', async () => {
  const fetched = vi.fn(() => Promise.resolve(new Response(null, { status: 204 })));
  expect(await end('/api/v1/session', fetched)).toEqual({ ok: true, body: undefined });
  expect(fetched).toHaveBeenCalledExactlyOnceWith('/api/v1/session', { method: 'DELETE' });
  const refused = answering('{"detail":"Sign in first."}', 401, 'application/problem+json');
  expect(await end('/api/v1/session', refused)).toMatchObject({ ok: false, status: 401 });
});
