import { expect, test, vi } from 'vitest';

import { holding, keepLock, recallLock } from './screen_lock';

test('a lock of the screen outlives the page', () => {
  const kept = new Map<string, string>();
  const memory = {
    getItem: (name: string) => kept.get(name) ?? null,
    setItem: (name: string, value: string) => void kept.set(name, value),
    removeItem: (name: string) => void kept.delete(name),
  };
  expect(recallLock(memory)).toBe(false);
  keepLock(memory, true);
  expect(recallLock(memory)).toBe(true);
  keepLock(memory, false);
  expect(recallLock(memory)).toBe(false);
});

test('nothing is sent while the screen is locked', async () => {
  let isLocked = true;
  const send = vi.fn((what: string) => Promise.resolve(`${what} done`));
  const tell = vi.fn();
  const held = holding(
    () => isLocked,
    () => 'Screen locked',
    tell,
  )(send);
  expect(await held('take')).toEqual({ ok: false, status: 403, sentence: 'Screen locked' });
  expect(send).not.toHaveBeenCalled();
  expect(tell).toHaveBeenCalledOnce();

  isLocked = false;
  expect(await held('take')).toBe('take done');
  expect(send).toHaveBeenCalledExactlyOnceWith('take');
  expect(tell).toHaveBeenCalledOnce();
});
