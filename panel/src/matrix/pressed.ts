// What a press in the matrix is meant for.
import type { Side } from '../api/types';
import { NO_SOURCE } from '../live/router_topic';
import type { Axis } from './axis';
import { indexAt } from './cursor';
import type { Pointed } from './grid';

export type Pressed =
  | { readonly is: 'crossing'; readonly line: number; readonly source: number } // a destination's line
  | { readonly is: 'destination'; readonly line: number }
  | { readonly is: 'source'; readonly source: number };

// None where there is nothing to press.
export function pressedAt(pointed: Pointed, sources: Axis): Pressed | undefined {
  switch (pointed.area) {
    case 'crosspoint': {
      const source = indexAt(sources, pointed.source);
      return source === undefined
        ? undefined
        : { is: 'crossing', line: pointed.destination, source };
    }
    case 'noSource':
      return { is: 'crossing', line: pointed.line, source: NO_SOURCE };
    case 'destination':
      return { is: 'destination', line: pointed.line };
    case 'source': {
      const source = indexAt(sources, pointed.line);
      return source === undefined ? undefined : { is: 'source', source };
    }
    case 'noSourceHead':
    case 'corner':
    case 'outside':
      return undefined;
  }
}

// Whose star is in a header.
export function starAt(
  pointed: Pointed,
  destinations: Axis,
  sources: Axis,
): { readonly side: Side; readonly position: number } | undefined {
  if (pointed.area !== 'destination' && pointed.area !== 'source') return undefined;
  const isRow = pointed.area === 'destination';
  const found = (isRow ? destinations : sources).lines[pointed.line];
  if (found?.kind !== 'member') return undefined;
  return { side: isRow ? 'destinations' : 'sources', position: found.index };
}
