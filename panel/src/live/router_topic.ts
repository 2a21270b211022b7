// What is known of one router, as the server tells it: first all of it, then what changes. Every
// record is new when something in it is; what has not changed stays the same record.
import type {
  Change,
  Destination,
  Lock,
  OpenWish,
  Person,
  RouteProblem,
  Router,
  RouterData,
  RouteTuple,
  Source,
  StagedBy,
} from '../api/types';

export const NO_SOURCE = -1;
export const UNKNOWN_SOURCE = -2;

// What the router said last of a destination.
export type Fact = {
  readonly source: number; // an index, NO_SOURCE or UNKNOWN_SOURCE
  readonly since: number; // ms since 1970; 0 when not known
  readonly stale: boolean; // known from before the present link only
  readonly by: Person | null | 'unknown'; // whose wish it was; null: nobody's here
};

export type RouterState = {
  readonly kind: 'router';
  readonly router: Router;
  readonly sources: readonly Source[];
  readonly destinations: readonly Destination[];
  readonly facts: readonly Fact[]; // by destination
  readonly wishes: ReadonlyMap<number, OpenWish>; // by destination, as are the next two
  readonly problems: ReadonlyMap<number, RouteProblem>;
  readonly locks: ReadonlyMap<number, Lock>;
  readonly stages: ReadonlyMap<string, StagedBy>; // by person
};

export const UNKNOWN_FACT: Fact = { source: UNKNOWN_SOURCE, since: 0, stale: false, by: 'unknown' };

export function beginRouter(data: RouterData): RouterState {
  const { sources, times, stale, by } = data.routes;
  const isStale = new Set(stale);
  return {
    kind: 'router',
    router: data.router,
    sources: data.sources,
    destinations: data.destinations,
    facts: sources.map((source, i) => ({
      source,
      since: times[i] ?? 0,
      stale: isStale.has(i),
      by: by[i] === undefined ? 'unknown' : by[i],
    })),
    wishes: new Map(
      data.wishes.flatMap(({ destination, wish }) => (wish ? [[destination, wish]] : [])),
    ),
    problems: new Map(
      data.problems.flatMap(({ destination, problem }) =>
        problem ? [[destination, problem]] : [],
      ),
    ),
    locks: new Map(data.locks.map((lock) => [lock.destination, lock])),
    stages: new Map(data.stages.map((staged) => [staged.person.id, staged])),
  };
}

export function withEntry<K, V>(
  map: ReadonlyMap<K, V>,
  key: K,
  value: V | null,
): ReadonlyMap<K, V> {
  const changed = new Map(map);
  if (value === null) changed.delete(key);
  else changed.set(key, value);
  return changed;
}

// Those that have changed take their places; those beyond the count have gone.
function withNames<T extends Source>(
  names: readonly T[],
  count: number,
  rows: readonly T[],
): readonly T[] {
  const byIndex = new Map(rows.map((each) => [each.index, each]));
  const kept = names.slice(0, count).map((each) => byIndex.get(each.index) ?? each);
  return [...kept, ...rows.filter((each) => each.index >= kept.length && each.index < count)];
}

function withRoutes(facts: readonly Fact[], routes: readonly RouteTuple[]): readonly Fact[] {
  const changed = [...facts];
  for (const [destination, source, since, by] of routes) {
    while (changed.length < destination) changed.push(UNKNOWN_FACT);
    changed[destination] = { source, since, by, stale: changed[destination]?.stale ?? false };
  }
  return changed;
}

function withStale(facts: readonly Fact[], destinations: readonly number[]): readonly Fact[] {
  const isStale = new Set(destinations);
  return facts.map((fact, i) =>
    fact.stale === isStale.has(i) ? fact : { ...fact, stale: !fact.stale },
  );
}

const KINDS = [
  'router',
  'sources',
  'destinations',
  'routes',
  'stale',
  'wish',
  'problem',
  'lock',
  'staged',
] as const;
type RouterTopicChange = Extract<Change, { kind: (typeof KINDS)[number] }>;

function isOfRouter(change: Change): change is RouterTopicChange {
  return KINDS.some((kind) => kind === change.kind);
}

// Changes of other topics, and of kinds that are not known here, change nothing.
export function changeRouter(state: RouterState, change: Change): RouterState {
  if (!isOfRouter(change)) return state;
  switch (change.kind) {
    case 'router':
      return { ...state, router: change.router };
    case 'sources':
      return { ...state, sources: withNames(state.sources, change.count, change.rows) };
    case 'destinations':
      return { ...state, destinations: withNames(state.destinations, change.count, change.rows) };
    case 'routes':
      return { ...state, facts: withRoutes(state.facts, change.routes) };
    case 'stale':
      return { ...state, facts: withStale(state.facts, change.destinations) };
    case 'wish':
      return { ...state, wishes: withEntry(state.wishes, change.destination, change.wish) };
    case 'problem':
      return { ...state, problems: withEntry(state.problems, change.destination, change.problem) };
    case 'lock':
      return { ...state, locks: withEntry(state.locks, change.destination, change.lock) };
    case 'staged': {
      const { person, destinations } = change.staged;
      const staged = destinations.length === 0 ? null : change.staged;
      return { ...state, stages: withEntry(state.stages, person.id, staged) };
    }
  }
}
