// One attempt after the other at signing in. Moments in ms.
import type { Answer, Refusal } from '../api/ask';
import { refusalWords } from '../api/refusal';
import type { Speech } from '../texts/speech';

export type Attempt =
  | { readonly is: 'none' | 'asking' | 'succeeded' }
  | { readonly is: 'refused'; readonly refusal: Refusal }
  | { readonly is: 'waiting'; readonly until: number }; // the server would not listen before

export function attemptAfter(answer: Answer<unknown>, now: number): Attempt {
  if (answer.ok) return { is: 'succeeded' };
  if (answer.wait !== undefined) return { is: 'waiting', until: now + answer.wait * 1000 };
  return { is: 'refused', refusal: answer };
}

// A wait that is over is none.
export function attemptAt(attempt: Attempt, now: number): Attempt {
  return attempt.is === 'waiting' && now >= attempt.until ? { is: 'none' } : attempt;
}

export function mayTry({ is }: Attempt): boolean {
  return is === 'none' || is === 'refused';
}

export function attemptWords(speech: Speech, attempt: Attempt, now: number): string {
  switch (attempt.is) {
    case 'none':
    case 'succeeded':
      return '';
    case 'asking':
      return speech.say('oneMoment');
    case 'refused':
      return refusalWords(speech.say, attempt.refusal);
    case 'waiting': {
      const seconds = Math.ceil((attempt.until - now) / 1000);
      return speech.say('signInWait', { time: speech.say('seconds', { seconds }) });
    }
  }
}
