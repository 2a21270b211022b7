// The sources as they can be chosen for some destinations: in groups, "No source" before them.
import type { StageRow } from '../api/types';
import { NO_SOURCE, UNKNOWN_FACT, type RouterState } from '../live/router_topic';
import { arrange } from '../matrix/groups';
import { matches, type Filter } from '../search/filter';
import type { Speech } from '../texts/speech';

export type Choice = {
  readonly source: number; // an index or NO_SOURCE
  readonly number: string; // that people see; empty for "No source"
  readonly name: string;
  readonly routerName: string;
  readonly isNow: boolean; // of one of the destinations; so with the next
  readonly isStaged: boolean;
};
export type ChoiceGroup = { readonly name: string; readonly choices: readonly Choice[] };

export function choiceGroups(
  state: RouterState,
  staged: readonly StageRow[],
  destinations: readonly number[],
  filter: Filter,
  { say }: Speech,
): readonly ChoiceGroup[] {
  const now = new Set(destinations.map((each) => (state.facts[each] ?? UNKNOWN_FACT).source));
  const wished = new Set(
    staged
      .filter(({ destination }) => destinations.includes(destination))
      .map(({ source }) => source ?? NO_SOURCE),
  );
  const marks = (source: number) => ({ isNow: now.has(source), isStaged: wished.has(source) });
  const groups = arrange(state.sources, {
    pins: [],
    pinnedName: say('pinned'),
    ungroupedName: say('ungrouped'),
    folds: new Set(),
    shows: (index) => {
      const name = state.sources[index];
      return name !== undefined && matches(filter, name);
    },
    blockName: (first, last) => say('block', { first, last }),
  }).map(({ name, members }) => ({
    name,
    choices: members.map((source): Choice => {
      const known = state.sources[source];
      return {
        source,
        number: String(known?.number ?? source + state.router.firstNumber),
        name: known?.name ?? '',
        routerName: known?.routerName ?? '',
        ...marks(source),
      };
    }),
  }));
  if (filter.length > 0) return groups;
  const none: Choice = {
    source: NO_SOURCE,
    number: '',
    name: say('noSource'),
    routerName: '',
    ...marks(NO_SOURCE),
  };
  return [{ name: '', choices: [none] }, ...groups];
}
