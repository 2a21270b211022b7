// The entries that are read: newest first, with those that have come and wait to be shown, so that
// nothing moves under who reads.
import type { Schemas } from '../api/ask';

export type Entry = Schemas['HistoryEntry'];
type Page = Schemas['HistoryPage'];
export type Pages = {
  readonly shown: readonly Entry[];
  readonly waiting: readonly Entry[];
  readonly next: string | undefined; // the cursor of older ones
};
export type Reader = {
  readonly live: boolean; // new ones are wanted as they come
  readonly scrolled: boolean; // away from the newest
  readonly touched: boolean; // the pointer or the focus is on an entry
};

export const NONE: Pages = { shown: [], waiting: [], next: undefined };
export const OVERLAP = 120_000; // ms: entries come when a wish has ended, at the time of its beginning

export function begin({ entries, next }: Page): Pages {
  return { shown: entries, waiting: [], next };
}

export function withOlder(pages: Pages, { entries, next }: Page): Pages {
  const known = new Set(pages.shown.map(({ id }) => id));
  return { ...pages, shown: [...pages.shown, ...entries.filter(({ id }) => !known.has(id))], next };
}

const byAge = (a: Entry, b: Entry) => (a.id < b.id ? 1 : a.id > b.id ? -1 : 0);

export function showWaiting(pages: Pages): Pages {
  return { ...pages, shown: [...pages.waiting, ...pages.shown].sort(byAge), waiting: [] };
}

const mayMove = ({ live, scrolled, touched }: Reader) => live && !scrolled && !touched;

// Cells of known entries may change at once; new entries wait while they would move what is read.
export function withNewer(pages: Pages, found: readonly Entry[], reader: Reader): Pages {
  const fresh = new Map(found.map((entry) => [entry.id, entry]));
  const renew = (entries: readonly Entry[]) =>
    entries.map((entry) => {
      const newer = fresh.get(entry.id) ?? entry;
      fresh.delete(entry.id);
      return newer;
    });
  const known = { ...pages, shown: renew(pages.shown), waiting: renew(pages.waiting) };
  const waiting = [...known.waiting, ...fresh.values()].sort(byAge);
  const all = { ...known, waiting };
  return mayMove(reader) ? showWaiting(all) : all;
}

// From when on to ask for newer ones; none: from where the filters begin.
export function newerFrom({ shown, waiting }: Pages): string | undefined {
  const newest = [...waiting, ...shown].sort(byAge)[0];
  if (newest === undefined) return undefined;
  return new Date(Date.parse(newest.time) - OVERLAP).toISOString();
}
