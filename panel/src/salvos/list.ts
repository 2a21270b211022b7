// The list of salvos: by name, as far as the search finds them, with the keys of those that are starred.
import type { SalvoSummary } from '../api/types';

export type Listed = {
  readonly salvo: SalvoSummary;
  readonly isStarred: boolean;
  readonly digit: number | undefined; // the key that selects it
};
export const KEYS = 9;

const plain = (text: string) => text.normalize('NFKD').replace(/\p{M}/gu, '').toLowerCase();

// Those that have keys: the first that were starred, as far as they are there.
export function keyed(
  salvos: ReadonlyMap<string, SalvoSummary>,
  starred: readonly string[],
): readonly string[] {
  return starred.filter((id) => salvos.has(id)).slice(0, KEYS);
}

// Each word of the search has to be in the name or the note.
export function listed(
  salvos: ReadonlyMap<string, SalvoSummary>,
  starred: readonly string[],
  search: string,
): readonly Listed[] {
  const words = plain(search).split(/\s+/u);
  const keys = keyed(salvos, starred);
  return [...salvos.values()]
    .filter(({ name, note }) => words.every((word) => plain(`${name} ${note}`).includes(word)))
    .sort((a, b) => a.name.localeCompare(b.name, undefined, { numeric: true }))
    .map((salvo) => {
      const at = keys.indexOf(salvo.id);
      const digit = at === -1 ? undefined : at + 1;
      return { salvo, isStarred: starred.includes(salvo.id), digit };
    });
}

export function withStar(starred: readonly string[], id: string): string[] {
  return starred.includes(id) ? starred.filter((each) => each !== id) : [...starred, id];
}
