// Where the cursor of the matrix is, and where a key brings it. It is kept as a destination and a
// source, so that it stays on them when groups fold or filters change; in a folded group it is on the
// strip. "No source" lies before the first source.
import type { Source } from '../api/types';
import { NO_SOURCE } from '../live/router_topic';
import type { Axis } from './axis';
import { firstPlace, lastPlace, nextGroup, nextPage, nextPlace } from './move';

export type Cursor = { readonly destination: number; readonly source: number };
export type Extent = { readonly destinations: number; readonly sources: number }; // CSS pixels in view

export const MOVES = [
  'up',
  'down',
  'left',
  'right',
  'groupUp',
  'groupDown',
  'groupLeft',
  'groupRight',
  'rowStart',
  'rowEnd',
  'firstCorner',
  'lastCorner',
  'pageUp',
  'pageDown',
  'pageLeft',
  'pageRight',
] as const;
export type Move = (typeof MOVES)[number];
export type Step = Move | 'columnStart' | 'columnEnd';

// The member of a line; of a strip its first.
export function indexAt(axis: Axis, line: number): number | undefined {
  const found = axis.lines[line];
  if (found === undefined || found.kind === 'band') return undefined;
  return found.kind === 'member' ? found.index : axis.groups[found.group]?.members[0];
}

const first = (axis: Axis) => firstPlace(axis) ?? 0;
const last = (axis: Axis) => lastPlace(axis) ?? 0;

// Where it was, if that is still shown; else at the first.
export function kept(cursor: Cursor, destinations: Axis, sources: Axis): Cursor {
  const { destination, source } = cursor;
  return {
    destination: destinations.lineOf.has(destination)
      ? destination
      : (indexAt(destinations, first(destinations)) ?? 0),
    source:
      source === NO_SOURCE || sources.lineOf.has(source)
        ? source
        : (indexAt(sources, first(sources)) ?? NO_SOURCE),
  };
}

function alongSources(axis: Axis, source: number, go: (line: number) => number): number {
  const line = axis.lineOf.get(source);
  return indexAt(axis, go(line ?? first(axis))) ?? source;
}

export function moved(
  cursor: Cursor,
  move: Step,
  destinations: Axis,
  sources: Axis,
  extent: Extent,
): Cursor {
  const line = destinations.lineOf.get(cursor.destination) ?? first(destinations);
  const toLine = (next: number): Cursor => ({
    ...cursor,
    destination: indexAt(destinations, next) ?? cursor.destination,
  });
  const to = (go: (from: number) => number): Cursor => ({
    ...cursor,
    source: alongSources(sources, cursor.source, go),
  });
  const isBefore = cursor.source === NO_SOURCE;
  const isFirst = sources.lineOf.get(cursor.source) === first(sources);
  switch (move) {
    case 'up':
      return toLine(nextPlace(destinations, line, -1));
    case 'down':
      return toLine(nextPlace(destinations, line, 1));
    case 'groupUp':
      return toLine(nextGroup(destinations, line, -1));
    case 'groupDown':
      return toLine(nextGroup(destinations, line, 1));
    case 'pageUp':
      return toLine(nextPage(destinations, line, -1, extent.destinations));
    case 'pageDown':
      return toLine(nextPage(destinations, line, 1, extent.destinations));
    case 'left':
      if (isBefore || isFirst) return { ...cursor, source: NO_SOURCE };
      return to((from) => nextPlace(sources, from, -1));
    case 'right':
      return to((from) => (isBefore ? from : nextPlace(sources, from, 1)));
    case 'groupLeft':
      return isBefore ? cursor : to((from) => nextGroup(sources, from, -1));
    case 'groupRight':
      return to((from) => (isBefore ? from : nextGroup(sources, from, 1)));
    case 'pageLeft':
      return isBefore ? cursor : to((from) => nextPage(sources, from, -1, extent.sources));
    case 'pageRight':
      return to((from) => nextPage(sources, from, 1, extent.sources));
    case 'rowStart':
      return { ...cursor, source: NO_SOURCE };
    case 'rowEnd':
      return to(() => last(sources));
    case 'columnStart':
      return toLine(first(destinations));
    case 'columnEnd':
      return toLine(last(destinations));
    case 'firstCorner':
      return { ...toLine(first(destinations)), source: NO_SOURCE };
    case 'lastCorner':
      return { ...to(() => last(sources)), destination: toLine(last(destinations)).destination };
  }
}

// At those of these numbers; where there is none of the number, or it is not given, as it was.
export function atNumbers(
  cursor: Cursor,
  to: { readonly destination?: number; readonly source?: number },
  destinations: readonly Source[],
  sources: readonly Source[],
): Cursor {
  const indexOf = (names: readonly Source[], number?: number) =>
    names.find((each) => each.number === number)?.index;
  return {
    destination: indexOf(destinations, to.destination) ?? cursor.destination,
    source: indexOf(sources, to.source) ?? cursor.source,
  };
}

export function isMove(command: string): command is Move {
  return MOVES.some((each) => each === command);
}
