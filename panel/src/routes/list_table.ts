// The list as a table: its cells in words, in an order that somebody asked for, and as a file.
import type { ListRow } from './list';

export type Order = {
  readonly column: number;
  readonly isDown: boolean;
  readonly destinations: readonly number[]; // as they were then: what changes moves no row
};

// Destination, Now, Since, Changed by, State, Lock.
export function cellsOf({ shown, since, states }: ListRow): readonly string[] {
  const state = states.map(({ words, source }) => (source === '' ? words : `${words} → ${source}`));
  const { name, fact, lock } = shown;
  return [name, fact.sourceName, since, fact.by, state.join(', '), lock?.words ?? ''];
}

const DESTINATION = 0;
const SINCE = 2;

function compared(a: ListRow, b: ListRow, column: number, language: string): number {
  if (column === DESTINATION) return a.number - b.number;
  if (column === SINCE) return a.shown.fact.since - b.shown.fact.since;
  const [one, other] = [cellsOf(a)[column] ?? '', cellsOf(b)[column] ?? ''];
  return one.localeCompare(other, language, { numeric: true });
}

// Of a column that is pressed: upward, then downward, then the router's order again.
export function orderAfter(
  present: Order | undefined,
  column: number,
  rows: readonly ListRow[],
  language: string,
): Order | undefined {
  if (present?.column === column && present.isDown) return undefined;
  const isDown = present?.column === column;
  const sorted = [...rows].sort((a, b) => compared(a, b, column, language) * (isDown ? -1 : 1));
  return { column, isDown, destinations: sorted.map(({ shown }) => shown.destination) };
}

// Those that have come since stand at the end.
export function inOrder(rows: readonly ListRow[], { destinations }: Order): readonly ListRow[] {
  const places = new Map(destinations.map((destination, i) => [destination, i]));
  const place = ({ shown }: ListRow) => places.get(shown.destination) ?? destinations.length;
  return [...rows].sort((a, b) => place(a) - place(b));
}

const quoted = (text: string) => `"${text.replaceAll('"', '""')}"`;

export function listFile(columns: readonly string[], rows: readonly ListRow[]): string {
  return [columns, ...rows.map(cellsOf)]
    .map((cells) => `${cells.map(quoted).join(',')}\r\n`)
    .join('');
}
