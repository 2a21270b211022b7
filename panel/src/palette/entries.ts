// What the palette finds: every command with its keys, and every place that one can go to.
import type { Address } from '../addresses/address';
import type { Router, SalvoSummary } from '../api/types';
import { shownChord } from '../keys/chord';
import { KEY_TABLE, type Command, type Context } from '../keys/table';
import type { RouterState } from '../live/router_topic';
import { matchesText, readFilter } from '../search/filter';
import type { Say } from '../texts/speech';

export type Numbers = { readonly destination?: number; readonly source?: number }; // as people see them
export type Deed = { readonly go: Address } | { readonly command: Command; readonly to?: Numbers };
// A screen with commands of its own.
export type Work = {
  readonly contextsOf: (target: Element) => readonly Context[];
  readonly run: (command: Command, target: Element, to?: Numbers) => boolean;
};
export type Entry = {
  readonly words: string;
  readonly about: string; // what it is
  readonly keys: string;
  readonly deed: Deed;
};

export const CONTEXT_TEXTS = {
  anywhere: 'anywhere',
  routing: 'routing',
  matrix: 'matrix',
  xy: 'xy',
  stage: 'stageTitle',
  salvos: 'salvos',
} as const;
const ROWS: readonly (typeof KEY_TABLE)[number][] = KEY_TABLE;
const MOST = 50; // that are shown

export function keysShown(keys: readonly string[], isMac: boolean): string {
  const shown = (key: string) =>
    key
      .split(' ')
      .map((chord) => shownChord(chord, isMac))
      .join(' ');
  return keys.map(shown).join(', ');
}

export function commandEntries(
  say: Say,
  contexts: readonly Context[],
  isMac: boolean,
): readonly Entry[] {
  return ROWS.filter(({ context }) => contexts.includes(context)).map((row) => ({
    words: say(row.words),
    about: say(CONTEXT_TEXTS[row.context]),
    keys: keysShown(row.keys, isMac),
    deed: { command: row.command },
  }));
}

// `present`: the router at work, whose destinations and sources these are.
export function placeEntries(
  say: Say,
  routers: readonly Router[],
  present: RouterState | undefined,
  salvos: Iterable<SalvoSummary>,
): readonly Entry[] {
  const entry = (words: string, about: string, deed: Deed) => ({ words, about, keys: '', deed });
  return [
    ...routers.map(({ id, name }) =>
      entry(name, say('router'), { go: { screen: 'routing', router: id } }),
    ),
    ...[...salvos].map(({ id, name }) =>
      entry(name, say('salvo'), { go: { screen: 'salvos', salvo: id } }),
    ),
    ...(present?.destinations ?? []).map(({ number, name }) =>
      entry(say('numbered', { number, name }), say('columnDestination'), {
        command: 'goTo',
        to: { destination: number },
      }),
    ),
    ...(present?.sources ?? []).map(({ number, name }) =>
      entry(say('numbered', { number, name }), say('source'), {
        command: 'goTo',
        to: { source: number },
      }),
    ),
  ];
}

// All words must be found.
export function found(entries: readonly Entry[], text: string): readonly Entry[] {
  const wanted = readFilter(text);
  return entries
    .filter(({ words, about }) => matchesText(wanted, `${words} ${about}`))
    .slice(0, MOST);
}
