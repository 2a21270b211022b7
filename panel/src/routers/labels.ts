// The aliases and groups of one side of a router, as they are edited.
import type { Schemas } from '../api/ask';
import type { Source } from '../api/types';

export type Label = { readonly alias: string; readonly group: string };
export type Edits = ReadonlyMap<number, Label>; // by index; of those that were touched

export function labelOf(edits: Edits, { index, alias, group }: Source): Label {
  return edits.get(index) ?? { alias, group };
}

export function edited(edits: Edits, name: Source, change: Partial<Label>): Edits {
  return new Map(edits).set(name.index, { ...labelOf(edits, name), ...change });
}

// What a spreadsheet puts on the clipboard: lines of an alias and, behind a tab, a group, onto the
// names from `first` on.
export function pasted(edits: Edits, names: readonly Source[], first: number, text: string): Edits {
  const lines = text.replace(/\r?\n$/, '').split(/\r?\n/);
  return lines.reduce((all, line, i) => {
    const name = names[first + i];
    if (name === undefined) return all;
    const [alias = '', group] = line.split('\t').map((cell) => cell.trim());
    return edited(all, name, group === undefined ? { alias } : { alias, group });
  }, edits);
}

// The rows to send: those that are different from what was read.
export function labelRows(edits: Edits, names: readonly Source[]): Schemas['LabelRows']['rows'] {
  return names.flatMap((name) => {
    const { alias, group } = labelOf(edits, name);
    if (alias === name.alias && group === name.group) return [];
    return [{ index: name.index, alias, group }];
  });
}

// Of the names that were touched.
export function areSame(edits: Edits, a: readonly Source[], b: readonly Source[]): boolean {
  return [...edits.keys()].every(
    (index) => a[index]?.alias === b[index]?.alias && a[index]?.group === b[index]?.group,
  );
}

export function differs(edits: Edits, name: Source): boolean {
  const { alias } = labelOf(edits, name);
  return alias !== '' && alias !== name.routerName;
}
