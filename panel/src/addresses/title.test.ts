import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { titleOf } from './title';

const { say } = speechOf(english, 'en', 'UTC');
const routing = { screen: 'routing' } as const;

test('the title names the problems, the router at work and the screen', () => {
  expect(titleOf(say, routing, { name: 'STUDIO A', problems: 2 })).toBe('(2) STUDIO A · Routing');
  expect(titleOf(say, routing, { name: 'STUDIO A', problems: 0 })).toBe('STUDIO A · Routing');
});

test('the title names what there is', () => {
  expect(titleOf(say, routing, undefined)).toBe('Routing');
  expect(titleOf(say, undefined, { name: 'STUDIO A', problems: 2 })).toBe('Router control');
});
