// What the strip of a folded group says: how much it holds, and what in it somebody has to look at.
import type { Say } from '../texts/speech';
import type { Group } from './axis';

export type Counted = { readonly problems: readonly number[]; readonly staged: readonly number[] };

// `counted` holds destinations; for sources there is nothing to count.
export function stripWords(
  say: Say,
  { name, members }: Group,
  { problems, staged }: Counted = { problems: [], staged: [] },
): string {
  const isIn = new Set(members);
  const count = (all: readonly number[]) => all.filter((each) => isIn.has(each)).length;
  const [wrong, wished] = [count(problems), count(staged)];
  return [
    say('groupCount', { group: name, n: members.length }),
    ...(wrong > 0 ? [say('groupProblems', { n: wrong })] : []),
    ...(wished > 0 ? [say('groupStaged', { n: wished })] : []),
  ].join(' · ');
}
