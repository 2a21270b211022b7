import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { stripWords } from './strip';

const { say } = speechOf(english, 'en', 'UTC');
const group = { name: 'Multiviewers', members: [4, 5, 6, 7], folded: true };

test('says how much a folded group holds', () => {
  expect(stripWords(say, group)).toBe('Multiviewers · 4');
  expect(stripWords(say, group, { problems: [1], staged: [8] })).toBe('Multiviewers · 4');
});

test('counts the problems and the staged rows in it', () => {
  expect(stripWords(say, group, { problems: [1, 5], staged: [4, 7, 9] })).toBe(
    'Multiviewers · 4 · 1 problem · 2 staged',
  );
  expect(stripWords(say, group, { problems: [6, 5], staged: [] })).toBe(
    'Multiviewers · 4 · 2 problems',
  );
});
