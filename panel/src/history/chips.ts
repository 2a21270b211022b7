// The filters that are set, in words, and what an address has without one of them.
import type { HistoryFilters } from '../addresses/address';
import type { Speech, TextKey } from '../texts/speech';
import { whyWords } from './line';

type Name = keyof HistoryFilters;
export type Names = {
  readonly person: (id: string) => string;
  readonly router: (id: string) => string;
  readonly destination: (index: string) => string;
  readonly source: (index: string) => string;
};
export type Chip = { readonly name: Name; readonly words: string };

export const RESULTS = [
  'confirmed',
  'contradicted',
  'timedOut',
  'notSent',
  'refused',
  'superseded',
  'unknown',
] as const;
const TIMES = { hour: 'lastHour', today: 'today', range: 'range' } as const;
const RESULT_WORDS = {
  confirmed: 'confirmed',
  contradicted: 'contradicted',
  timedOut: 'timedOut',
  notSent: 'notSent',
  refused: 'refused',
  superseded: 'replaced',
  unknown: 'outcomeUnknown',
} as const satisfies Record<(typeof RESULTS)[number], TextKey>;

const has = <T extends object>(table: T, word: string): word is keyof T & string =>
  Object.hasOwn(table, word);

export function resultWords({ say }: Speech, result: string): string {
  return has(RESULT_WORDS, result) ? say(RESULT_WORDS[result]) : result;
}

// The bounds of a range go with it.
export function without(filters: HistoryFilters, name: Name): HistoryFilters {
  const gone: readonly Name[] = name === 'time' ? ['time', 'from', 'to'] : [name];
  return Object.fromEntries(
    Object.entries(filters).filter(([each]) => !gone.some((other) => other === each)),
  );
}

// What another router calls by these numbers is something else.
export function withFilter(filters: HistoryFilters, name: Name, value: string): HistoryFilters {
  const base = name === 'router' ? without(without(filters, 'dest'), 'source') : filters;
  return value === '' ? without(base, name) : { ...base, [name]: value };
}

const LABELS = {
  time: 'filterTime',
  who: 'filterPerson',
  router: 'columnRouter',
  dest: 'columnDestination',
  source: 'filterSource',
  why: 'columnWhy',
  result: 'columnResult',
  take: 'whyTake',
  text: 'freeText',
} as const;

export function chips(speech: Speech, filters: HistoryFilters, names: Names): readonly Chip[] {
  const { say } = speech;
  const { time, who, router, dest, source, why, result, take, text } = filters;
  const values = {
    time: time && (has(TIMES, time) ? say(TIMES[time]) : time),
    who: who && names.person(who),
    router: router && names.router(router),
    dest: dest && names.destination(dest),
    source: source && names.source(source),
    why: why && whyWords(speech, why),
    result: result && resultWords(speech, result),
    take: take && say('thisOne'),
    text,
  };
  return (Object.keys(LABELS) as (keyof typeof LABELS)[]).flatMap((name) => {
    const value = values[name];
    if (value === undefined) return [];
    return [{ name, words: say('chip', { filter: say(LABELS[name]), value }) }];
  });
}
