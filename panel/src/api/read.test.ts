import { expect, test, vi } from 'vitest';

import { locate, read } from './read';

test('fills the places of an address, each staying one step', () => {
  const where = { at: { router: 'a/b', index: 3 }, query: { text: 'x y&z' } };
  expect(locate('/api/v1/routers/{router}/sources/{index}', where)).toBe(
    '/api/v1/routers/a%2Fb/sources/3?text=x+y%26z',
  );
  expect(locate('/version', {})).toBe('/version');
});

test('gives the body with the tag that it came with', async () => {
  const headers = { 'Content-Type': 'application/json', ETag: '"7"' };
  const fetched = vi.fn(() => Promise.resolve(new Response('{"people":[]}', { headers })));
  expect(await read('/api/v1/people', {}, fetched)).toEqual({
    ok: true,
    body: { people: [] },
    tag: '"7"',
  });
  expect(fetched).toHaveBeenCalledExactlyOnceWith('/api/v1/people', {
    headers: { Accept: 'application/json' },
  });
});

test('says that it is refused, or not answered', async () => {
  const headers = { 'Content-Type': 'application/problem+json' };
  const refusing = () =>
    Promise.resolve(new Response('{"detail":"No such router."}', { status: 404, headers }));
  expect(await read('/api/v1/people', {}, refusing)).toEqual({
    ok: false,
    status: 404,
    sentence: 'No such router.',
  });
  const silent = () => Promise.reject(new TypeError('refused'));
  expect(await read('/api/v1/people', {}, silent)).toEqual({ ok: false, status: 0 });
});
