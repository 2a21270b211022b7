import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import type { Address } from './address';
import { presenceOf } from './presence';

const { say } = speechOf(english, 'en', 'UTC');

test.each([
  [{ screen: 'routing' }, { screen: 'Routing', router: 'r1' }],
  [
    { screen: 'wall', router: 'r1' },
    { screen: 'Wall', router: 'r1' },
  ],
  [
    { screen: 'routers', router: 'r1' },
    { screen: 'Routers', router: 'r1' },
  ],
  [{ screen: 'routers' }, { screen: 'Routers' }],
  [{ screen: 'history', filters: {} }, { screen: 'History' }],
  [undefined, { screen: '' }],
] as const)('%j shows %j', (address: Address | undefined, shown) => {
  expect(presenceOf(say, address, 'r1')).toEqual(shown);
});

test('before the routers are told it is none', () => {
  expect(presenceOf(say, { screen: 'routing' }, undefined)).toStrictEqual({ screen: 'Routing' });
});
