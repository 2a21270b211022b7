// Locking and protecting: what a person is asked, by who holds the destination.
import type { Lock } from '../api/types';
import { clock } from '../texts/clock';
import type { Speech } from '../texts/speech';

export type Hold =
  | { readonly is: 'free' }
  | { readonly is: 'mine' }
  | { readonly is: 'foreign'; readonly words: string; readonly because: string };

export const LEAST_REASON = 3; // characters, to break a lock
const HOUR = 3600_000;

export function holdOf(speech: Speech, lock: Lock | undefined, me: string): Hold {
  if (lock === undefined) return { is: 'free' };
  if (lock.owner.id === me) return { is: 'mine' };
  const time = (moment: string) => clock(speech, Date.parse(moment), false);
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

// `now`: ms by the server's clock.
export function lockWanted(mode: Lock['mode'], reason: string, inOneHour: boolean, now: number) {
  return {
    mode,
    reason,
    ...(inOneHour ? { until: new Date(now + HOUR).toISOString() } : {}),
  };
}
