import { expect, test } from 'vitest';

import { english, parts } from './english';
import { LONGER, pseudo, pseudoLanguage } from './pseudo';
import { speechOf, type TextKey } from './speech';
import type { Template } from './template';

const forms = (template: Template) =>
  typeof template === 'string' ? [template] : Object.values(template);
const places = (text: string) => [...text.matchAll(/\{\w+\}/g)].map(([place]) => place).sort();
const bare = (text: string) => text.replace(/\{\w+\}/g, '');
const texts = Object.entries<Template>(english).flatMap(([key, template]) =>
  forms(template).map((text, form) => ({ key: key as TextKey, form, text })),
);

test('no part takes a key of another', () => {
  const keys = parts.flatMap((part) => Object.keys(part));
  expect(keys.filter((key, i) => keys.indexOf(key) !== i)).toEqual([]);
  expect(Object.keys(english).sort()).toEqual(keys.sort());
});

test('the forms of a text have the same places', () => {
  const differ = Object.values<Template>(english).filter((template) => {
    const sets = forms(template).map((form) =>
      [...new Set([...places(form), '{n}'])].sort().join(),
    );
    return new Set(sets).size > 1;
  });
  expect(differ).toEqual([]);
});

test('all texts use the words of the field', () => {
  expect(
    texts.filter(({ text }) => /\b(input|output|crosspoint|macro|preset)/i.test(text)),
  ).toEqual([]);
});

test('no text is empty, unfinished, or has blanks at its ends', () => {
  const bad = texts.filter(
    ({ text }) => text === '' || text.trim() !== text || /\.\.\.|[{}]/.test(bare(text)),
  );
  expect(bad).toEqual([]);
});

test('each text is 40 % longer in the pseudo-language, with its places', () => {
  const bad = texts.filter(({ key, form, text }) => {
    const longer = forms(pseudoLanguage[key])[form] ?? '';
    const tooShort = bare(longer).length < bare(text).length * LONGER;
    return tooShort || places(longer).join() !== places(text).join();
  });
  expect(bad).toEqual([]);
});

test('the pseudo-language shows where a text begins and ends', () => {
  expect(pseudo('Take the {n}')).toBe('[Táké thé {n}~~]');
});

test('speech fills and counts', () => {
  const { say } = speechOf(english, 'en', 'UTC');
  expect(say('keepMine')).toBe('Keep mine');
  expect(say('takeCount', { n: 4 })).toBe('TAKE 4');
  expect(say('stageCount', { n: 1 })).toBe('1 route');
  expect(say('stageCount', { n: 0 })).toBe('0 routes');
  expect(say('rowsChanged', { n: 2 })).toBe('2 rows changed since you staged them. Decide first.');
});
