// What is said of the link from the server to a router: the pill in the top bar, and the strip below
// it while there is something to say. Moments in ms by the server's clock.
import type { Router } from '../api/types';
import type { Fact } from '../live/router_topic';
import { UNKNOWN_SOURCE } from '../live/router_topic';
import { age, clock, duration, inSeconds, old } from '../texts/clock';
import type { Say, Speech } from '../texts/speech';

export const SLOW = 1000; // ms: the middle confirm time beyond which the link counts as slow
export const JUDGED = 20; // by the last so many confirmed routes

export type Pill = { readonly glyph: 'circle' | 'dashedCircle'; readonly words: string };

export function middle(times: readonly number[]): number | undefined {
  const sorted = [...times].sort((a, b) => a - b);
  const half = sorted.length >> 1;
  const upper = sorted[half];
  const lower = sorted[sorted.length - 1 - half];
  return upper === undefined || lower === undefined ? undefined : (lower + upper) / 2;
}

// `confirmTimes`: of the routes confirmed last on this link, in ms, the newest last.
export function pill(
  speech: Speech,
  { link }: Router,
  confirmTimes: readonly number[],
  now: number,
): Pill {
  const { say } = speech;
  const since = age(speech, Date.parse(link.since), now);
  switch (link.state) {
    case 'ready': {
      const time = middle(confirmTimes.slice(-JUDGED));
      const isSlow = time !== undefined && time > SLOW;
      return {
        glyph: 'circle',
        words: isSlow ? say('linkSlow', { time: inSeconds(speech, time) }) : say('linkUp'),
      };
    }
    case 'down':
      return { glyph: 'dashedCircle', words: say('linkDownAge', { age: since }) };
    case 'failing':
      return { glyph: 'dashedCircle', words: say('linkFailing', { age: since }) };
    case 'connecting':
      return { glyph: 'dashedCircle', words: say('linkConnecting') };
    case 'reading':
      return { glyph: 'dashedCircle', words: say('linkReading') };
    case 'off':
      return { glyph: 'dashedCircle', words: say('linkOff') };
  }
}

function isLost({ link, staleSince }: Router): boolean {
  return link.state !== 'ready' && staleSince !== undefined;
}

// Empty while the link is up, and where it never was: then the empty view says what is missing.
export function strip(speech: Speech, router: Router, now: number): string {
  const { link, name, staleSince } = router;
  if (!isLost(router) || staleSince === undefined) return '';
  const lostAt = Date.parse(staleSince);
  if (link.state !== 'reading')
    return speech.say('linkLost', {
      router: name,
      clock: clock(speech, lostAt),
      old: old(speech, lostAt, now),
    });
  return speech.say('linkBackReading', {
    time: duration(speech, Date.parse(link.since) - lostAt),
    read: link.progress?.routesRead ?? 0,
    all: link.progress?.routes ?? router.routableDestinations,
  });
}

// The same, as it is said aloud: once, not with each second.
export function lostAloud(say: Say, router: Router): string {
  return isLost(router) ? say('spokenLinkLost', { router: router.name }) : '';
}

// Destinations that showed another source when the link was back. What was not known did not change.
export function changedMeanwhile(
  before: readonly Fact[],
  after: readonly Fact[],
): readonly number[] {
  return after.flatMap(({ source }, destination) => {
    const was = before[destination]?.source ?? UNKNOWN_SOURCE;
    const areKnown = was !== UNKNOWN_SOURCE && source !== UNKNOWN_SOURCE;
    return areKnown && was !== source ? [destination] : [];
  });
}
