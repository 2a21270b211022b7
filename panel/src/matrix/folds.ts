// The groups that somebody has folded, as the settings keep them.
import type { Schemas } from '../api/ask';
import type { Side } from '../api/types';

export type Folds = Schemas['Settings']['folds'];

const NONE: ReadonlySet<string> = new Set(); // always the same, so that nothing is laid out anew

const isOf = (router: string, side: Side) => (each: Folds[number]) =>
  each.router === router && each.side === side;

export function folded(folds: Folds, router: string, side: Side): ReadonlySet<string> {
  const found = folds.find(isOf(router, side));
  return found === undefined ? NONE : new Set(found.groups);
}

// With this group folded, or open when it was folded.
export function withFold(folds: Folds, router: string, side: Side, group: string): Folds {
  const present = folds.find(isOf(router, side))?.groups ?? [];
  const groups = present.includes(group)
    ? present.filter((each) => each !== group)
    : [...present, group];
  const others = folds.filter((each) => !isOf(router, side)(each));
  return groups.length === 0 ? others : [...others, { router, side, groups }];
}
