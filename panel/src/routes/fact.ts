// What is shown of a fact: what the router said last, and how old that is.
import {
  NO_SOURCE,
  UNKNOWN_FACT,
  UNKNOWN_SOURCE,
  type Fact,
  type RouterState,
} from '../live/router_topic';
import { age } from '../texts/clock';
import type { Speech } from '../texts/speech';
import type { Mark } from './marks';
import { sourceName } from './names';

// Moments in ms by the server's clock. `oldSince`: when this panel heard the server last, while it
// does not hear it.
export type Circumstances = {
  readonly speech: Speech;
  readonly now: number;
  readonly me: string; // a person's id
  readonly oldSince: number | undefined;
};

export type FactShown = {
  readonly source: number;
  readonly sourceName: string;
  readonly mark: Extract<Mark, 'fact' | 'stale' | 'unknown'>;
  readonly words: string; // empty for a fact of now
  readonly since: number; // 0 when not known
  readonly by: string; // a person's name, or that it was nobody here; empty when not known
};

// Since when facts of earlier connections are old: the link was lost then.
function staleSince({ router }: RouterState): number {
  return Date.parse(router.staleSince ?? router.link.since);
}

function isStale(state: RouterState, fact: Fact): boolean {
  return fact.stale || state.router.link.state !== 'ready';
}

export function factShown(
  state: RouterState,
  destination: number,
  circumstances: Circumstances,
): FactShown {
  const { speech, now, oldSince } = circumstances;
  const fact = state.facts[destination] ?? UNKNOWN_FACT;
  const shown = {
    source: fact.source,
    sourceName: sourceName(speech, state, fact.source),
    since: fact.since,
    by: fact.by === 'unknown' ? '' : (fact.by?.name ?? speech.say('atTheRouter')),
  };
  if (fact.source === UNKNOWN_SOURCE)
    return { ...shown, mark: 'unknown', words: speech.say('unknown') };
  const from = isStale(state, fact) ? staleSince(state) : oldSince;
  if (from !== undefined)
    return { ...shown, mark: 'stale', words: speech.say('stale', { age: age(speech, from, now) }) };
  const words = fact.source === NO_SOURCE ? speech.say('noSource') : '';
  return { ...shown, mark: 'fact', words };
}
