import type { Template } from '../template';

// Choosing, staging and taking on the screen Routing.
export const routing = {
  views: 'View',
  lockEnd: 'End',
  lockReason: 'Reason',
  unlock: 'Unlock',
  release: 'Release',
  undoRow: '{destination}: {old} → {new}',
  undoOther: '{destination}: {reason}',
  wishedOver: '{source} →',
  cellSize: 'Size',
  sourceFor: 'Source for {destination}',
  sourceForMany: { one: 'Source for {n} destination', other: 'Source for {n} destinations' },
  chooseDestination: 'Choose a destination.',
  backToDestinations: '‹ Destinations',
  fromSource: '{old} →',
  removeOf: 'Remove {destination}',
  keepMineOf: 'Keep mine: {destination}',
  dropOf: 'Drop {destination}',
  earlierTakes: 'Earlier takes',
  notSentBecause: 'Not sent: {reason}',
  spokenResult: '{destination}: {result}',
  stageOldest: 'staged {age}',
  clearQuestion: { one: 'Remove {n} staged route?', other: 'Remove {n} staged routes?' },
  keepStaged: 'Keep them',
} as const satisfies Record<string, Template>;
