import { expect, test, vi } from 'vitest';

import { followOnly } from './following';

test('what is still looked at is neither begun again nor left', () => {
  const driver = { follow: vi.fn(), leave: vi.fn() };
  let followed = followOnly(driver, new Set(), new Set(['a', 'b']));
  followed = followOnly(driver, followed, new Set(['b', 'c']));
  followed = followOnly(driver, followed, new Set(['c', 'b']));
  followOnly(driver, followed, new Set());
  expect(driver.follow.mock.calls).toEqual([[['a', 'b']], [['c']]]);
  expect(driver.leave.mock.calls).toEqual([[['a']], [['c', 'b']]]);
});
