// The last takes of one person on one router, newest first, as far as they were told here. The server
// tells of operations for a minute; here they stay.
import type { Operation } from '../api/types';

export const KEPT = 5;

export function recent(
  kept: readonly Operation[],
  told: ReadonlyMap<string, Operation>,
  person: string,
  router: string,
): readonly Operation[] {
  const all = new Map([...kept.map((each) => [each.id, each] as const), ...told]);
  return [...all.values()]
    .filter(
      ({ actor, rows }) => actor.person.id === person && rows.some((row) => row.router === router),
    )
    .sort((a, b) => Date.parse(b.wished) - Date.parse(a.wished) || (a.id < b.id ? 1 : -1))
    .slice(0, KEPT);
}

// Those whose end was not told, and will not be.
export function missed(
  kept: readonly Operation[],
  told: ReadonlyMap<string, Operation>,
): readonly string[] {
  return kept.filter(({ id, state }) => state === 'open' && !told.has(id)).map(({ id }) => id);
}
