// The names of one side of a router, as they are kept at the server: read with their tag, and set.
import type { Answer, Schemas } from '../api/ask';
import { command, newKey } from '../api/command';
import { read, type Found } from '../api/read';
import type { Side, Source } from '../api/types';

export async function readSide(
  router: string,
  side: Side,
  fetched: typeof fetch = fetch,
): Promise<Found<readonly Source[]>> {
  const at = { router };
  if (side === 'sources') {
    const answer = await read('/api/v1/routers/{router}/sources', { at }, fetched);
    return answer.ok ? { ...answer, body: answer.body.sources } : answer;
  }
  const answer = await read('/api/v1/routers/{router}/destinations', { at }, fetched);
  return answer.ok ? { ...answer, body: answer.body.destinations } : answer;
}

// Only while what is there is what came with the tag.
export function setLabels(
  router: string,
  side: Side,
  rows: Schemas['LabelRows']['rows'],
  tag: string,
  fetched: typeof fetch = fetch,
): Promise<Answer<unknown>> {
  const wanted = { at: { router }, body: { rows }, key: newKey(), tag };
  return side === 'sources'
    ? command('patch', '/api/v1/routers/{router}/sources', wanted, fetched)
    : command('patch', '/api/v1/routers/{router}/destinations', wanted, fetched);
}
