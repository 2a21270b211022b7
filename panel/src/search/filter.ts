// The filter of an axis and the search in lists. Its words, parted by blanks, must all be found:
// "cam" is how a word of the number, alias, router's name or group begins; "12" is the whole number;
// "12-40" numbers that people see; "@mon" how a word of the group begins. Case and accents are nothing.
import type { Source } from '../api/types';

export type Filter = readonly Word[];
type Word =
  | { readonly kind: 'text' | 'group'; readonly needle: string }
  | { readonly kind: 'range'; readonly from: number; readonly to: number };

const RANGE = /^(\d{1,4})[-–](\d{1,4})$/;

// Runs of letters and of digits: "CAM-07b" is cam, 7, b.
function tokens(text: string): readonly string[] {
  const plain = text.normalize('NFKD').replace(/\p{M}/gu, '').toLowerCase();
  const runs = plain.match(/\p{L}+|\p{N}+|[^\p{L}\p{N}\s]+/gu) ?? [];
  return runs.map((run) => run.replace(/^0+(?=\d)/, ''));
}

const hay = (...texts: readonly string[]) =>
  texts.map((text) => ` ${tokens(text).join(' ')} `).join('|');

// Writing without capitals mostly has no blanks either: there a word may stand anywhere.
function needleOf(text: string): string {
  const parts = tokens(text);
  const first = parts[0] ?? '';
  const last = parts.at(-1) ?? '';
  const anywhere = /^\p{Lo}/u.test(first);
  return `${anywhere ? '' : ' '}${parts.join(' ')}${/^\d/.test(last) ? ' ' : ''}`;
}

function wordOf(text: string): Word {
  const range = RANGE.exec(text);
  if (range !== null) return { kind: 'range', from: Number(range[1]), to: Number(range[2]) };
  if (text.startsWith('@') && text.length > 1)
    return { kind: 'group', needle: needleOf(text.slice(1)) };
  return { kind: 'text', needle: needleOf(text) };
}

export function readFilter(text: string): Filter {
  return text
    .split(/\s+/u)
    .filter((each) => each !== '')
    .map(wordOf);
}

// Where there are no numbers that people see: ranges of them are not found.
export function matchesText(filter: Filter, text: string): boolean {
  const words = hay(text);
  return filter.every((word) => word.kind !== 'range' && words.includes(word.needle));
}

export function matches(filter: Filter, name: Source): boolean {
  if (filter.length === 0) return true;
  const all = hay(String(name.number), name.alias, name.routerName ?? '', name.name, name.group);
  const group = hay(name.group);
  return filter.every((word) => {
    if (word.kind === 'range') return name.number >= word.from && name.number <= word.to;
    return (word.kind === 'group' ? group : all).includes(word.needle);
  });
}
