// For tests: salvos as the server tells of them.
import type { Schemas } from '../api/ask';
import type { SalvoSummary } from '../api/types';
import { ANA, TIME } from '../live/history';

export function summaryOf(id: string, name: string, note = ''): SalvoSummary {
  const routers = ['r1'];
  return {
    id,
    name,
    note,
    rule: 'all',
    version: 1,
    author: ANA,
    saved: TIME,
    rowCount: 2,
    routers,
  };
}

export function rowOf(destination: number, source: number | null = 4): Schemas['SalvoRow'] {
  const named = { router: 'r1', destination, destinationName: `MON ${destination + 1}`, source };
  return source === null ? named : { ...named, sourceName: `CAM ${source + 1}` };
}

export function salvoOf(rows: readonly Schemas['SalvoRow'][]): Schemas['Salvo'] {
  const { id, name, note, rule, version, author, saved } = summaryOf('01S', 'Evening news');
  return { id, name, note, rule, version, author, saved, rows: [...rows] };
}
