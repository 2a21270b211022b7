// How wishes end, in words: the same for a red mark and for a row of results.
import type { OperationRow, Outcome, RouteProblem } from '../api/types';
import { duration } from '../texts/clock';
import type { Speech, TextKey } from '../texts/speech';
import type { Mark } from './marks';

export type Ended = { readonly mark: Mark; readonly words: string };

const WORDS = {
  contradicted: ['contradicted', 'contradicted'],
  timedOut: ['timedOut', 'timedOut'],
  notSent: ['notSent', 'notSent'],
  refused: ['notSent', 'refused'],
  superseded: ['notSent', 'superseded'],
  unknown: ['outcomeUnknown', 'outcomeUnknown'],
} as const satisfies Record<Exclude<Outcome, 'open' | 'confirmed'>, readonly [Mark, TextKey]>;

type Wrong = { readonly outcome: keyof typeof WORDS; readonly detail: string };

export function wentWrong(speech: Speech, { outcome, detail }: Wrong): Ended {
  const [mark, key] = WORDS[outcome];
  const said = speech.say(key);
  return {
    mark,
    words: detail === '' ? said : speech.say('outcomeBecause', { outcome: said, reason: detail }),
  };
}

export function ended(
  speech: Speech,
  row: Pick<OperationRow, 'unchanged' | 'latencyMs' | 'lateMs' | 'detail'>,
  outcome: Exclude<Outcome, 'open'>,
): Ended {
  if (outcome !== 'confirmed' && row.lateMs !== undefined)
    return {
      mark: 'confirmedLate',
      words: speech.say('confirmedLate', { time: duration(speech, row.lateMs) }),
    };
  if (outcome !== 'confirmed') return wentWrong(speech, { outcome, detail: row.detail ?? '' });
  if (row.unchanged === true) return { mark: 'confirmed', words: speech.say('alreadySo') };
  if (row.latencyMs === undefined) return { mark: 'confirmed', words: speech.say('confirmed') };
  return {
    mark: 'confirmed',
    words: speech.say('confirmedIn', { time: duration(speech, row.latencyMs) }),
  };
}

// A problem is told while it lasts: a wish that is open, or has been confirmed, is none.
export function problemWords(speech: Speech, { outcome, detail }: RouteProblem): Ended | undefined {
  if (outcome === 'open' || outcome === 'confirmed') return undefined;
  return wentWrong(speech, { outcome, detail });
}
