// One row of the stage: what it would change, and what stands against it.
import type { StageRow } from '../api/types';
import { clock } from '../texts/clock';
import type { Speech } from '../texts/speech';
import type { Mark } from '../routes/marks';
import { isLocked } from './take';

export type StageRowShown = {
  readonly destination: number;
  readonly destinationName: string;
  readonly old: string;
  readonly wished: string;
  readonly mark: Extract<Mark, 'staged' | 'changed' | 'locked' | 'notSent'>;
  readonly trouble: string; // empty when nothing stands against it
  readonly asks: boolean; // keep mine, or drop
};

type Present = NonNullable<StageRow['now']>;

function presentName(speech: Speech, { source, sourceName }: Present): string {
  if (source === undefined) return speech.say('unknown');
  return source === null ? speech.say('noSource') : (sourceName ?? String(source));
}

function changedWords(speech: Speech, now: Present | undefined): string {
  if (now?.source === undefined) return speech.say('changedNotKnown');
  if (now.changed === undefined)
    return speech.say('changedNow', { source: presentName(speech, now) });
  const values = {
    source: presentName(speech, now),
    clock: clock(speech, Date.parse(now.changed)),
  };
  if (now.by === undefined) return speech.say('changedUnknown', values);
  if (now.by === null) return speech.say('changedOutside', values);
  return speech.say('changedBy', { ...values, person: now.by.name });
}

// `lockWords`: of the destination's lock as it is now, if it has one.
export function stageRowShown(
  speech: Speech,
  row: StageRow,
  lockWords: string | undefined,
): StageRowShown {
  const { destination, destinationName, source, sourceName, seen, seenName, changed, blocked } =
    row;
  const nameOf = (index: number | null | undefined, told: string | undefined) =>
    presentName(speech, {
      ...(index === undefined ? {} : { source: index }),
      ...(told === undefined ? {} : { sourceName: told }),
    });
  const shown = {
    destination,
    destinationName,
    old: nameOf(seen, seenName),
    wished: nameOf(source, sourceName),
  };
  if (changed)
    return { ...shown, mark: 'changed', trouble: changedWords(speech, row.now), asks: true };
  if (blocked === undefined || blocked.reason === 'linkNotReady')
    return { ...shown, mark: 'staged', trouble: '', asks: false };
  if (isLocked(row))
    return { ...shown, mark: 'locked', trouble: lockWords ?? blocked.detail, asks: false };
  return { ...shown, mark: 'notSent', trouble: blocked.detail, asks: false };
}
