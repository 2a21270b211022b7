// A refusal in words for a person: the server's own, where it has said some.
import type { Say } from '../texts/speech';
import type { Refusal } from './ask';

export function refusalWords(say: Say, { status, sentence }: Refusal): string {
  if (sentence !== undefined) return sentence;
  return status === 0 ? say('serverSilent') : say('serverStatus', { status });
}
