// A key with what is held beside it, written as in the table of keys: "Ctrl+Shift+Z", "?", "ArrowUp".

// Of the browser's event, what counts here.
export type KeyPress = {
  readonly key: string;
  readonly code: string;
  readonly ctrlKey: boolean;
  readonly metaKey: boolean;
  readonly altKey: boolean;
  readonly shiftKey: boolean;
  readonly repeat: boolean;
  readonly isComposing: boolean;
  readonly timeStamp: number; // ms
};

const HELD_ALONE = new Set(['Control', 'Shift', 'Alt', 'Meta', 'AltGraph', 'CapsLock', 'Dead']);

// Letters of other scripts count as the Latin ones of their keys.
function nameOf({ key, code }: KeyPress): string {
  if (key === ' ') return 'Space';
  if (key.length > 1) return key;
  if (/^[a-z]$/i.test(key)) return key.toUpperCase();
  const letter = /^Key([A-Z])$/.exec(code)?.[1];
  return letter !== undefined && /\p{L}/u.test(key) ? letter : key;
}

// None of what is no key by itself. Shift counts beside keys that write nothing and letters; what it
// makes of other keys is their name.
export function chordOf(press: KeyPress, isMac: boolean): string | undefined {
  if (press.isComposing || HELD_ALONE.has(press.key)) return undefined;
  const control = isMac ? press.metaKey : press.ctrlKey;
  const other = isMac ? press.ctrlKey : press.metaKey;
  if (other) return undefined;
  const name = nameOf(press);
  const shift = press.shiftKey && (name.length > 1 || /^[A-Z]$/.test(name));
  const held = [control ? 'Ctrl+' : '', press.altKey ? 'Alt+' : '', shift ? 'Shift+' : ''];
  return held.join('') + name;
}

// What writes a letter, digit or sign when a text field has the focus.
export function isSingle(chord: string): boolean {
  return /^(Shift\+)?.$/u.test(chord);
}

const MAC: Readonly<Record<string, string>> = { Ctrl: '⌘', Shift: '⇧', Alt: '⌥' };
const SHOWN: Readonly<Record<string, string>> = {
  ArrowUp: '↑',
  ArrowDown: '↓',
  ArrowLeft: '←',
  ArrowRight: '→',
  PageUp: 'PgUp',
  PageDown: 'PgDn',
  Escape: 'Esc',
};

// As the help shows it: "⌘⇧Z" on a Mac, else "Ctrl+Shift+Z".
export function shownChord(chord: string, isMac: boolean): string {
  const parts = chord.split(/(?<=.)\+(?=.)/);
  const shown = parts.map((part) => (isMac ? MAC[part] : undefined) ?? SHOWN[part] ?? part);
  return shown.join(isMac ? '' : '+');
}
