// What a press on a crossing asks for, or on a source while these destinations are chosen.
import type { Schemas } from '../api/ask';
import type { StageRow } from '../api/types';
import { NO_SOURCE, UNKNOWN_FACT, type RouterState } from '../live/router_topic';
import { mayRoute } from '../routes/guards';

export type StageChange = Schemas['StageChange'];
export type RowWanted = Schemas['StageRowWanted'];
type Row = Pick<StageRow, 'destination' | 'source'>;

const told = (source: number) => (source === NO_SOURCE ? null : source);

// Of these, those that I may route.
export function routable(
  state: RouterState,
  destinations: readonly number[],
  me: string,
): readonly number[] {
  return destinations.filter((each) => mayRoute(state.locks.get(each), me));
}

export function rowsFor(destinations: readonly number[], source: number): RowWanted[] {
  return destinations.map((destination) => ({ destination, source: told(source) }));
}

// Armed: one destination whose present source is pressed, or whose staged one, is not staged any more;
// several are staged, all of them. None where there is nothing to change.
export function stageChange(
  state: RouterState,
  staged: readonly Row[],
  destinations: readonly number[],
  source: number,
): StageChange | undefined {
  const [destination] = destinations;
  if (destination === undefined) return undefined;
  if (destinations.length > 1) return { rows: rowsFor(destinations, source) };
  const row = staged.find((each) => each.destination === destination);
  const isPresent = (state.facts[destination] ?? UNKNOWN_FACT).source === source;
  if (row !== undefined && (isPresent || row.source === told(source)))
    return { remove: [destination] };
  return isPresent ? undefined : { rows: rowsFor(destinations, source) };
}
