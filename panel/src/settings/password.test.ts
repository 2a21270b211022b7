import { expect, test, vi } from 'vitest';

import { changePassword } from './password';

test('a password is sent once, also when no answer comes', async () => {
  const silent = vi.fn(() => Promise.reject(new TypeError('refused')));
  const change = { old: 'river otter', new: 'quiet harbour' };
  expect(await changePassword(change, silent)).toEqual({ ok: false, status: 0 });
  expect(silent).toHaveBeenCalledExactlyOnceWith('/api/v1/people/me/password', {
    method: 'PUT',
    headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify(change),
  });
});
