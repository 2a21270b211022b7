// The rows of the list: each destination with what it shows, in words, under the names of groups.
// Their order is that of the router: it does not change with what the rows show.
import type { MyState } from '../live/my_topic';
import type { RouterState } from '../live/router_topic';
import { arrange } from '../matrix/groups';
import { matches, type Filter } from '../search/filter';
import { age } from '../texts/clock';
import { destinationShown, type DestinationShown } from './destination';
import type { Circumstances } from './fact';
import type { Mark } from './marks';

export type ListRow = {
  readonly shown: DestinationShown;
  readonly number: number;
  readonly routerName: string; // empty where it is the name that is shown
  readonly since: string;
  readonly states: readonly { mark: Mark; words: string; source: string }[]; // the gravest first
};
export type ListGroup = { readonly name: string; readonly rows: readonly ListRow[] };

function statesOf({ fact, wishes, stagedBy }: DestinationShown): ListRow['states'] {
  const old = fact.mark === 'fact' ? [] : [{ mark: fact.mark, words: fact.words, source: '' }];
  return [
    ...wishes.map(({ mark, words, sourceName }) => ({ mark, words, source: sourceName })),
    ...stagedBy.map((each) => ({ ...each, source: '' })),
    ...old,
  ];
}

function rowOf(
  state: RouterState,
  mine: MyState | undefined,
  destination: number,
  circumstances: Circumstances,
): ListRow {
  const staged = mine?.stages.get(state.router.id)?.rows;
  const row = staged?.find((each) => each.destination === destination);
  const shown = destinationShown(state, row, destination, circumstances);
  const { number = destination + state.router.firstNumber, routerName = '' } =
    state.destinations[destination] ?? {};
  const { since } = shown.fact;
  return {
    shown,
    number,
    routerName: routerName === shown.name ? '' : routerName,
    since: since === 0 ? '' : age(circumstances.speech, since, circumstances.now),
    states: statesOf(shown),
  };
}

export function listGroups(
  state: RouterState,
  mine: MyState | undefined,
  filter: Filter,
  circumstances: Circumstances,
): readonly ListGroup[] {
  const { say } = circumstances.speech;
  const groups = arrange(state.destinations, {
    pins: [],
    pinnedName: say('pinned'),
    ungroupedName: say('ungrouped'),
    folds: new Set(),
    shows: (index) => {
      const name = state.destinations[index];
      return name !== undefined && matches(filter, name);
    },
    blockName: (first, last) => say('block', { first, last }),
  });
  return groups.map(({ name, members }) => ({
    name,
    rows: members.map((index) => rowOf(state, mine, index, circumstances)),
  }));
}
