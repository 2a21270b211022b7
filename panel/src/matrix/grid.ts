// The geometry of the matrix: from places in its window, in CSS pixels, to crosspoints and back. The
// header of each axis and the lane of "No source" stay where they are while the rest scrolls. Sources
// lie across and destinations down, or, swapped, the other way round.
import { lengthOf, lineAt, middleOf, startOf, windowOf, type Axis, type Window } from './axis';

export type Place = { readonly x: number; readonly y: number };

export type Grid = {
  readonly destinations: Axis;
  readonly sources: Axis;
  readonly swapped: boolean;
  readonly head: Place; // width of the row headers, height of the column headers
  readonly lane: number; // breadth of "No source", before the first source
  readonly scroll: Place;
  readonly size: Place; // of the window, heads included
};

export type Pointed =
  | { readonly area: 'corner' | 'outside' }
  | { readonly area: 'destination' | 'source' | 'noSource'; readonly line: number } // heads; the lane
  | { readonly area: 'noSourceHead' }
  | { readonly area: 'crosspoint'; readonly destination: number; readonly source: number }; // lines

// The source's or destination's part of a place.
const across = ({ swapped }: Grid, place: Place) => (swapped ? place.y : place.x);
const along = ({ swapped }: Grid, place: Place) => (swapped ? place.x : place.y);
const placeOf = ({ swapped }: Grid, source: number, destination: number): Place =>
  swapped ? { x: destination, y: source } : { x: source, y: destination };

export function pointAt(grid: Grid, place: Place): Pointed {
  const { head, lane, scroll, size } = grid;
  if (!(place.x >= 0 && place.y >= 0 && place.x < size.x && place.y < size.y))
    return { area: 'outside' };
  const inSources = across(grid, place) - across(grid, head);
  const inDestinations = along(grid, place) - along(grid, head);
  if (inSources < 0 && inDestinations < 0) return { area: 'corner' };
  const destination = lineAt(grid.destinations, inDestinations + along(grid, scroll));
  if (inSources < 0)
    return destination === undefined
      ? { area: 'outside' }
      : { area: 'destination', line: destination };
  const inLane = inSources < lane;
  const source = inLane ? undefined : lineAt(grid.sources, inSources - lane + across(grid, scroll));
  if (inDestinations < 0) {
    if (inLane) return { area: 'noSourceHead' };
    return source === undefined ? { area: 'outside' } : { area: 'source', line: source };
  }
  if (destination === undefined) return { area: 'outside' };
  if (inLane) return { area: 'noSource', line: destination };
  return source === undefined ? { area: 'outside' } : { area: 'crosspoint', destination, source };
}

// In the window, as it is scrolled; it may lie outside or behind a head.
export function crosspointMiddle(grid: Grid, destination: number, source: number): Place {
  const { head, lane, scroll } = grid;
  return placeOf(
    grid,
    across(grid, head) + lane + middleOf(grid.sources, source) - across(grid, scroll),
    along(grid, head) + middleOf(grid.destinations, destination) - along(grid, scroll),
  );
}

export function noSourceMiddle(grid: Grid, destination: number): Place {
  const { head, lane, scroll } = grid;
  return placeOf(
    grid,
    across(grid, head) + lane / 2,
    along(grid, head) + middleOf(grid.destinations, destination) - along(grid, scroll),
  );
}

// The breadth and height of all that scrolls, heads included.
export function spaceOf(grid: Grid): Place {
  const { head, lane } = grid;
  return placeOf(
    grid,
    across(grid, head) + lane + lengthOf(grid.sources),
    along(grid, head) + lengthOf(grid.destinations),
  );
}

// How much of each axis the window shows.
export function extents(grid: Grid): { sources: number; destinations: number } {
  const { head, lane, size } = grid;
  return {
    sources: Math.max(0, across(grid, size) - across(grid, head) - lane),
    destinations: Math.max(0, along(grid, size) - along(grid, head)),
  };
}

export function visible(grid: Grid, more = 0): { sources: Window; destinations: Window } {
  const extent = extents(grid);
  const [s, d] = [across(grid, grid.scroll), along(grid, grid.scroll)];
  return {
    sources: windowOf(grid.sources, s, s + extent.sources, more),
    destinations: windowOf(grid.destinations, d, d + extent.destinations, more),
  };
}

export function farthestScroll(grid: Grid): Place {
  const extent = extents(grid);
  return placeOf(
    grid,
    Math.max(0, lengthOf(grid.sources) - extent.sources),
    Math.max(0, lengthOf(grid.destinations) - extent.destinations),
  );
}

function revealed(axis: Axis, line: number, scroll: number, extent: number): number {
  const lowest = Math.max(startOf(axis, line + 1) - extent, scroll);
  return Math.min(lowest, startOf(axis, line));
}

// The scroll that brings a crosspoint into view, moved no more than needed. Where a line is longer
// than the window its start shows.
export function reveal(grid: Grid, destination: number, source: number): Place {
  const extent = extents(grid);
  return placeOf(
    grid,
    revealed(grid.sources, source, across(grid, grid.scroll), extent.sources),
    revealed(grid.destinations, destination, along(grid, grid.scroll), extent.destinations),
  );
}

// Where a source lies that is not in view: the mark at the edge of its destination's row says so.
export function edgeOf(grid: Grid, source: number): 'before' | 'after' | undefined {
  const from = across(grid, grid.scroll);
  const middle = middleOf(grid.sources, source);
  if (middle < from) return 'before';
  return middle >= from + extents(grid).sources ? 'after' : undefined;
}
