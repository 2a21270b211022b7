// The line that says what the cursor is on: "CAM 7 → MVW 19", whether that is routed, what is, and
// what Enter does.
import type { RouterState } from '../live/router_topic';
import { clock } from '../texts/clock';
import type { Speech } from '../texts/speech';
import type { DestinationShown } from './destination';
import type { Circumstances, FactShown } from './fact';
import { lockSentence } from './guards';
import { sourceName } from './names';

export type Pressing = 'armed' | 'hot' | 'nothing'; // nothing: to look at only

function present(fact: FactShown, { speech }: Circumstances): string {
  if (fact.mark === 'unknown') return speech.say('nowUnknown');
  if (fact.mark === 'stale')
    return speech.say('nowStale', { source: fact.sourceName, stale: fact.words });
  if (fact.since === 0) return speech.say('nowSource', { source: fact.sourceName });
  return speech.say('nowConfirmed', { source: fact.sourceName, clock: clock(speech, fact.since) });
}

function enterDoes(
  shown: DestinationShown,
  source: number,
  pressing: Pressing,
  { speech }: Circumstances,
): string {
  if (pressing === 'hot') return speech.say('enterTakes');
  if (pressing === 'nothing') return '';
  const mine = shown.wishes.filter(({ mark }) => mark === 'staged' || mark === 'changed');
  if (mine.length > 0 && (mine[0]?.source === source || shown.fact.source === source))
    return speech.say('enterRemoves');
  return shown.fact.source === source ? '' : speech.say('enterStages');
}

// Its parts, in order; the view sets marks between them.
export function cursorLine(
  state: RouterState,
  shown: DestinationShown,
  source: number, // an index or NO_SOURCE
  pressing: Pressing,
  circumstances: Circumstances,
  marked = 1, // destinations that go together with this one
): readonly string[] {
  const { speech } = circumstances;
  const [name, lock] = [sourceName(speech, state, source), state.locks.get(shown.destination)];
  if (marked > 1)
    return [
      speech.say('crossingMany', { source: name, n: marked }),
      speech.say(pressing === 'hot' ? 'enterTakes' : 'enterStages'),
    ];
  const isRouted = shown.fact.source === source;
  return [
    speech.say('crossing', { source: name, destination: shown.name }),
    speech.say(isRouted ? 'routed' : 'notRouted'),
    present(shown.fact, circumstances),
    lock !== undefined && shown.isHatched
      ? (lockSentence(lock, shown.name, circumstances) ?? '')
      : enterDoes(shown, source, pressing, circumstances),
  ].filter((part) => part !== '');
}

// The same in short, for a screen reader.
export function crossingLabel(
  state: RouterState,
  { name, fact }: DestinationShown,
  source: number,
  speech: Speech,
): string {
  return speech.say('crossingLabel', {
    source: sourceName(speech, state, source),
    destination: name,
    routed: speech.say(fact.source === source ? 'routed' : 'notRouted'),
    present: fact.sourceName,
  });
}
