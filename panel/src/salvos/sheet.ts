// Rows as a spreadsheet has them: a line has a destination and a source, or a router before them, with
// tabs, semicolons or commas between; each by its name or by the number that people see.
import type { Source } from '../api/types';
import { NO_SOURCE, type RouterState } from '../live/router_topic';
import type { SalvoRow } from './draft';
import { rowFor } from './fill';

export type Pasted = {
  readonly rows: readonly SalvoRow[];
  readonly wrong: readonly string[]; // lines that say nothing here
};

const MARKS = ['\t', ';', ','] as const;
const CELL = {
  '\t': / *(?:"((?:[^"]|"")*)"|([^\t]*)) *(?:\t|$)/y,
  ';': / *(?:"((?:[^"]|"")*)"|([^;]*)) *(?:;|$)/y,
  ',': / *(?:"((?:[^"]|"")*)"|([^,]*)) *(?:,|$)/y,
};

// The first of the marks that is in a line parts it: names may have the others.
function cells(line: string): readonly string[] {
  const found: string[] = [];
  const pattern = CELL[MARKS.find((mark) => line.includes(mark)) ?? ','];
  for (pattern.lastIndex = 0; pattern.lastIndex < line.length;) {
    const cell = pattern.exec(line);
    if (cell === null) return [];
    found.push((cell[1]?.replaceAll('""', '"') ?? cell[2] ?? '').trim());
  }
  return found;
}

const same = (a: string | undefined, b: string) => a?.toLowerCase() === b.toLowerCase();

// A name counts before a number, as a name may be one.
function indexOf(names: readonly Source[], cell: string): number | undefined {
  const named = names.find(({ name, routerName }) => same(name, cell) || same(routerName, cell));
  return (named ?? names.find(({ number }) => String(number) === cell))?.index;
}

// `states`: of the routers that are known here, the one first that a line without a router is about.
export function pasted(text: string, states: readonly RouterState[], noSource: string): Pasted {
  const rows: SalvoRow[] = [];
  const wrong: string[] = [];
  for (const line of text.split(/\r?\n/).filter((each) => each.trim() !== '')) {
    const [source = '', destination = '', router] = [...cells(line)].reverse();
    const state =
      router === undefined ? states[0] : states.find((each) => same(each.router.name, router));
    const to = state && indexOf(state.destinations, destination);
    const from = same(noSource, source) ? NO_SOURCE : state && indexOf(state.sources, source);
    if (state === undefined || to === undefined || from === undefined) wrong.push(line);
    else rows.push(rowFor(state, to, from));
  }
  return { rows, wrong };
}

const quoted = (text: string) => `"${text.replaceAll('"', '""')}"`;

export function csv(
  rows: readonly SalvoRow[],
  routers: ReadonlyMap<string, string>, // names
  noSource: string,
): string {
  return rows
    .map(({ router, destinationName, source, sourceName }) => {
      const from = source === null ? noSource : (sourceName ?? String(source));
      return [routers.get(router) ?? router, destinationName, from].map(quoted).join(',') + '\r\n';
    })
    .join('');
}
