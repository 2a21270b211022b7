import { expect, test } from 'vitest';

import type { Router } from '../api/types';
import { routerOf, TIME } from '../live/history';
import type { Fact } from '../live/router_topic';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { changedMeanwhile, JUDGED, lostAloud, middle, pill, strip } from './link';

const speech = speechOf(english, 'en', 'UTC');
const NOW = Date.parse(TIME) + 42_000;
const at = (more: number) => new Date(Date.parse(TIME) + more).toISOString();
const router = (state: Router['link']['state'], more: Partial<Router> = {}): Router => ({
  ...routerOf(1),
  link: { state, since: TIME },
  ...more,
});

test.each([
  ['ready', 'circle', 'Link up'],
  ['down', 'dashedCircle', 'Link down 0:42'],
  ['failing', 'dashedCircle', 'Link failing 0:42'],
  ['connecting', 'dashedCircle', 'Connecting…'],
  ['reading', 'dashedCircle', 'Reading…'],
  ['off', 'dashedCircle', 'Link off'],
] as const)('the pill of a link that is %s', (state, glyph, words) => {
  expect(pill(speech, router(state), [2000, 2000], NOW).glyph).toBe(glyph);
  expect(pill(speech, router(state), [], NOW)).toEqual({ glyph, words });
});

test('the pill says when the middle of the last confirm times is slow', () => {
  const words = (times: readonly number[]) => pill(speech, router('ready'), times, NOW).words;
  expect(words([100, 1800, 9000])).toBe('Link slow: 1.8 s');
  expect(words([1000, 1000])).toBe('Link up');
  const quick = Array.from({ length: JUDGED }, () => 80);
  expect(words([...quick.map(() => 5000), ...quick])).toBe('Link up');
  expect(words([...quick, ...quick.map(() => 5000)])).toBe('Link slow: 5.0 s');
});

test.each([
  [[], undefined],
  [[7], 7],
  [[9, 1], 5],
  [[10, 9, 2], 9],
])('the middle of %j is %s', (times, found) => {
  expect(middle(times)).toBe(found);
});

test('the strip tells of a lost link, and of one that is read again', () => {
  const staleSince = at(-72_000);
  expect(lostAloud(speech.say, router('down', { staleSince: TIME }))).toBe('Link to STUDIO A lost');
  expect(strip(speech, router('down', { staleSince: TIME }), NOW)).toBe(
    'Link to STUDIO A lost at 14:02:11. You see the last known routes, 0:42 old. Takes are not possible.',
  );
  const progress = { namesRead: 1, names: 1, routesRead: 180, routes: 256 };
  const reading = router('reading', {
    staleSince,
    link: { state: 'reading', since: TIME, progress },
  });
  expect(strip(speech, reading, NOW)).toBe(
    'Link is back after 1 min 12 s. Reading the routes… 180 of 256',
  );
  expect(strip(speech, router('reading', { staleSince }), NOW)).toMatch(/… 0 of 8$/);
});

test('without a loss there is no strip', () => {
  expect(strip(speech, router('ready', { staleSince: TIME }), NOW)).toBe('');
  expect(strip(speech, router('connecting'), NOW)).toBe('');
  expect(lostAloud(speech.say, router('ready', { staleSince: TIME }))).toBe('');
  expect(lostAloud(speech.say, router('connecting'))).toBe('');
});

test('what changed while the link was down', () => {
  const facts = (...sources: number[]) =>
    sources.map((source): Fact => ({ source, since: 0, stale: false, by: null }));
  expect(changedMeanwhile(facts(1, 2, -1, -2, 5), facts(1, 3, 4, 4, -2, 6))).toEqual([1, 2]);
});
