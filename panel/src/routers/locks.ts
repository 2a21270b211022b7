// The locks of a router as they are listed. Nothing moves while somebody looks: what is freed stays
// at its place, what is locked meanwhile comes behind.
import type { Lock } from '../api/types';

// `lock`: none when it has been freed since it was listed.
export type LockRow = {
  readonly destination: number;
  readonly name: string;
  readonly lock: Lock | undefined;
};

export function lockRows(
  before: readonly LockRow[],
  locks: ReadonlyMap<number, Lock>,
): readonly LockRow[] {
  const listed = new Set(before.map(({ destination }) => destination));
  const stay = before.map((row) => ({ ...row, lock: locks.get(row.destination) }));
  const come = [...locks.values()]
    .filter(({ destination }) => !listed.has(destination))
    .sort((a, b) => a.destination - b.destination)
    .map((lock) => ({ destination: lock.destination, name: lock.destinationName, lock }));
  return [...stay, ...come];
}
