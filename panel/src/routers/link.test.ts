import { expect, test } from 'vitest';

import { describeLink } from './link';

const since = '2026-11-22T13:55:02.702Z';

test('only a ready link is up', () => {
  expect(describeLink({ state: 'ready', since })).toEqual({ glyph: '●', words: 'Link up' });
  const others = (['off', 'connecting', 'reading', 'down', 'failing'] as const).map(
    (state) => describeLink({ state, since }).glyph,
  );
  expect(others).toEqual(['◌', '◌', '◌', '◌', '◌']);
});

test('a lost link has its reason', () => {
  expect(describeLink({ state: 'down', since, reason: 'no answer for 20 s' }).words).toBe(
    'Link down: no answer for 20 s',
  );
  expect(describeLink({ state: 'failing', since }).words).toBe('Link down');
});

test('reading says how far it has come', () => {
  const progress = { namesRead: 128, names: 256, routesRead: 0, routes: 256 };
  expect(describeLink({ state: 'reading', since, progress }).words).toBe(
    'Reading names 128 of 256, routes 0 of 256…',
  );
});
