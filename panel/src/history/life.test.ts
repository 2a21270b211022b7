import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { lifeOf, type Moments } from './life';

const speech = speechOf(english, 'en-GB', 'UTC');
const WISHED = Date.parse('2026-11-22T14:02:11.250Z');
const life = (moments: Moments) => lifeOf(speech, WISHED, moments);
const places = (moments: Moments) => life(moments).steps.map(({ at }) => at);

test('a confirmed route was wished, sent, answered and reported', () => {
  const confirmed = { sentMs: 20, answeredMs: 40, endedMs: 84, latencyMs: 84 };
  expect(life(confirmed).steps.map(({ is, words }) => [is, words])).toEqual([
    ['wished', 'Asked for 14:02:11.250'],
    ['sent', 'Sent 14:02:11.270'],
    ['answered', 'Answered 14:02:11.290'],
    ['reported', 'Reported 14:02:11.334'],
  ]);
});

test('it is queued until it is sent', () => {
  const { steps, queued } = life({ sentMs: 21, endedMs: 84, latencyMs: 84 });
  expect(queued).toEqual({ until: 25, words: 'Queued for 21 ms' });
  expect(steps[1]?.at).toBe(25);
});

test('what was not sent ended, and was not queued for long that we know of', () => {
  const { steps, queued } = life({ endedMs: 2 });
  expect(steps.map(({ is, at }) => [is, at])).toEqual([
    ['wished', 0],
    ['ended', 100],
  ]);
  expect(queued).toBeUndefined();
});

test('what comes late stands after the end', () => {
  const late = life({ sentMs: 1, endedMs: 3000, lateMs: 7400 });
  expect(late.steps.map(({ is }) => is)).toEqual(['wished', 'sent', 'ended', 'reportedLate']);
  expect(late.steps[3]?.words).toBe('Reported late 14:02:18.650');
});

test('a report that comes before the answer stands before it', () => {
  const { steps } = life({ sentMs: 1, answeredMs: 9, latencyMs: 5, endedMs: 5 });
  expect(steps.map(({ is }) => is)).toEqual(['wished', 'sent', 'reported', 'answered']);
});

test('marks lie by their moments, and never on one another', () => {
  expect(places({ sentMs: 25, answeredMs: 50, latencyMs: 100 })).toEqual([0, 25, 50, 100]);
  expect(places({ sentMs: 0, answeredMs: 0, latencyMs: 100 })).toEqual([0, 12, 24, 100]);
  expect(places({ sentMs: 98, answeredMs: 99, latencyMs: 100 })).toEqual([0, 76, 88, 100]);
  expect(places({})).toEqual([0]);
});
