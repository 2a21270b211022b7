// The strip that says that the server is not heard. Moments in ms by this panel's clock.
import { oldSince, type Connection } from '../live/connection';
import { old } from '../texts/clock';
import type { Speech } from '../texts/speech';

// Empty while the server is heard, and before it was heard first: then nothing is shown that is old.
export function serverStrip(speech: Speech, connection: Connection, now: number): string {
  const from = oldSince(connection, now);
  if (from === undefined) return '';
  const age = old(speech, from, now);
  if (connection.state !== 'waiting') return speech.say('serverConnecting', { old: age });
  const seconds = Math.max(0, Math.ceil((connection.retryAt - now) / 1000));
  return speech.say('serverLost', { old: age, time: speech.say('seconds', { seconds }) });
}
