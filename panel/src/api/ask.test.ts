import { expect, test } from 'vitest';

import { ask } from './ask';

const answering =
  (body: string, status = 200, type = 'application/json'): typeof fetch =>
  () =>
    Promise.resolve(new Response(body, { status, headers: { 'Content-Type': type } }));

test('gives the body of an answer', async () => {
  const body = { revision: 2, routers: [] };
  expect(await ask('/api/v1/routers', answering(JSON.stringify(body)))).toEqual({ ok: true, body });
});

test("gives the server's own sentence when it refuses", async () => {
  const problem = JSON.stringify({ detail: 'Sign in first.' });
  expect(await ask('/api/v1/routers', answering(problem, 401, 'application/problem+json'))).toEqual(
    { ok: false, status: 401, sentence: 'Sign in first.' },
  );
});

test('names the status when something else refuses', async () => {
  expect(await ask('/version', answering('<h1>Bad gateway</h1>', 502, 'text/html'))).toEqual({
    ok: false,
    status: 502,
    sentence: 'The server answered with status 502.',
  });
});

test('says so when no answer comes', async () => {
  const silent = () => Promise.reject(new TypeError('refused'));
  expect(await ask('/version', silent)).toEqual({
    ok: false,
    status: 0,
    sentence: 'The server does not answer.',
  });
});

test('an answer that is cut off counts as none', async () => {
  expect(await ask('/version', answering('{"api":'))).toMatchObject({ ok: false, status: 0 });
});
