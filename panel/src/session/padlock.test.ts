import { afterEach, beforeEach, expect, test, vi } from 'vitest';

import { HOLD, padlock } from './padlock';

beforeEach(() => {
  vi.useFakeTimers();
});
afterEach(() => {
  vi.useRealTimers();
});

function standIn(begun: boolean) {
  let isLocked = begun;
  const refuse = vi.fn();
  const lock = padlock(
    () => isLocked,
    (next) => (isLocked = next),
    refuse,
  );
  const press = (ms: number) => {
    lock.down();
    vi.advanceTimersByTime(ms);
    lock.up();
    lock.click();
  };
  return { press, refuse, isLocked: () => isLocked };
}

test('a press locks', () => {
  const { press, isLocked } = standIn(false);
  press(HOLD);
  expect(isLocked()).toBe(true);
});

test('it opens when it is held', () => {
  const { press, isLocked, refuse } = standIn(true);
  press(HOLD);
  expect(isLocked()).toBe(false);
  expect(refuse).not.toHaveBeenCalled();
  press(0);
  expect(isLocked()).toBe(true);
});

test('a short press opens nothing, also not later', () => {
  const { press, isLocked, refuse } = standIn(true);
  press(HOLD - 1);
  vi.advanceTimersByTime(HOLD);
  expect(isLocked()).toBe(true);
  expect(refuse).toHaveBeenCalledOnce();
});
