// Locking and protecting: what a person is asked, by who holds the destination.
import type { Schemas } from '../api/ask';
import type { Lock } from '../api/types';
import { moment } from '../texts/moment';
import type { Speech } from '../texts/speech';

export type Hold =
  | { readonly is: 'free' }
  | { readonly is: 'mine' }
  | { readonly is: 'foreign'; readonly words: string; readonly because: string };

export const LEAST_REASON = 3; // characters, to break a lock
const HOUR = 3600_000;

export function holdOf(speech: Speech, lock: Lock | undefined, me: string, now: number): Hold {
  if (lock === undefined) return { is: 'free' };
  if (lock.owner.id === me) return { is: 'mine' };
  const time = (told: string) => moment(speech, Date.parse(told), now, false);
  const values = { person: lock.owner.name, since: time(lock.since) };
  const words =
    lock.until === undefined
      ? speech.say('heldSince', values)
      : speech.say('heldSinceUntil', { ...values, until: time(lock.until) });
  const because = lock.reason === '' ? '' : speech.say('heldBecause', { reason: lock.reason });
  return { is: 'foreign', words, because };
}

export function mayBreak(reason: string): boolean {
  return reason.trim().length >= LEAST_REASON;
}

export type End = { readonly is: 'none' | 'hour' } | { readonly is: 'time'; readonly at: number }; // NaN while it is not written

// `now`: ms by the server's clock. None where it would end before it begins.
export function lockWanted(
  mode: Lock['mode'],
  reason: string,
  end: End,
  now: number,
): Schemas['LockWanted'] | undefined {
  if (end.is === 'none') return { mode, reason };
  const until = end.is === 'time' ? end.at : now + HOUR;
  return until > now ? { mode, reason, until: new Date(until).toISOString() } : undefined;
}

export type Selection = Readonly<Record<Hold['is'], readonly number[]>>;

// A selection by who holds what in it: what is free is locked, and where nothing is, mine is freed.
export function held(
  locks: ReadonlyMap<number, Lock>,
  destinations: readonly number[],
  me: string,
): Selection {
  const by = (is: Hold['is']) =>
    destinations.filter((each) => {
      const lock = locks.get(each);
      if (lock === undefined) return is === 'free';
      return is === (lock.owner.id === me ? 'mine' : 'foreign');
    });
  return { free: by('free'), mine: by('mine'), foreign: by('foreign') };
}
