// What became of a take: its rows in the order in which they were staged, and the headline whose
// counts are filters of them.
import type { Operation, OperationRow } from '../api/types';
import { duration, inSeconds } from '../texts/clock';
import type { Speech } from '../texts/speech';
import type { Mark } from '../routes/marks';
import { ended } from '../routes/outcome';

export type Kind = 'confirmed' | 'open' | 'contradicted' | 'timedOut' | 'notSent' | 'unknown';
export type ResultShown = {
  readonly row: OperationRow;
  readonly kind: Kind;
  readonly mark: Mark;
  readonly words: string;
};
export type CountShown = { readonly kind: Kind; readonly count: number; readonly words: string };

const KINDS = {
  open: 'open',
  confirmed: 'confirmed',
  contradicted: 'contradicted',
  refused: 'notSent',
  timedOut: 'timedOut',
  notSent: 'notSent',
  superseded: 'notSent',
  unknown: 'unknown',
} as const satisfies Record<OperationRow['outcome'], Kind>;

function openRow(
  speech: Speech,
  row: OperationRow,
  sinceWished: number,
): Pick<ResultShown, 'mark' | 'words'> {
  if (row.sentMs === undefined) return { mark: 'queued', words: speech.say('queued') };
  const time = inSeconds(speech, Math.max(0, sinceWished - row.sentMs));
  return { mark: 'sent', words: speech.say('sent', { time }) };
}

// `now` in ms by the server's clock.
export function resultsShown(
  speech: Speech,
  operation: Operation,
  now: number,
): readonly ResultShown[] {
  const sinceWished = now - Date.parse(operation.wished);
  return operation.rows.map((row) => {
    const { outcome } = row;
    const shown =
      outcome === 'open' ? openRow(speech, row, sinceWished) : ended(speech, row, outcome);
    return { row, kind: KINDS[outcome], ...shown };
  });
}

const WORDS = {
  open: 'countOpen',
  contradicted: 'countContradicted',
  timedOut: 'countTimedOut',
  notSent: 'countNotSent',
  unknown: 'countUnknown',
} as const;

function slowest(rows: readonly OperationRow[]): number | undefined {
  const times = rows.flatMap(({ latencyMs }) => (latencyMs === undefined ? [] : [latencyMs]));
  return times.length === 0 ? undefined : Math.max(...times);
}

// The confirmed ones first, even when there are none; of the others those that there are.
export function headline(speech: Speech, operation: Operation): readonly CountShown[] {
  const { rows } = operation;
  const count = (kind: Kind) => rows.filter((row) => KINDS[row.outcome] === kind).length;
  const values = { n: count('confirmed'), all: rows.length };
  const time = slowest(rows);
  const words =
    time === undefined
      ? speech.say('countConfirmedOf', values)
      : speech.say('countConfirmedOfSlowest', { ...values, time: duration(speech, time) });
  const others = (['open', 'contradicted', 'timedOut', 'notSent', 'unknown'] as const)
    .map((kind) => ({
      kind,
      count: count(kind),
      words: speech.say(WORDS[kind], { n: count(kind) }),
    }))
    .filter((each) => each.count > 0);
  return [{ kind: 'confirmed', count: values.n, words }, ...others];
}

// Rows that "Retry" stages again: those that went wrong and did not come right later.
export function retryable(operation: Operation): readonly OperationRow[] {
  return operation.rows.filter(
    ({ outcome, lateMs }) => outcome !== 'open' && outcome !== 'confirmed' && lateMs === undefined,
  );
}

// Rows that a rollback would put back: those that the router shows now because of this.
export function returnable(operation: Operation): readonly OperationRow[] {
  return operation.rows.filter(
    ({ outcome, unchanged, lateMs }) =>
      unchanged !== true && (outcome === 'confirmed' || lateMs !== undefined),
  );
}
