// Whether TAKE can be pressed, how many rows would go, and in words why not.
import type { Link, Stage, StageRow } from '../api/types';
import type { Speech } from '../texts/speech';

export type Means = {
  readonly speech: Speech;
  readonly link: Link['state'];
  readonly hearsServer: boolean;
  readonly screenLocked: boolean;
  readonly mayTake: boolean;
};

export type TakeShown = {
  readonly count: number; // rows that would go
  readonly can: boolean;
  readonly reason: string; // under the button; empty when it can
  readonly note: string; // what stays behind; empty when nothing does
};

export function isLocked(row: StageRow): boolean {
  const reason = row.blocked?.reason;
  return reason === 'destinationLocked' || reason === 'destinationProtected';
}

// The link holds back all rows alike: it is no reason to leave one of them.
function wouldGo(row: StageRow): boolean {
  return !row.changed && (row.blocked === undefined || row.blocked.reason === 'linkNotReady');
}

function reasonAgainst(rows: readonly StageRow[], means: Means): string {
  const { say } = means.speech;
  if (!means.mayTake) return say('lookOnly');
  if (rows.length === 0) return say('nothingStaged');
  if (!means.hearsServer) return say('noServerNoTakes');
  if (means.link !== 'ready') return say('linkDownNoTakes');
  const changed = rows.filter((row) => row.changed).length;
  if (changed > 0) return say('rowsChanged', { n: changed });
  if (means.screenLocked) return say('screenLocked');
  return rows.some(wouldGo) ? '' : say('noneCanGo');
}

export function takeShown(stage: Stage | undefined, means: Means): TakeShown {
  const rows = stage?.rows ?? [];
  const locked = rows.filter(isLocked).length;
  const reason = reasonAgainst(rows, means);
  return {
    count: rows.filter(wouldGo).length,
    can: reason === '',
    reason,
    note: locked === 0 ? '' : means.speech.say('lockedStays', { n: locked }),
  };
}
