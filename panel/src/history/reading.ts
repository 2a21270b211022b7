// Asks the server for what the history shows.
import type { Refusal } from '../api/ask';
import { read } from '../api/read';
import type { Entry } from './pages';
import type { Query } from './query';

const LIMIT = 100;
const MOST = 1000;

export function page(query: Query, cursor?: string) {
  const more = { limit: String(LIMIT), ...(cursor === undefined ? {} : { cursor }) };
  return read('/api/v1/history', { query: { ...query, ...more } });
}

// All from this time on, in as many pages as there are.
export async function since(
  query: Query,
  from: string | undefined,
  ask: typeof read = read,
): Promise<{ ok: true; entries: readonly Entry[] } | Refusal> {
  const later = from !== undefined && from > (query.from ?? '') ? { from } : {};
  const entries: Entry[] = [];
  for (let cursor: string | undefined = ''; cursor !== undefined;) {
    const more: Query = { limit: String(MOST), ...(cursor === '' ? {} : { cursor }) };
    const answer = await ask('/api/v1/history', { query: { ...query, ...later, ...more } });
    if (!answer.ok) return answer;
    entries.push(...answer.body.entries);
    cursor = answer.body.next;
  }
  return { ok: true, entries };
}
