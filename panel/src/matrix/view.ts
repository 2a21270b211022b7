// The matrix as it is laid out for one window: the axes by names, filters and folds, at one size.
import type { Source } from '../api/types';
import { matches, type Filter } from '../search/filter';
import type { Speech } from '../texts/speech';
import { layOut, type Axis } from './axis';
import { arrange } from './groups';

export const CELL_SIZES = { S: 12, M: 24, L: 32, XL: 44 } as const;
export type CellSize = keyof typeof CELL_SIZES;
export const BAND = 24;
export const LANE = 44; // "No source"

export const ALL_SIZES: readonly CellSize[] = ['S', 'M', 'L', 'XL'];

export function sized(size: CellSize, by: -1 | 1): CellSize {
  return ALL_SIZES[ALL_SIZES.indexOf(size) + by] ?? size;
}

// What people have asked to see. `only`: the problems that there were when they were asked for, so that
// no row comes or goes by itself.
export type Filters = {
  readonly destinations: string;
  readonly sources: string;
  readonly only?: ReadonlySet<number> | undefined;
};
export const NO_FILTERS: Filters = { destinations: '', sources: '' };

export type Layout = {
  readonly filter: Filter;
  readonly only?: ReadonlySet<number> | undefined; // of these alone
  readonly pins: readonly number[];
  readonly folds: ReadonlySet<string>;
  readonly size: CellSize;
  readonly hasBands: boolean;
};

// Groups of destinations have bands of their own; those of sources stand in the column headers.
export function axisOf(
  names: readonly Source[],
  { filter, only, pins, folds, size, hasBands }: Layout,
  { say }: Speech,
): Axis {
  const byIndex = new Map(names.map((each) => [each.index, each]));
  const groups = arrange(names, {
    pins,
    pinnedName: say('pinned'),
    ungroupedName: say('ungrouped'),
    folds,
    shows: (index) => {
      const name = byIndex.get(index);
      return name !== undefined && (only?.has(index) ?? true) && matches(filter, name);
    },
    blockName: (first, last) => say('block', { first, last }),
  });
  return layOut(groups, { band: hasBands ? BAND : 0, member: CELL_SIZES[size], folded: 24 });
}
