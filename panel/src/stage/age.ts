// How long ago the oldest row of a stage was staged: said after an hour.
import type { StageRow } from '../api/types';
import type { Speech } from '../texts/speech';

const HOUR = 3_600_000;

// `now`: ms by the server's clock. Empty where there is nothing to say.
export function stageAge(
  { say }: Speech,
  rows: readonly Pick<StageRow, 'staged'>[],
  now: number,
): string {
  const oldest = Math.min(...rows.map(({ staged }) => Date.parse(staged)));
  const hours = Math.floor((now - oldest) / HOUR);
  return hours >= 1 ? say('stagedAgo', { age: say('hours', { n: hours }) }) : '';
}
