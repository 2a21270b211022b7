// What others hold: locks, protects, and what they have staged.
import type { Lock, StagedBy } from '../api/types';
import { moment } from '../texts/moment';
import type { Circumstances } from './fact';
import type { Mark } from './marks';

export type Guard = { readonly mark: Mark; readonly words: string };

function until({ speech, now }: Circumstances, lock: Lock): string | undefined {
  return lock.until === undefined ? undefined : moment(speech, Date.parse(lock.until), now, false);
}

export function lockShown(lock: Lock | undefined, circumstances: Circumstances): Guard | undefined {
  if (lock === undefined) return undefined;
  const { speech, me } = circumstances;
  const person = lock.owner.name;
  if (lock.mode === 'protect') {
    if (lock.owner.id === me) return { mark: 'protectedByMe', words: speech.say('protectedByYou') };
    return { mark: 'protectedByOther', words: speech.say('protectedBy', { person }) };
  }
  const time = until(circumstances, lock);
  const words =
    time === undefined
      ? speech.say('lockedBy', { person })
      : speech.say('lockedUntil', { person, time });
  return { mark: 'locked', words };
}

// What it says of a destination that somebody tries to route.
export function lockSentence(
  lock: Lock,
  destination: string,
  circumstances: Circumstances,
): string | undefined {
  if (lock.mode === 'protect') return lockShown(lock, circumstances)?.words;
  const { say } = circumstances.speech;
  const values = { destination, person: lock.owner.name };
  const time = until(circumstances, lock);
  return time === undefined
    ? say('lockedCrossing', values)
    : say('lockedCrossingUntil', { ...values, time });
}

// A lock holds for its owner too, a protect for all others.
export function mayRoute(lock: Lock | undefined, me: string): boolean {
  return lock === undefined || (lock.mode === 'protect' && lock.owner.id === me);
}

export function stagedShown(
  stages: ReadonlyMap<string, StagedBy>,
  destination: number,
  { speech, me }: Circumstances,
): readonly Guard[] {
  return [...stages.values()]
    .filter(({ person, destinations }) => person.id !== me && destinations.includes(destination))
    .map(({ person }) => ({
      mark: 'stagedByOther',
      words: speech.say('stagedBy', { person: person.name }),
    }));
}
