// The entries of the history as they are read: rows of one take are one group.
import type { Schemas } from '../api/ask';
import type { Person } from '../api/types';
import type { Speech, TextKey } from '../texts/speech';
import { lineOf, type Line } from './line';
import type { Entry } from './pages';

export type Group = { readonly id: string; readonly lines: readonly Line[]; readonly said: string };

// Rows of one take fold into one, in their order in it.
export function groupsOf(
  speech: Speech,
  entries: readonly Entry[],
  routers: ReadonlyMap<string, string>,
  now: number,
): readonly Group[] {
  const groups = new Map<string, Line[]>();
  for (const entry of entries) {
    const key = entry.operation ?? entry.id;
    const lines = groups.get(key);
    const line = lineOf(speech, entry, routers, now);
    if (lines === undefined) groups.set(key, [line]);
    else lines.push(line);
  }
  return [...groups].map(([id, lines]) => {
    const inOrder = lines.sort((a, b) => (a.entry.row ?? 0) - (b.entry.row ?? 0));
    return { id, lines: inOrder, said: resultOf(speech, inOrder) };
  });
}

type Wrong = Exclude<Schemas['Outcome'], 'open' | 'confirmed'>;
const COUNTS = {
  contradicted: 'countContradicted',
  timedOut: 'countTimedOut',
  notSent: 'countNotSent',
  refused: 'countNotSent',
  superseded: 'countNotSent',
  unknown: 'countUnknown',
} as const satisfies Record<Wrong, TextKey>;

function resultOf({ say }: Speech, lines: readonly Line[]): string {
  const outcomes = lines.map(({ entry }) => entry.outcome);
  const wrong = outcomes.flatMap((each) =>
    each === undefined || each === 'open' || each === 'confirmed' ? [] : [COUNTS[each]],
  );
  const confirmed = outcomes.filter((each) => each === 'confirmed').length;
  return [
    say('countConfirmedOf', { n: confirmed, all: lines.length }),
    ...[...new Set(wrong)].map((key) =>
      say(key, { n: wrong.filter((each) => each === key).length }),
    ),
  ].join(' · ');
}

// Those who can be filtered by: whom the entries name, and who is filtered by already.
export function peopleIn(entries: readonly Entry[], chosen: string | undefined): readonly Person[] {
  const met = new Map<string, Person>();
  if (chosen !== undefined) met.set(chosen, { id: chosen, name: chosen });
  for (const { person } of entries) if (person !== undefined) met.set(person.id, person);
  return [...met.values()].sort((a, b) => a.name.localeCompare(b.name));
}
