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

const ORDER: readonly CellSize[] = ['S', 'M', 'L', 'XL'];

export function sized(size: CellSize, by: -1 | 1): CellSize {
  return ORDER[ORDER.indexOf(size) + by] ?? size;
}

// Groups of destinations have bands of their own; those of sources stand in the column headers.
export function axisOf(
  names: readonly Source[],
  filter: Filter,
  folds: ReadonlySet<string>,
  size: CellSize,
  hasBands: boolean,
  { say }: Speech,
): Axis {
  const byIndex = new Map(names.map((each) => [each.index, each]));
  const groups = arrange(names, {
    pins: [],
    pinnedName: say('pinned'),
    folds,
    shows: (index) => {
      const name = byIndex.get(index);
      return name !== undefined && matches(filter, name);
    },
    blockName: (first, last) => say('block', { first, last }),
  });
  return layOut(groups, { band: hasBands ? BAND : 0, member: CELL_SIZES[size], folded: 24 });
}
