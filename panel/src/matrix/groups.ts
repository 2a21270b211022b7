// How sources or destinations come in groups: as the router's groups say, else by the beginnings of
// their names, else in blocks.
import type { Source } from '../api/types';
import type { Group } from './axis';

export const BLOCK = 16;

export type Arrangement = {
  readonly pins: readonly number[]; // shown first, in this order, under `pinnedName`
  readonly pinnedName: string;
  readonly ungroupedName: string; // of what is in no group of the router, where others are
  readonly folds: ReadonlySet<string>; // names of groups
  readonly shows: (index: number) => boolean; // what the filter leaves
  readonly blockName: (first: number, last: number) => string; // by numbers that people see
};

// Of "CAM 12", "CAM"; of "MON A", "MON".
const prefixOf = ({ name }: Source) => name.replace(/(\s+\p{Lu}|[\s\d]+)$/u, '');

function gather(
  names: readonly Source[],
  nameOf: (each: Source) => string,
): ReadonlyMap<string, readonly Source[]> {
  const groups = new Map<string, Source[]>();
  for (const each of names) {
    const name = nameOf(each);
    const members = groups.get(name);
    if (members === undefined) groups.set(name, [each]);
    else members.push(each);
  }
  return groups;
}

function blocks(
  names: readonly Source[],
  blockName: Arrangement['blockName'],
): ReadonlyMap<string, readonly Source[]> {
  const begins = names.filter((_, i) => i % BLOCK === 0);
  return new Map(
    begins.map((first, i) => {
      const members = names.slice(i * BLOCK, (i + 1) * BLOCK);
      return [blockName(first.number, members.at(-1)?.number ?? first.number), members];
    }),
  );
}

function grouped(
  names: readonly Source[],
  { ungroupedName, blockName }: Arrangement,
): ReadonlyMap<string, readonly Source[]> {
  if (names.some(({ group }) => group !== ''))
    return gather(names, ({ group }) => (group === '' ? ungroupedName : group));
  const prefixes = gather(names, prefixOf);
  const areUseful = prefixes.size > 1 && prefixes.size * 2 <= names.length && !prefixes.has('');
  return areUseful ? prefixes : blocks(names, blockName);
}

// Groups in the order of their first members; a group that the filter empties is left out.
export function arrange(names: readonly Source[], arrangement: Arrangement): readonly Group[] {
  const { pins, pinnedName, folds, shows } = arrangement;
  const isPinned = new Set(pins);
  const known = new Set(names.map(({ index }) => index));
  const pinned = pins.filter((index) => known.has(index));
  const others = [...grouped(names, arrangement)].map(([name, members]) => {
    const rest = members.map(({ index }) => index).filter((index) => !isPinned.has(index));
    return { name, members: rest, folded: folds.has(name) };
  });
  return [{ name: pinnedName, members: pinned, folded: folds.has(pinnedName) }, ...others]
    .map((group) => ({ ...group, members: group.members.filter(shows) }))
    .filter(({ members }) => members.length > 0);
}
