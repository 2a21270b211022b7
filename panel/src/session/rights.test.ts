import { expect, test } from 'vitest';

import { isEngineer, mayTake } from './rights';

test('who may only look may not take', () => {
  const exceptions = { r2: 'operate', r3: 'view' } as const;
  expect(mayTake({ usual: 'view', exceptions }, 'r1')).toBe(false);
  expect(mayTake({ usual: 'view', exceptions }, 'r2')).toBe(true);
  expect(mayTake({ usual: 'engineer', exceptions }, 'r3')).toBe(false);
  expect(mayTake({ usual: 'engineer', exceptions }, 'r1')).toBe(true);
});

test('who may break locks', () => {
  expect(isEngineer({ usual: 'operate', exceptions: { r2: 'engineer' } }, 'r1')).toBe(false);
  expect(isEngineer({ usual: 'operate', exceptions: { r2: 'engineer' } }, 'r2')).toBe(true);
  expect(isEngineer({ usual: 'administer', exceptions: {} }, 'r1')).toBe(true);
});
