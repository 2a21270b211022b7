import { expect, test } from 'vitest';

import { ARMED, hot, modeAt } from './mode';

test('Hot ends after its minutes', () => {
  const mode = hot(1000, 10);
  expect(modeAt(mode, 600_999)).toEqual({ is: 'hot', until: 601_000 });
  expect(modeAt(mode, 601_000)).toBe(ARMED);
});

test('Armed stays', () => {
  expect(modeAt(ARMED, 1e15)).toBe(ARMED);
});
