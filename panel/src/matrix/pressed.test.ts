import { expect, test } from 'vitest';

import { layOut } from './axis';
import { pressedAt, starAt } from './pressed';

const sources = layOut([{ name: 'A', members: [5, 3], folded: false }], {
  band: 0,
  member: 32,
  folded: 24,
});

test.each([
  [
    { area: 'crosspoint', destination: 4, source: 1 },
    { is: 'crossing', line: 4, source: 3 },
  ],
  [
    { area: 'noSource', line: 4 },
    { is: 'crossing', line: 4, source: -1 },
  ],
  [
    { area: 'destination', line: 4 },
    { is: 'destination', line: 4 },
  ],
  [
    { area: 'source', line: 0 },
    { is: 'source', source: 5 },
  ],
] as const)('a press at %j', (pointed, pressed) => {
  expect(pressedAt(pointed, sources)).toEqual(pressed);
});

test('elsewhere there is nothing to press', () => {
  for (const area of ['noSourceHead', 'corner', 'outside'] as const)
    expect(pressedAt({ area }, sources)).toBeUndefined();
  expect(pressedAt({ area: 'source', line: 2 }, sources)).toBeUndefined();
  expect(pressedAt({ area: 'crosspoint', destination: 0, source: 2 }, sources)).toBeUndefined();
});

test('a star is of the member whose header it stands in', () => {
  const destinations = layOut([{ name: 'B', members: [8], folded: false }], {
    band: 24,
    member: 32,
    folded: 24,
  });
  const at = (area: 'source' | 'destination' | 'noSource', line: number) =>
    starAt({ area, line }, destinations, sources);
  expect(at('source', 1)).toEqual({ side: 'sources', position: 3 });
  expect(at('destination', 1)).toEqual({ side: 'destinations', position: 8 });
  expect([at('destination', 0), at('noSource', 1), at('source', 9)]).toEqual(
    Array(3).fill(undefined),
  );
});
