import { expect, test } from 'vitest';

import { readAddress, writeAddress, type Address } from './address';

const read = (text: string) => {
  const url = new URL(text, 'http://panel');
  return readAddress(url.pathname, url.search);
};

const ADDRESSES: readonly [string, Address][] = [
  ['/routing', { screen: 'routing' }],
  ['/routing/studio-a?view=matrix', { screen: 'routing', router: 'studio-a', view: 'matrix' }],
  ['/wall/studio-a', { screen: 'wall', router: 'studio-a' }],
  ['/wall/studio-a?view=list', { screen: 'wall', router: 'studio-a', view: 'list' }],
  ['/salvos', { screen: 'salvos' }],
  ['/salvos/01KAN26Q1B', { screen: 'salvos', salvo: '01KAN26Q1B' }],
  ['/history', { screen: 'history', filters: {} }],
  ['/history?dest=12', { screen: 'history', filters: { dest: '12' } }],
  [
    '/history?who=ana&text=a%26b+%C3%A9',
    { screen: 'history', filters: { who: 'ana', text: 'a&b é' } },
  ],
  ['/history?take=01KAN26Q1B', { screen: 'history', filters: { take: '01KAN26Q1B' } }],
  ['/routers', { screen: 'routers' }],
  ['/routers/r1?tab=names', { screen: 'routers', router: 'r1', tab: 'names' }],
  ['/server', { screen: 'health' }],
  ['/settings', { screen: 'settings' }],
  ['/settings?tab=people', { screen: 'settings', tab: 'people' }],
];

test.each(ADDRESSES)('%s, there and back', (text, address) => {
  expect(read(text)).toEqual(address);
  expect(writeAddress(address)).toBe(text);
});

test.each([
  ['/', { screen: 'routing' }],
  ['/routing/', { screen: 'routing' }],
  ['/routing/r1?view=cube&more=1', { screen: 'routing', router: 'r1' }],
  ['/history?dest=&planet=3', { screen: 'history', filters: {} }],
])('%s is understood', (text, address) => {
  expect(read(text)).toEqual(address);
});

test.each([
  '/weather',
  '/wall',
  '/routing/a/b',
  '/history/3',
  '/health',
  '/server/x',
  '/settings/x',
  '/routing/%E0%A4%A',
  '/constructor',
])('%s is no screen', (text) => {
  const [path, search] = text.split('?');
  expect(readAddress(path ?? '', search ?? '')).toBeUndefined();
});

test('a name stays one step of the path', () => {
  const odd: Address = { screen: 'routing', router: 'a/b?c' };
  expect(writeAddress(odd)).toBe('/routing/a%2Fb%3Fc');
  expect(read(writeAddress(odd))).toEqual(odd);
});
