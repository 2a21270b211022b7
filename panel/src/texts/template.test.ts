import { expect, test } from 'vitest';

import { fill } from './template';

const english = new Intl.PluralRules('en');
const polish = new Intl.PluralRules('pl');
const rows = { one: '{n} wiersz', few: '{n} wiersze', other: '{n} wierszy' };

test('values stand where their names are', () => {
  expect(fill('{old} → {new}', { new: 'VTR 7', old: 'CAM 3' }, english)).toBe('CAM 3 → VTR 7');
});

test('a value is never read as a template', () => {
  expect(fill('{a} {b}', { a: '{b}$&', b: 'x' }, english)).toBe('{b}$& x');
});

test('a count chooses the form, other where there is none', () => {
  expect([1, 3, 7].map((n) => fill(rows, { n }, polish))).toEqual([
    '1 wiersz',
    '3 wiersze',
    '7 wierszy',
  ]);
  expect(fill({ other: '{n} rows' }, { n: 1 }, english)).toBe('1 rows');
});
