import { expect, test } from 'vitest';

import { ANA, routerData, stageOf, TIME } from '../live/history';
import { beginRouter } from '../live/router_topic';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { crossings } from './crossings';
import { destinationShown } from './destination';

const circumstances = {
  speech: speechOf(english, 'en', 'UTC'),
  now: Date.parse(TIME),
  me: ANA.id,
  oldSince: undefined,
};
const state = beginRouter(routerData());
const placeOf = (source: number) => (source < 0 ? undefined : 100 + source);
const shown = destinationShown(state, stageOf('r1', [2]).rows[0], 2, circumstances);

test('the fact stands at its source, the wish at its own', () => {
  const { factAt, wish, wishAt, words } = crossings(shown, placeOf);
  expect(factAt).toBe(100 + shown.fact.source);
  expect(wish?.mark).toBe('staged');
  expect(wishAt).toBe(100 + (wish?.source ?? 0));
  expect(words).toContain('Staged');
});

test('nothing stands where it is not known, or its source is not shown', () => {
  const unknown = { ...shown, fact: { ...shown.fact, mark: 'unknown' as const } };
  expect(crossings(unknown, placeOf).factAt).toBeUndefined();
  expect(crossings({ ...shown, wishes: [] }, placeOf).wishAt).toBeUndefined();
  expect(crossings(shown, () => undefined).factAt).toBeUndefined();
});
