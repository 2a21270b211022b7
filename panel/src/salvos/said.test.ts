import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { EMPTY_DRAFT } from './draft';
import { rowOf } from './fixture';
import type { Said } from './keeper';
import { saidWords, unsavable } from './said';

const speech = speechOf(english, 'en', 'UTC');
const refused = (code: string): Said => ({
  is: 'refused',
  refusal: { ok: false, status: 409, code, sentence: 'there are too many' },
  name: 'Evening news',
});

test.each<[Said, string]>([
  [{ is: 'nothing' }, ''],
  [{ is: 'reading' }, 'Reading…'],
  [{ is: 'asking' }, 'One moment…'],
  [{ is: 'saved' }, 'Saved.'],
  [
    { is: 'meanwhile' },
    'Somebody else has saved this meanwhile. What you see is yours: save it again to put it in place of theirs.',
  ],
  [{ is: 'version', version: 3 }, 'This is version 3. Save it to make it the newest.'],
  [refused('nameTaken'), 'There is already a salvo called Evening news.'],
  [refused('tooManyAtOnce'), 'there are too many'],
])('%j', (said, words) => {
  expect(saidWords(speech, said)).toBe(words);
});

test('a salvo needs a name and a row', () => {
  const { say } = speech;
  expect(unsavable(say, { ...EMPTY_DRAFT, name: ' ' })).toBe('Give it a name first.');
  expect(unsavable(say, { ...EMPTY_DRAFT, name: 'A' })).toBe('It needs a row at least.');
  expect(unsavable(say, { ...EMPTY_DRAFT, name: 'A', rows: [rowOf(1)] })).toBe('');
});
