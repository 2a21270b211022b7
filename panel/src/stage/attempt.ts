// One take of the stage after the other, so that what is staged goes once however often TAKE is
// pressed. A take whose answer was lost keeps its key while the same rows are staged: pressed again,
// it is the same take.
import type { Answer } from '../api/ask';
import type { StageRow } from '../api/types';

export type Attempt = {
  readonly is: 'asking' | 'unanswered' | 'taken';
  readonly key: string;
  readonly of: string; // the rows
};

const same = (rows: readonly StageRow[]) => JSON.stringify(rows);

// Nothing more is to be sent: it is under way, or the stage that was taken is not gone from here yet.
export function isUnderWay(last: Attempt | undefined, rows: readonly StageRow[]): boolean {
  if (last === undefined) return false;
  return last.is === 'asking' || (last.is === 'taken' && last.of === same(rows));
}

export function attempt(
  last: Attempt | undefined,
  rows: readonly StageRow[],
  newKey: () => string,
): Attempt | undefined {
  if (isUnderWay(last, rows)) return undefined;
  const of = same(rows);
  const goesOn = last?.is === 'unanswered' && last.of === of;
  return { is: 'asking', key: goesOn ? last.key : newKey(), of };
}

export function answered(asked: Attempt, answer: Answer<unknown>): Attempt | undefined {
  if (answer.ok) return { ...asked, is: 'taken' };
  return answer.status === 0 ? { ...asked, is: 'unanswered' } : undefined;
}
