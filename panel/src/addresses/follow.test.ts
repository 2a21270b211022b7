import { expect, test } from 'vitest';

import { screenBehind, type Press } from './follow';

const HERE = 'http://panel:8080/routing/r1';
const plain: Press = {
  button: 0,
  altKey: false,
  ctrlKey: false,
  metaKey: false,
  shiftKey: false,
  defaultPrevented: false,
};

test('a plain press leads to a screen', () => {
  expect(screenBehind(plain, '/routers/r2', HERE)).toEqual({ screen: 'routers', router: 'r2' });
});

test.each([
  { button: 1 },
  { altKey: true },
  { ctrlKey: true },
  { metaKey: true },
  { shiftKey: true },
  { defaultPrevented: true },
])('with %j it is for the browser', (change) => {
  expect(screenBehind({ ...plain, ...change }, '/routers', HERE)).toBeUndefined();
});

test.each([
  'http://elsewhere/routers',
  'http://panel/routers',
  '/openapi.yaml',
  'mailto:a@b',
  '#view',
])('%s is for the browser', (link) => {
  expect(screenBehind(plain, link, HERE)).toBeUndefined();
});
