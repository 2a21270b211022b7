import { expect, test } from 'vitest';

import { may } from './may';

const rights = { usual: 'operate', exceptions: { r1: 'engineer', r2: 'none' } } as const;

test.each([
  ['view', undefined, true],
  ['operate', undefined, true],
  ['engineer', undefined, false],
  ['engineer', 'r1', true],
  ['administer', 'r1', false],
  ['view', 'r2', false],
  ['operate', 'r3', true],
] as const)('%s on %s: %s', (right, router, answer) => {
  expect(may(rights, right, router)).toBe(answer);
});
