// The destinations that somebody has to look at: those in red, in violet that waits for a decision, and
// those of which nothing is known.
import type { StageRow } from '../api/types';
import { UNKNOWN_FACT, UNKNOWN_SOURCE, type RouterState } from '../live/router_topic';
import { isLinkLost } from './lost';

// In their order. Told without words, as all of them are looked through with each change.
export function problemsOf(state: RouterState, staged: readonly StageRow[]): readonly number[] {
  const changed = new Set(staged.filter((row) => row.changed).map((row) => row.destination));
  const isLost = isLinkLost(state.router);
  return state.destinations
    .map(({ index }) => index)
    .filter((index) => {
      const outcome = state.problems.get(index)?.outcome ?? 'open';
      const { source } = state.facts[index] ?? UNKNOWN_FACT;
      const isWrong = outcome !== 'open' && outcome !== 'confirmed';
      const isLostOnTheWay = isLost && state.wishes.has(index);
      return isWrong || isLostOnTheWay || source === UNKNOWN_SOURCE || changed.has(index);
    });
}

// The next from here, round the end.
export function nextProblem(
  problems: readonly number[],
  from: number,
  by: -1 | 1,
): number | undefined {
  if (by === 1) return problems.find((each) => each > from) ?? problems[0];
  return problems.filter((each) => each < from).at(-1) ?? problems.at(-1);
}
