// Destinations that are marked, or groups that are folded: what a press makes of them.
import type { Axis } from './axis';

export function toggled<T>(all: readonly T[], one: T): readonly T[] {
  const others = all.filter((each) => each !== one);
  return others.length < all.length ? others : [...all, one];
}

// With the members from one line to the other, in either direction; strips and bands are none.
export function withBetween(
  marked: readonly number[],
  axis: Axis,
  one: number,
  other: number,
): readonly number[] {
  const [from, to] = [Math.min(one, other), Math.max(one, other)];
  return [...new Set([...marked, ...membersOf(axis, from, to + 1)])];
}

// Those of these lines, in their order.
export function membersOf({ lines }: Axis, from = 0, end = lines.length): readonly number[] {
  return lines.slice(from, end).flatMap(({ kind, index }) => (kind === 'member' ? [index] : []));
}
