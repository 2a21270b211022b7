// What an undo, redo or rollback would do: its headline, how many rows go, and in words why others do not.
import type { Schemas } from '../api/ask';
import type { DryRunRow, Operation, Reason } from '../api/types';
import type { RouterState } from '../live/router_topic';
import { clock } from '../texts/clock';
import type { Say, Speech } from '../texts/speech';

export type NextStep = Schemas['NextStep'];
export type Back = 'undo' | 'redo' | { readonly rollback: Operation };
type States = ReadonlyMap<string, RouterState>; // of the routers that are known here
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

function changedWords(speech: Speech, row: DryRunRow, states: States): string {
  const { destinationName: destination } = row;
  const source = row.was === null ? speech.say('noSource') : (row.wasName ?? speech.say('unknown'));
  const by = states.get(row.router)?.facts[row.destination]?.by;
  if (typeof by === 'object' && by !== null)
    return speech.say('undoChangedBy', { destination, person: by.name, source });
  return speech.say('undoChanged', { destination, source });
}

function rowWords(speech: Speech, row: DryRunRow, states: States): string {
  const { say } = speech;
  const { destinationName: destination, reason } = row;
  if (row.verdict !== 'blocked')
    return say('undoRow', {
      destination,
      old: row.was === null ? say('noSource') : (row.wasName ?? say('unknown')),
      new: row.source === null ? say('noSource') : (row.sourceName ?? say('unknown')),
    });
  if (reason === 'changedSince') return changedWords(speech, row, states);
  if (reason === 'linkNotReady' || reason === 'linkLost') return say('undoLinkDown');
  const known = reason === undefined ? undefined : REASONS[reason];
  if (known !== undefined) return say(known, { destination });
  return say('undoOther', { destination, reason: row.detail ?? say('notSent') });
}

const WORDS = {
  undo: { title: 'undoTakeOf', all: 'undoCount', some: 'undoPossible' },
  redo: { title: 'redoTakeOf', all: 'redoCount', some: 'redoCount' },
  rollback: { title: 'rollBackTakeOf', all: 'rollBack', some: 'rollBackPossible' },
} as const;

// None when there is nothing to go back to.
export function undoShown(
  speech: Speech,
  back: Back,
  { of, dryRun }: NextStep,
  states: States,
): UndoShown | undefined {
  if (of === undefined || dryRun === undefined) return undefined;
  const { say } = speech;
  const words = WORDS[typeof back === 'string' ? back : 'rollback'];
  const n = dryRun.change;
  const values = { clock: clock(speech, Date.parse(of.wished)), n: dryRun.rows.length };
  return {
    title: say(words.title, values),
    rows: dryRun.rows.map((row) => rowWords(speech, row, states)),
    count: n,
    button: n === 0 ? '' : say(dryRun.blocked === 0 ? words.all : words.some, { n }),
  };
}

export function nothingWords(say: Say, back: Back): string {
  if (typeof back !== 'string') return say('nothingToRollBack');
  return say(back === 'undo' ? 'nothingToUndo' : 'nothingToRedo');
}
