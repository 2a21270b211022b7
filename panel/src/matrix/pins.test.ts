import { expect, test } from 'vitest';

import { pinned, withPin } from './pins';

test('a pin goes behind the others of its side of its router', () => {
  let pins = withPin([], 'r1', 'destinations', 7);
  pins = withPin(pins, 'r1', 'sources', 3);
  pins = withPin(pins, 'r2', 'destinations', 5);
  pins = withPin(pins, 'r1', 'destinations', 2);
  expect(pinned(pins, 'r1', 'destinations')).toEqual([7, 2]);
  expect(pinned(pins, 'r1', 'sources')).toEqual([3]);
  expect(pinned(pins, 'r2', 'destinations')).toEqual([5]);
  expect(pinned(pins, 'r2', 'sources')).toEqual([]);
});

test('no pins are always the same record', () => {
  expect(pinned([], 'r1', 'sources')).toBe(pinned([], 'r2', 'destinations'));
});

test('pinned again it is not pinned any more', () => {
  const pins = withPin(withPin([], 'r1', 'sources', 3), 'r1', 'sources', 4);
  expect(withPin(pins, 'r1', 'sources', 3)).toEqual([
    { router: 'r1', side: 'sources', positions: [4] },
  ]);
  expect(withPin(withPin([], 'r1', 'sources', 3), 'r1', 'sources', 3)).toEqual([]);
});
