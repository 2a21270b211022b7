// The groups of one side of a router, as they are edited. A name is in one group at most, which
// stands beside it.
import type { Schemas } from '../api/ask';
import type { Source } from '../api/types';

export type Group = { readonly name: string; readonly members: readonly Source[] };
export type Ticks = ReadonlyMap<number, boolean>; // by index; of those that were touched

// In the order of their first members.
export function groupsOf(names: readonly Source[]): readonly Group[] {
  const groups = [...new Set(names.map(({ group }) => group))].filter((name) => name !== '');
  return groups.map((name) => ({ name, members: names.filter(({ group }) => group === name) }));
}

// `group`: empty for one that is to be made.
export function isMember(ticks: Ticks, group: string, name: Source): boolean {
  return ticks.get(name.index) ?? (group !== '' && name.group === group);
}

export function ticked(ticks: Ticks, { index }: Source, isIn: boolean): Ticks {
  return new Map(ticks).set(index, isIn);
}

// The rows to send, by which those that are members come into the group called `wanted`.
export function memberRows(
  ticks: Ticks,
  group: string,
  names: readonly Source[],
  wanted: string,
): Schemas['LabelRows']['rows'] {
  return names.flatMap((name) => {
    const next = isMember(ticks, group, name) ? wanted : '';
    const isOther = next === '' && name.group !== group;
    return isOther || next === name.group ? [] : [{ index: name.index, group: next }];
  });
}

// Of the names that were touched.
export function areStill(ticks: Ticks, a: readonly Source[], b: readonly Source[]): boolean {
  return [...ticks.keys()].every((index) => a[index]?.group === b[index]?.group);
}
