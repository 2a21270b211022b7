// What is said aloud when a take has ended: each row of a few, else the headline. What timed out
// interrupts whatever is being said.
import type { Operation, OperationRow } from '../api/types';
import type { Speech } from '../texts/speech';
import { headline, resultsShown } from './results';

const FEW = 3; // rows

function spokenRow(speech: Speech, row: OperationRow, words: string): string {
  const { say } = speech;
  const { outcome, latencyMs, destinationName: destination } = row;
  if (outcome === 'confirmed' && latencyMs !== undefined)
    return say('spokenConfirmed', {
      destination,
      time: say('spokenMilliseconds', { n: Math.round(latencyMs) }),
    });
  if (outcome === 'timedOut') return say('spokenTimedOut', { destination });
  return say('spokenResult', { destination, result: words });
}

export type Spoken = { readonly politely: string; readonly urgently: string };

export const NOTHING: Spoken = { politely: '', urgently: '' };

// Nothing while it has not ended.
export function spoken(speech: Speech, operation: Operation): Spoken {
  if (operation.state !== 'ended') return NOTHING;
  const shown = resultsShown(speech, operation, Date.parse(operation.wished));
  if (shown.length > FEW) {
    const words = headline(speech, operation).map((part) => part.words);
    return { ...NOTHING, politely: words.join(' · ') };
  }
  const sentences = (urgent: boolean) =>
    shown
      .filter(({ row }) => (row.outcome === 'timedOut') === urgent)
      .map(({ row, words }) => spokenRow(speech, row, words))
      .join('. ');
  return { politely: sentences(false), urgently: sentences(true) };
}
