import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { stageAge } from './age';

const speech = speechOf(english, 'en', 'UTC');
const rows = [{ staged: '2026-11-22T14:00:00.000Z' }, { staged: '2026-11-22T11:02:00.000Z' }];
const at = (time: string) => stageAge(speech, rows, Date.parse(time));

test('after an hour the oldest row says how long ago it was staged', () => {
  expect(at('2026-11-22T12:01:59.999Z')).toBe('');
  expect(at('2026-11-22T12:02:00.000Z')).toBe('staged 1 h ago');
  expect(at('2026-11-22T14:30:00.000Z')).toBe('staged 3 h ago');
});

test('an empty stage has no age', () => {
  expect(stageAge(speech, [], Date.parse('2026-11-22T14:00:00.000Z'))).toBe('');
});
