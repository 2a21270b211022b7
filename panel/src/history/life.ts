// The life of a route as marks on a line from when it was wished to what came last of it. Moments are
// ms since 1970 by the server's clock; places on the line are percent.
import type { Schemas } from '../api/ask';
import { duration } from '../texts/clock';
import { exactClock } from '../texts/moment';
import type { Speech } from '../texts/speech';

// Of an operation's row and of an entry of the history alike: ms since it was wished.
export type Moments = Partial<
  Pick<Schemas['OperationRow'], 'sentMs' | 'answeredMs' | 'endedMs' | 'latencyMs' | 'lateMs'>
>;
export type Step = {
  readonly is: 'wished' | 'sent' | 'answered' | 'reported' | 'ended' | 'reportedLate';
  readonly at: number; // percent
  readonly words: string;
};
export type Life = {
  readonly steps: readonly Step[]; // in the order of their moments
  readonly queued: { readonly until: number; readonly words: string } | undefined; // from the start
};

const WORDS = {
  wished: 'lifeWished',
  sent: 'lifeSent',
  answered: 'lifeAnswered',
  reported: 'lifeReported',
  ended: 'lifeEnded',
  reportedLate: 'lifeReportedLate',
} as const;
const GAP = 12; // between marks: they are told apart, however close their moments are

function places(moments: readonly number[]): readonly number[] {
  const last = Math.max(...moments, 1);
  let least = 0;
  const apart = moments.map((moment) => {
    const place = Math.max((moment / last) * 100, least);
    least = place + GAP;
    return place;
  });
  let most = 100;
  return apart
    .reverse()
    .map((place) => {
      const kept = Math.min(place, most);
      most = kept - GAP;
      return kept;
    })
    .reverse();
}

export function lifeOf(speech: Speech, wished: number, moments: Moments): Life {
  const { sentMs, answeredMs, endedMs, latencyMs, lateMs } = moments;
  const found = [
    { is: 'wished', ms: 0 },
    { is: 'sent', ms: sentMs },
    { is: 'answered', ms: answeredMs },
    { is: 'reported', ms: latencyMs },
    { is: 'ended', ms: latencyMs === undefined ? endedMs : undefined },
    { is: 'reportedLate', ms: lateMs },
  ] as const;
  const known = found
    .flatMap(({ is, ms }) => (ms === undefined ? [] : [{ is, ms }]))
    .sort((a, b) => a.ms - b.ms);
  const at = places(known.map(({ ms }) => ms));
  const steps = known.map(({ is, ms }, i) => ({
    is,
    at: at[i] ?? 0,
    words: speech.say(WORDS[is], { clock: exactClock(speech, wished + ms) }),
  }));
  const sent = steps.find(({ is }) => is === 'sent');
  if (sent === undefined || sentMs === undefined) return { steps, queued: undefined };
  const words = speech.say('lifeQueued', { time: duration(speech, sentMs) });
  return { steps, queued: { until: sent.at, words } };
}
