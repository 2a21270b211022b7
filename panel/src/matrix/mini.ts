// The mini-map: all of the matrix on a square of some CSS pixels, and the window in it.
import { NO_SOURCE, type Fact } from '../live/router_topic';
import { lengthOf, middleOf, type Axis } from './axis';
import { farthestScroll, type Grid, type Place } from './grid';

export const MAP = 112;
const FROM_ENTRIES = 64;

export function isWorthAMap(destinations: number, sources: number): boolean {
  return destinations > FROM_ENTRIES || sources > FROM_ENTRIES;
}

function onMap(axis: Axis, index: number): number | undefined {
  const line = axis.lineOf.get(index);
  return line === undefined ? undefined : (middleOf(axis, line) * MAP) / lengthOf(axis);
}

// Where the crossing of a destination and a source lies; none where one of them is not shown.
export function placeOnMap(grid: Grid, destination: number, source: number): Place | undefined {
  const across = source === NO_SOURCE ? 0 : onMap(grid.sources, source);
  const along = onMap(grid.destinations, destination);
  if (across === undefined || along === undefined) return undefined;
  return grid.swapped ? { x: along, y: across } : { x: across, y: along };
}

export function routesOnMap(grid: Grid, facts: readonly Fact[]): readonly Place[] {
  return facts.flatMap(({ source }, destination) => placeOnMap(grid, destination, source) ?? []);
}

export type Frame = { readonly at: Place; readonly size: Place };

function lengths({ destinations, sources, swapped }: Grid): Place {
  const [s, d] = [lengthOf(sources), lengthOf(destinations)];
  return swapped ? { x: d, y: s } : { x: s, y: d };
}

// What of the matrix the window shows.
export function frameOnMap(grid: Grid): Frame {
  const all = lengths(grid);
  const far = farthestScroll(grid);
  const side = (of: 'x' | 'y') => {
    const length = Math.max(1, all[of]);
    const at = (Math.min(grid.scroll[of], far[of]) / length) * MAP;
    return { at, size: ((length - far[of]) / length) * MAP };
  };
  const [x, y] = [side('x'), side('y')];
  return { at: { x: x.at, y: y.at }, size: { x: x.size, y: y.size } };
}

// The scroll that brings what lies there on the map into the middle of the window.
export function scrollFromMap(grid: Grid, { x, y }: Place): Place {
  const all = lengths(grid);
  const far = farthestScroll(grid);
  const side = (of: 'x' | 'y', at: number) => {
    const wanted = (at / MAP) * all[of] - (all[of] - far[of]) / 2;
    return Math.max(0, Math.min(wanted, far[of]));
  };
  return { x: side('x', x), y: side('y', y) };
}
