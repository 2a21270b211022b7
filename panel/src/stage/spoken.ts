// What is said aloud when a take has ended: each row of a few, else the headline.
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

// Empty while it has not ended.
export function spoken(speech: Speech, operation: Operation): string {
  if (operation.state !== 'ended') return '';
  const shown = resultsShown(speech, operation, Date.parse(operation.wished));
  if (shown.length > FEW)
    return headline(speech, operation)
      .map(({ words }) => words)
      .join(' · ');
  return shown.map(({ row, words }) => spokenRow(speech, row, words)).join('. ');
}
