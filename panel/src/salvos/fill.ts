// Rows for a salvo, from what is staged and from what is routed.
import type { Stage } from '../api/types';
import { NO_SOURCE, type RouterState } from '../live/router_topic';
import { factShown, type Circumstances } from '../routes/fact';
import { destinationName } from '../routes/names';
import type { SalvoRow } from './draft';

export function rowFor(state: RouterState, destination: number, source: number): SalvoRow {
  const named = {
    router: state.router.id,
    destination,
    destinationName: destinationName(state, destination),
  };
  if (source === NO_SOURCE) return { ...named, source: null };
  const sourceName = state.sources[source]?.name;
  return { ...named, source, ...(sourceName === undefined ? {} : { sourceName }) };
}

export function staged({ router, rows }: Stage): readonly SalvoRow[] {
  return rows.map(({ destination, destinationName, source, sourceName }) => ({
    router,
    destination,
    destinationName,
    source,
    ...(sourceName === undefined ? {} : { sourceName }),
  }));
}

export type Captured = {
  readonly rows: readonly SalvoRow[];
  readonly left: readonly string[]; // names of those of which the present source is not known now
};

export function captured(
  state: RouterState,
  destinations: readonly number[],
  circumstances: Circumstances,
): Captured {
  const facts = destinations.map((destination) => ({
    destination,
    fact: factShown(state, destination, circumstances),
  }));
  const known = facts.filter(({ fact }) => fact.mark === 'fact');
  const left = facts.filter(({ fact }) => fact.mark !== 'fact');
  return {
    rows: known.map(({ destination, fact }) => rowFor(state, destination, fact.source)),
    left: left.map(({ destination }) => destinationName(state, destination)),
  };
}
