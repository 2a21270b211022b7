// For tests: a router and a person's things as the server keeps them, changed at random. Each change
// is made on the plain data here and told as the server tells it.
import type {
  Change,
  MyData,
  OpenWish,
  Operation,
  RouteProblem,
  Router,
  RouterData,
  Source,
  Stage,
} from '../api/types';

export type Chance = () => number; // from 0 to below 1

export function chanceOf(seed: number): Chance {
  let state = seed;
  return () => {
    state = (state + 0x6d2b79f5) | 0;
    let mixed = Math.imul(state ^ (state >>> 15), 1 | state);
    mixed = (mixed + Math.imul(mixed ^ (mixed >>> 7), 61 | mixed)) ^ mixed;
    return ((mixed ^ (mixed >>> 14)) >>> 0) / 2 ** 32;
  };
}

export const below = (chance: Chance, n: number) => Math.floor(chance() * n);
export const oneOf = <const T extends readonly unknown[]>(chance: Chance, things: T): T[number] =>
  things[below(chance, things.length)];

export const TIME = '2026-11-22T14:02:11.870Z';
export const BEN = { id: 'ben', name: 'Ben L.' };
export const ANA = { id: 'ana', name: 'Ana K.' };

export function routerOf(revision: number): Router {
  return {
    id: 'r1',
    name: 'STUDIO A',
    address: '10.0.0.7',
    port: 12345,
    simulated: false,
    sourceLimit: 0,
    destinationLimit: 0,
    firstNumber: 1,
    confirmationLimitMs: 3000,
    link: { state: 'ready', since: TIME },
    sources: 8,
    destinations: 8,
    routableSources: 8,
    routableDestinations: 8,
    problems: 0,
    locks: 0,
    revision,
  };
}

export function nameOf(index: number, name = `CAM ${index + 1}`): Source {
  return { index, number: index + 1, name, routerName: name, alias: '', group: '', routable: true };
}

const SIZE = 8;
const range = Array.from({ length: SIZE }, (_, i) => i);

export function routerData(): RouterData {
  return {
    router: routerOf(1),
    sources: range.map((i) => nameOf(i)),
    destinations: range.map((i) => nameOf(i, `MON ${i + 1}`)),
    routes: { sources: [...range], times: range.map(() => 0), stale: [], by: {} },
    wishes: [],
    problems: [],
    locks: [],
    stages: [],
  };
}

export function wishOf(source: number | null): OpenWish {
  return { operation: '01', row: 0, source, state: 'sent', person: BEN, wished: TIME, sent: TIME };
}

export function problemOf(outcome: RouteProblem['outcome'], detail = ''): RouteProblem {
  return {
    operation: '01',
    row: 0,
    source: 3,
    sourceName: 'CAM 4',
    outcome,
    detail,
    person: BEN,
    ended: TIME,
  };
}

const without = <T extends { destination: number }>(list: readonly T[], destination: number) =>
  list.filter((each) => each.destination !== destination);

type Maker = (data: RouterData, chance: Chance) => Change;

function name(side: 'sources' | 'destinations'): Maker {
  return (data, chance) => {
    const list = data[side];
    const count = Math.max(1, list.length + below(chance, 3) - 1);
    const rows = range
      .slice(0, 2)
      .map(() => nameOf(below(chance, count), `N ${below(chance, 100)}`));
    const unique = rows.filter(
      (each, i) => rows.findIndex((row) => row.index === each.index) === i,
    );
    if (count > list.length && !unique.some((each) => each.index === count - 1))
      unique.push(nameOf(count - 1, 'new'));
    data[side] = Array.from(
      { length: count },
      (_, i) => unique.find((each) => each.index === i) ?? list[i] ?? nameOf(i),
    );
    return { kind: side, count, rows: unique };
  };
}

const MAKERS: readonly Maker[] = [
  (data, chance) => {
    data.router = routerOf(below(chance, 1000));
    return { kind: 'router', router: data.router };
  },
  name('sources'),
  name('destinations'),
  (data, chance) => {
    const { sources, times, by } = data.routes;
    const destination = below(chance, sources.length + 2);
    while (sources.length < destination) {
      sources.push(-2);
      times.push(0);
    }
    const source = below(chance, SIZE + 2) - 2;
    const who = oneOf(chance, [BEN, null, 'unknown']);
    sources[destination] = source;
    times[destination] = below(chance, 1e6);
    const others = Object.entries(by).filter(([each]) => each !== String(destination));
    data.routes.by = Object.fromEntries(
      who === 'unknown' ? others : [...others, [destination, who]],
    );
    return { kind: 'routes', routes: [[destination, source, times[destination], who]] };
  },
  (data, chance) => {
    data.routes.stale = data.routes.sources.map((_, i) => i).filter(() => chance() < 0.3);
    return { kind: 'stale', destinations: data.routes.stale };
  },
  (data, chance) => {
    const destination = below(chance, SIZE);
    const wish = chance() < 0.5 ? null : wishOf(below(chance, SIZE));
    data.wishes = without(data.wishes, destination);
    if (wish) data.wishes.push({ kind: 'wish', destination, wish });
    return { kind: 'wish', destination, wish };
  },
  (data, chance) => {
    const destination = below(chance, SIZE);
    const problem = chance() < 0.5 ? null : problemOf('timedOut');
    data.problems = without(data.problems, destination);
    if (problem) data.problems.push({ kind: 'problem', destination, problem });
    return { kind: 'problem', destination, problem };
  },
  (data, chance) => {
    const destination = below(chance, SIZE);
    const has = {
      router: 'r1',
      destination,
      destinationName: 'MON',
      owner: BEN,
      reason: '',
      since: TIME,
    };
    const lock = chance() < 0.5 ? null : { ...has, mode: oneOf(chance, ['lock', 'protect']) };
    data.locks = without(data.locks, destination);
    if (lock) data.locks.push(lock);
    return { kind: 'lock', destination, lock };
  },
  (data, chance) => {
    const person = oneOf(chance, [ANA, BEN]);
    const staged = { person, destinations: range.filter(() => chance() < 0.2) };
    data.stages = data.stages.filter((each) => each.person.id !== person.id);
    if (staged.destinations.length > 0) data.stages.push(staged);
    return { kind: 'staged', staged };
  },
];

export function changeData(data: RouterData, chance: Chance): Change {
  return oneOf(chance, MAKERS)(data, chance);
}

export function stageOf(router: string, destinations: readonly number[]): Stage {
  const rows = destinations.map((destination) => ({
    destination,
    destinationName: `MON ${destination + 1}`,
    source: 1,
    sourceName: 'CAM 2',
    seen: 0,
    seenName: 'CAM 1',
    staged: TIME,
    changed: false,
  }));
  return { router, rows };
}

export function myData(): MyData {
  const settings: MyData['settings'] = {
    theme: 'dark',
    density: 'comfortable',
    view: 'matrix',
    swapAxes: false,
    cellSize: 'L',
    headerWidth: 292,
    hotMinutes: 10,
    sourceFirst: false,
    sound: false,
    volume: 50,
    singleKeys: true,
    language: 'en',
    hintsSeen: true,
    pins: [],
    folds: [],
    starredSalvos: [],
  };
  return { stages: [stageOf('r1', [2])], settings, undo: 0, redo: 0, notices: [] };
}

export function operationOf(
  id: string,
  outcome: Operation['rows'][0]['outcome'] = 'open',
): Operation {
  return {
    id,
    kind: 'take',
    state: outcome === 'open' ? 'open' : 'ended',
    rule: 'all',
    actor: { person: ANA, origin: 'panel' },
    wished: TIME,
    counts: { [outcome]: 1 },
    rows: [
      {
        router: 'r1',
        destination: 4,
        destinationName: 'MON 5',
        source: 6,
        sourceName: 'CAM 7',
        outcome,
      },
    ],
  };
}
