// What a filter leaves of a router's sources or destinations, and in words what it hides.
import type { Source } from '../api/types';
import { matches, readFilter } from '../search/filter';
import type { Speech } from '../texts/speech';

// Their indices. `only`: of these alone.
export function passing(
  names: readonly Source[],
  filter: string,
  only?: ReadonlySet<number>,
): ReadonlySet<number> {
  const words = readFilter(filter);
  const left = names.filter((each) => (only?.has(each.index) ?? true) && matches(words, each));
  return new Set(left.map(({ index }) => index));
}

// Of destinations; empty when nothing is hidden that somebody waits for.
export function hiddenWords(
  { say }: Speech,
  left: ReadonlySet<number>,
  staged: readonly number[],
  problems: readonly number[],
): string {
  const hidden = (all: readonly number[]) => all.filter((each) => !left.has(each)).length;
  const [s, p] = [hidden(staged), hidden(problems)];
  if (s === 0) return p === 0 ? '' : say('hiddenProblems', { n: p });
  if (p === 0) return say('hiddenStaged', { n: s });
  if (p === 1) return say('hiddenStagedOneProblem', { staged: s });
  return say('hiddenStagedAndProblems', { staged: s, problems: p });
}
