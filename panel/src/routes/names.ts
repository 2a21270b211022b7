// What sources and destinations are called.
import { NO_SOURCE, UNKNOWN_SOURCE, type RouterState } from '../live/router_topic';
import type { Speech } from '../texts/speech';

// A name that came with the source counts before the present one.
export function sourceName(
  speech: Speech,
  state: RouterState,
  source: number,
  told?: string,
): string {
  if (source === NO_SOURCE) return speech.say('noSource');
  if (source === UNKNOWN_SOURCE) return speech.say('unknown');
  return told ?? state.sources[source]?.name ?? String(source + state.router.firstNumber);
}

export function destinationName(state: RouterState, destination: number): string {
  const known = state.destinations[destination]?.name;
  return known ?? String(destination + state.router.firstNumber);
}
