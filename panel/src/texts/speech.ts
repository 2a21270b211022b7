// How the panel speaks: a catalogue, its language's plurals, and the time zone of the clock.
import type { english } from './english';
import { fill, type Template, type Values } from './template';

export type TextKey = keyof typeof english;
export type Catalogue = Readonly<Record<TextKey, Template>>;
export type TextValues<K extends TextKey> = Values<(typeof english)[K]>;
export type Say = <K extends TextKey>(
  key: K,
  ...values: keyof TextValues<K> extends never ? [] : [TextValues<K>]
) => string;

export type Speech = {
  readonly say: Say;
  readonly language: string;
  readonly timeZone: string; // an IANA name
};

export function speechOf(catalogue: Catalogue, language: string, timeZone: string): Speech {
  const plurals = new Intl.PluralRules(language);
  const say: Say = (key, ...values) => fill(catalogue[key], values[0] ?? {}, plurals);
  return { say, language, timeZone };
}
