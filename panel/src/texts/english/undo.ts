import type { Template } from '../template';

// Undo and redo; locks and protects.
export const undo = {
  undoTakeOf: {
    one: 'Undo take of {clock}: {n} route back',
    other: 'Undo take of {clock}: {n} routes back',
  },
  redoTakeOf: { one: 'Redo take of {clock}: {n} route', other: 'Redo take of {clock}: {n} routes' },
  rollBackTakeOf: {
    one: 'Roll back take of {clock}: {n} route back',
    other: 'Roll back take of {clock}: {n} routes back',
  },
  undo: 'Undo',
  undoCount: 'Undo {n}',
  redoCount: 'Redo {n}',
  undoPossible: 'Undo the {n} that can be undone',
  undoChangedBy: '{destination}: {person} has changed it since ({source})',
  undoChanged: '{destination}: it has changed since ({source})',
  undoBeforeUnknown: '{destination}: what was there before is unknown',
  undoLocked: '{destination}: locked',
  undoNoRight: '{destination}: you may look, not take',
  undoLinkDown: 'Link down',
  nothingToUndo: 'Nothing to undo',
  nothingToRedo: 'Nothing to redo',
  nothingToRollBack: 'Nothing to roll back',
  protect: 'Protect',
  lock: 'Lock',
  protectMeans: 'Only you can route {destination} until you release it.',
  lockMeans: 'Nobody can route {destination}, you included, until it is unlocked.',
  protectMeansMany: 'Only you can route these {n} destinations until you release them.',
  lockMeansMany: 'Nobody can route these {n} destinations, you included, until they are unlocked.',
  lockHolds:
    'This holds for everybody who works through this server. A panel wired to the router can still switch it; you would see it here as a change.',
  lockNoEnd: 'none',
  lockOneHour: 'after 1 h',
  lockAtTime: 'at a time',
  lockEndTime: 'Time',
  lockEndWanted: 'Choose a time that is still to come.',
  destinationCount: { one: '{n} destination', other: '{n} destinations' },
  lockKept: {
    one: '{n} of them is locked or protected already and stays as it is.',
    other: '{n} of them are locked or protected already and stay as they are.',
  },
  askToBreakLock: 'Break lock…',
  breakLock: 'Break lock',
} as const satisfies Record<string, Template>;
