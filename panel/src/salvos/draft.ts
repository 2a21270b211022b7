// A salvo as it is edited: a destination of a router is in it once.
import type { Schemas } from '../api/ask';

export type SalvoRow = Schemas['SalvoRow'];
export type Salvo = Schemas['Salvo'];
export type Draft = Pick<Salvo, 'name' | 'note' | 'rule'> & { readonly rows: readonly SalvoRow[] };

export const EMPTY_DRAFT: Draft = { name: '', note: '', rule: 'all', rows: [] };

export function draftOf({ name, note, rule, rows }: Salvo): Draft {
  return { name, note, rule, rows };
}

const isOf = (a: SalvoRow, b: SalvoRow) => a.router === b.router && a.destination === b.destination;

// A destination that is there keeps its place; the others come behind, in their order.
export function withRows(draft: Draft, rows: readonly SalvoRow[]): Draft {
  const all = [...draft.rows];
  for (const row of rows) {
    const at = all.findIndex((each) => isOf(each, row));
    if (at === -1) all.push(row);
    else all[at] = row;
  }
  return { ...draft, rows: all };
}

export function withoutRow(draft: Draft, row: SalvoRow): Draft {
  return { ...draft, rows: draft.rows.filter((each) => !isOf(each, row)) };
}

export function wanted({ name, note, rule, rows }: Draft): Schemas['SalvoWanted'] {
  return {
    name: name.trim(),
    note,
    rule,
    rows: rows.map(({ router, destination, source }) => ({ router, destination, source })),
  };
}

// Names of sources and destinations may change meanwhile: they are not the salvo's.
export function isSameDraft(a: Draft, b: Draft): boolean {
  return JSON.stringify(wanted(a)) === JSON.stringify(wanted(b));
}
