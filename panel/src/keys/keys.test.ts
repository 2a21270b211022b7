import { expect, test } from 'vitest';

import { chordOf, isSingle, shownChord, type KeyPress } from './chord';
import { LONGEST_PAUSE, matchKey, NOTHING_TYPED, type Circumstances, type Matched } from './match';
import { CONTEXTS_TOGETHER, KEY_TABLE, type Context, type KeyRow } from './table';

const rows: readonly KeyRow[] = KEY_TABLE;
const usual: Circumstances = {
  contexts: ['anywhere'],
  inText: false,
  singleKeys: true,
  isMac: false,
};

function press(chord: string, more: Partial<KeyPress> = {}): KeyPress {
  const parts = chord.split(/(?<=.)\+(?=.)/);
  const name = parts.at(-1) ?? '';
  const shiftKey = parts.includes('Shift');
  const key = name === 'Space' ? ' ' : name.length === 1 && !shiftKey ? name.toLowerCase() : name;
  return {
    key,
    code: '',
    ctrlKey: parts.includes('Ctrl'),
    metaKey: false,
    altKey: parts.includes('Alt'),
    shiftKey,
    repeat: false,
    isComposing: false,
    timeStamp: 0,
    ...more,
  };
}

function type(keys: string, circumstances: Circumstances): Matched {
  return keys
    .split(' ')
    .reduce<Matched>(({ typed }, chord) => matchKey(typed, press(chord), circumstances), {
      typed: NOTHING_TYPED,
    });
}

const togetherWith = (context: Context): readonly Context[] =>
  CONTEXTS_TOGETHER.find((contexts) => contexts.includes(context)) ?? [];
const all = rows.flatMap((row) => row.keys.map((keys) => ({ ...row, shown: keys, keys })));

test.each(all)('$context: $shown is $command', ({ keys, context, command }) => {
  const circumstances = { ...usual, contexts: togetherWith(context) };
  const found = type(keys, circumstances);
  expect(found.command).toBe(command);
  expect(found.typed).toEqual(NOTHING_TYPED);
});

test.each(all)('$context: $shown while typing, held, or with single keys off', (row) => {
  const circumstances = { ...usual, contexts: togetherWith(row.context) };
  const acts = (found: Matched) => found.command === row.command;
  const single = row.keys.split(' ').some(isSingle);
  expect(acts(type(row.keys, { ...circumstances, inText: true }))).toBe(row.inText ?? false);
  expect(acts(type(row.keys, { ...circumstances, singleKeys: false }))).toBe(!single);
  if (row.keys.includes(' ')) return;
  expect(acts(matchKey(NOTHING_TYPED, press(row.keys, { repeat: true }), circumstances))).toBe(
    row.repeats ?? false,
  );
});

test.each(CONTEXTS_TOGETHER.map((contexts) => [contexts.join(', '), contexts] as const))(
  'no two commands share keys: %s',
  (_name, contexts) => {
    const keys = rows.filter((row) => contexts.includes(row.context)).flatMap((row) => row.keys);
    expect(
      keys.filter((each, i) =>
        keys.some((other, j) => i !== j && (other === each || other.startsWith(`${each} `))),
      ),
    ).toEqual([]);
  },
);

test('no key does anything where its context does not hold', () => {
  expect(type('R', usual).command).toBeUndefined();
  expect(
    type('K', { ...usual, contexts: ['anywhere', 'routing', 'matrix'] }).command,
  ).toBeUndefined();
  expect(type('N', { ...usual, contexts: ['anywhere', 'xy'] }).command).toBeUndefined();
});

test('a sequence waits for its second key a while', () => {
  const begun = matchKey(NOTHING_TYPED, press('G', { timeStamp: 100 }), usual);
  expect(begun).toEqual({ typed: { text: 'G', at: 100 } });
  const second = (timeStamp: number) =>
    matchKey(begun.typed, press('S', { timeStamp }), usual).command;
  expect(second(100 + LONGEST_PAUSE)).toBe('goSalvos');
  expect(second(101 + LONGEST_PAUSE)).toBeUndefined();
});

test('a key that does not go on begins anew', () => {
  const routing: Circumstances = { ...usual, contexts: ['anywhere', 'routing', 'matrix'] };
  expect(type('G V', routing)).toEqual({ typed: NOTHING_TYPED, command: 'nextView' });
  expect(type('G Q', routing)).toEqual({ typed: NOTHING_TYPED });
  expect(type('G G R', routing).command).toBe('goRouting');
  const held = matchKey({ text: 'G', at: 0 }, press('Shift', { key: 'Shift' }), usual);
  expect(held.typed.text).toBe('G');
});

test('numbers are typed, mended and entered in the matrix', () => {
  const matrix: Circumstances = { ...usual, contexts: ['anywhere', 'routing', 'matrix'] };
  const entered = (keys: string) => type(keys, matrix);
  expect(entered('1 2 Enter')).toEqual({ typed: NOTHING_TYPED, command: 'goTo', destination: 12 });
  expect(entered('1 2 / 7 Enter')).toMatchObject({ destination: 12, source: 7 });
  expect(entered('1 2 3 Backspace Enter')).toMatchObject({ destination: 12 });
  expect(entered('1 2 Escape Enter')).toMatchObject({ command: 'press' });
  expect(entered('1 2 / Enter')).toMatchObject({ command: 'press' });
  expect(entered('1 2 /').typed.text).toBe('12/');
  expect(entered('/').typed.text).toBe('');
  expect(type('1 2 Enter', { ...matrix, contexts: ['anywhere', 'xy'] }).command).toBe('choose');
});

test('a digit says which salvo', () => {
  expect(type('7', { ...usual, contexts: ['anywhere', 'salvos'] })).toMatchObject({
    command: 'selectSalvo',
    digit: 7,
  });
});

test('the command key is control on a Mac, and control is nothing', () => {
  const mac: Circumstances = { ...usual, isMac: true };
  expect(matchKey(NOTHING_TYPED, press('K', { metaKey: true }), mac).command).toBe('palette');
  const stage: Circumstances = { ...mac, contexts: ['anywhere', 'routing', 'stage'] };
  expect(matchKey(NOTHING_TYPED, press('Ctrl+K'), stage).command).toBeUndefined();
  expect(matchKey(NOTHING_TYPED, press('K', { metaKey: true }), usual).command).toBeUndefined();
});

test('layouts: signs count as written, letters of other scripts as their keys', () => {
  expect(chordOf(press('?', { key: '?', shiftKey: true }), false)).toBe('?');
  expect(chordOf(press('x', { key: 'к', code: 'KeyR' }), false)).toBe('R');
  expect(chordOf(press('x', { key: '/', code: 'KeyQ' }), false)).toBe('/');
  expect(chordOf(press('z', { ctrlKey: true, altKey: true }), false)).toBe('Ctrl+Alt+Z');
  expect(chordOf(press('k', { isComposing: true }), false)).toBeUndefined();
});

test('what writes something counts as a single key', () => {
  const chords = ['?', 'Shift+N', '+', 'Space', 'Ctrl+K', 'ArrowUp'];
  expect(chords.map(isSingle)).toEqual([true, true, true, false, false, false]);
});

test('the help shows keys as they are printed', () => {
  expect(
    ['Ctrl+Shift+Z', 'Alt+PageUp', '+', 'ArrowUp'].map((each) => shownChord(each, false)),
  ).toEqual(['Ctrl+Shift+Z', 'Alt+PgUp', '+', '↑']);
  expect(shownChord('Ctrl+Shift+Z', true)).toBe('⌘⇧Z');
});
