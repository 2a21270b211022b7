// What an undo or redo would do: its headline, how many rows go, and in words why others do not.
import type { Schemas } from '../api/ask';
import type { DryRunRow, Reason } from '../api/types';
import { UNKNOWN_FACT, type RouterState } from '../live/router_topic';
import { clock } from '../texts/clock';
import type { Speech } from '../texts/speech';

export type NextStep = Schemas['NextStep'];
export type Back = 'undo' | 'redo';
export type UndoShown = {
  readonly title: string;
  readonly rows: readonly string[]; // of those that go, and why others do not
  readonly count: number; // that go
  readonly button: string; // empty when none goes
};

const REASONS: Partial<Record<Reason, 'undoBeforeUnknown' | 'undoLocked' | 'undoNoRight'>> = {
  factUnknown: 'undoBeforeUnknown',
  destinationLocked: 'undoLocked',
  destinationProtected: 'undoLocked',
  noRight: 'undoNoRight',
};

function changedWords(speech: Speech, row: DryRunRow, state: RouterState): string {
  const { destinationName: destination } = row;
  const source = row.was === null ? speech.say('noSource') : (row.wasName ?? speech.say('unknown'));
  const fact = row.router === state.router.id ? state.facts[row.destination] : UNKNOWN_FACT;
  const by = fact?.by;
  if (typeof by === 'object' && by !== null)
    return speech.say('undoChangedBy', { destination, person: by.name, source });
  return speech.say('undoChanged', { destination, source });
}

function rowWords(speech: Speech, row: DryRunRow, state: RouterState): string {
  const { say } = speech;
  const { destinationName: destination, reason } = row;
  if (row.verdict !== 'blocked')
    return say('undoRow', {
      destination,
      old: row.was === null ? say('noSource') : (row.wasName ?? say('unknown')),
      new: row.source === null ? say('noSource') : (row.sourceName ?? say('unknown')),
    });
  if (reason === 'changedSince') return changedWords(speech, row, state);
  if (reason === 'linkNotReady' || reason === 'linkLost') return say('undoLinkDown');
  const known = reason === undefined ? undefined : REASONS[reason];
  if (known !== undefined) return say(known, { destination });
  return say('undoOther', { destination, reason: row.detail ?? say('notSent') });
}

// None when there is nothing to undo or redo.
export function undoShown(
  speech: Speech,
  back: Back,
  { of, dryRun }: NextStep,
  state: RouterState,
): UndoShown | undefined {
  if (of === undefined || dryRun === undefined) return undefined;
  const { say } = speech;
  const n = dryRun.change;
  const values = { clock: clock(speech, Date.parse(of.wished)), n: dryRun.rows.length };
  const all = say(back === 'undo' ? 'undoCount' : 'redoCount', { n });
  const some = say(back === 'undo' ? 'undoPossible' : 'redoCount', { n });
  return {
    title: say(back === 'undo' ? 'undoTakeOf' : 'redoTakeOf', values),
    rows: dryRun.rows.map((row) => rowWords(speech, row, state)),
    count: n,
    button: n === 0 ? '' : dryRun.blocked === 0 ? all : some,
  };
}
