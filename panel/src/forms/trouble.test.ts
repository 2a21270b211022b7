import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { fieldTrouble, type Bounds, type Judged } from './trouble';

const { say } = speechOf(english, 'en', 'UTC');
const fine: Judged = {
  valueMissing: false,
  tooShort: false,
  tooLong: false,
  patternMismatch: false,
  rangeUnderflow: false,
  rangeOverflow: false,
  badInput: false,
  stepMismatch: false,
};

test.each<[Partial<Judged>, Bounds, string]>([
  [{}, {}, ''],
  [{ valueMissing: true }, {}, 'Please fill this in.'],
  [{ valueMissing: true, badInput: true }, {}, 'This is no whole number.'],
  [{ stepMismatch: true }, {}, 'This is no whole number.'],
  [{ tooShort: true }, { shortest: 8 }, 'At least 8 characters, please.'],
  [{ tooLong: true }, { longest: 80 }, 'At most 80 characters, please.'],
  [{ rangeUnderflow: true }, { least: 100 }, '100 at least.'],
  [{ rangeOverflow: true }, { most: 256 }, '256 at most.'],
  [{ patternMismatch: true }, { hint: 'small letters' }, 'It may have: small letters.'],
  [{ patternMismatch: true }, {}, 'This cannot be.'],
])('%j within %j is said as "%s"', (judged, bounds, words) => {
  expect(fieldTrouble(say, { ...fine, ...judged }, bounds)).toBe(words);
});
