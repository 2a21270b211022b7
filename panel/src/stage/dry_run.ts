// What a dry run says, row by row and in its headline.
import type { DryRun, DryRunRow, Reason } from '../api/types';
import { clock } from '../texts/clock';
import type { Speech, TextKey } from '../texts/speech';

// In the panel's words; of other reasons the server's sentence is shown.
const REASONS = {
  linkNotReady: 'linkDown',
  linkLost: 'linkDown',
  factUnknown: 'presentUnknown',
  noSuchSource: 'noSuchSource',
  noSuchDestination: 'noSuchDestination',
  noRight: 'lookOnly',
  blockedByOtherRow: 'otherRowBlocked',
} as const satisfies Partial<Record<Reason, TextKey>>;

function isWorded(reason: Reason | undefined): reason is keyof typeof REASONS {
  return reason !== undefined && Object.hasOwn(REASONS, reason);
}

// `lockWords`: of the destination's lock as it is now, if it has one.
export function verdict(speech: Speech, row: DryRunRow, lockWords: string | undefined): string {
  if (row.verdict === 'change') return speech.say('willChange');
  if (row.verdict === 'unchanged') return speech.say('alreadySo');
  const { reason } = row;
  if (
    (reason === 'destinationLocked' || reason === 'destinationProtected') &&
    lockWords !== undefined
  )
    return lockWords;
  if (isWorded(reason)) return speech.say(REASONS[reason]);
  return row.detail ?? speech.say('notSent');
}

export function dryRunHeadline(speech: Speech, dryRun: DryRun): string {
  const { say } = speech;
  const locked = dryRun.rows.filter(({ reason }) => reason === 'destinationLocked').length;
  const counts = [
    say('countWillChange', { n: dryRun.change }),
    ...(dryRun.unchanged > 0 ? [say('countAlreadySo', { n: dryRun.unchanged })] : []),
    ...(locked > 0 ? [say('countLocked', { n: locked })] : []),
    ...(dryRun.blocked > locked ? [say('countBlocked', { n: dryRun.blocked - locked })] : []),
  ];
  return say('dryRunHeadline', {
    counts: counts.join(', '),
    clock: clock(speech, Date.parse(dryRun.checked)),
  });
}
