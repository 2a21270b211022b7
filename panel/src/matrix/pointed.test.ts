import { expect, test } from 'vitest';

import type { Pointed } from './grid';
import { pointedLines } from './pointed';

test.each<[Pointed, ReturnType<typeof pointedLines>]>([
  [
    { area: 'crosspoint', destination: 3, source: 7 },
    { destination: 3, source: 7 },
  ],
  [{ area: 'noSource', line: 3 }, { destination: 3 }],
  [{ area: 'destination', line: 3 }, { destination: 3 }],
  [{ area: 'source', line: 7 }, { source: 7 }],
  [{ area: 'noSourceHead' }, {}],
  [{ area: 'corner' }, {}],
  [{ area: 'outside' }, {}],
])('%j is on the lines %j', (pointed, lines) => {
  expect(pointedLines(pointed)).toEqual(lines);
});
