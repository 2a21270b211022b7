// From keys that are pressed to commands, by the table of keys. What was typed so far of a sequence
// ("G R") or of a number ("12/7 Enter") is a record that the caller keeps.
import { chordOf, isSingle, type KeyPress } from './chord';
import { KEY_TABLE, type Command, type Context, type KeyRow } from './table';

export type Typed = { readonly text: string; readonly at: number }; // chords with blanks between
export const NOTHING_TYPED: Typed = { text: '', at: 0 };
export const LONGEST_PAUSE = 1500; // ms between two keys of a sequence; numbers have no hurry

export type Circumstances = {
  readonly contexts: readonly Context[];
  readonly inText: boolean; // a text field has the focus
  readonly singleKeys: boolean; // the setting
  readonly isMac: boolean;
};

export type Matched = {
  readonly typed: Typed;
  readonly command?: Command;
  readonly destination?: number; // of goTo, as numbers that people see
  readonly source?: number;
  readonly digit?: number; // of selectSalvo
};

const ROWS: readonly (KeyRow & { readonly command: Command })[] = KEY_TABLE;
const GO_TO = /^\d{1,4}(\/\d{1,4})?$/;
const BEGUN_GO_TO = /^\d{1,4}(\/\d{0,4})?$/;

function rowsOf(circumstances: Circumstances): typeof ROWS {
  return ROWS.filter((row) => circumstances.contexts.includes(row.context));
}

function matched(row: (typeof ROWS)[number], keys: string): Matched {
  const digit = /^\d$/.test(keys) ? { digit: Number(keys) } : {};
  return { typed: NOTHING_TYPED, command: row.command, ...digit };
}

// Digits, "/", Backspace and Enter in the matrix; none when the key is none of a number.
function number(typed: Typed, chord: string, at: number): Matched | undefined {
  const isBegun = BEGUN_GO_TO.test(typed.text);
  if (isBegun && chord === 'Backspace') return { typed: { text: typed.text.slice(0, -1), at } };
  if (chord === 'Enter' && GO_TO.test(typed.text)) {
    const [destination, source] = typed.text.split('/').map(Number);
    const found = { typed: NOTHING_TYPED, command: 'goTo' as const, destination: destination ?? 0 };
    return source === undefined ? found : { ...found, source };
  }
  if (!/^[\d/]$/.test(chord)) return undefined;
  const text = (isBegun ? typed.text : '') + chord;
  return BEGUN_GO_TO.test(text) ? { typed: { text, at } } : undefined;
}

function mayAct(row: KeyRow, press: KeyPress, keys: string, circumstances: Circumstances): boolean {
  if (press.repeat && !row.repeats) return false;
  if (circumstances.inText && !row.inText) return false;
  return circumstances.singleKeys || !keys.split(' ').some(isSingle);
}

// `command` is absent when the key is none, or only begins something.
export function matchKey(typed: Typed, press: KeyPress, circumstances: Circumstances): Matched {
  const chord = chordOf(press, circumstances.isMac);
  if (chord === undefined) return { typed };
  const { contexts, inText, singleKeys } = circumstances;
  const at = press.timeStamp;
  if (contexts.includes('matrix') && singleKeys && !inText && !press.repeat) {
    const found = number(typed, chord, at);
    if (found !== undefined) return found;
  }
  const goesOn = typed.text !== '' && at - typed.at <= LONGEST_PAUSE;
  const tried = goesOn ? [`${typed.text} ${chord}`, chord] : [chord];
  for (const keys of tried) {
    const row = rowsOf(circumstances).find((each) => each.keys.includes(keys));
    if (row !== undefined && mayAct(row, press, keys, circumstances)) return matched(row, keys);
    const begun = rowsOf(circumstances).find((each) =>
      each.keys.some((all) => all.startsWith(`${keys} `)),
    );
    if (begun !== undefined && mayAct(begun, press, keys, circumstances))
      return { typed: { text: keys, at } };
  }
  return { typed: NOTHING_TYPED };
}
