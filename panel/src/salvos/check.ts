// What a dry run of a salvo found, in counts and row by row, and whether the salvo can be taken.
import type { DryRun, DryRunRow, Lock } from '../api/types';
import type { RouterState } from '../live/router_topic';
import type { Circumstances } from '../routes/fact';
import { lockShown } from '../routes/guards';
import type { Mark } from '../routes/marks';
import { verdict } from '../stage/dry_run';
import type { Speech } from '../texts/speech';
import type { Checked, Rule } from './run';

type States = ReadonlyMap<string, RouterState>;

// By its rule nothing goes of which one row is blocked; these others are not what stands against it.
const isHeldBack = ({ reason }: DryRunRow) => reason === 'blockedByOtherRow';

function lockOf(states: States, { router, destination }: DryRunRow): Lock | undefined {
  return states.get(router)?.locks.get(destination);
}

// Locked ones by who holds them, as far as that is known.
export function counts(speech: Speech, dryRun: DryRun, states: States): readonly string[] {
  const { say } = speech;
  const locked = dryRun.rows.filter(({ reason }) => reason === 'destinationLocked');
  const holders = new Map<string, number>();
  for (const row of locked) {
    const person = lockOf(states, row)?.owner.name ?? '';
    holders.set(person, (holders.get(person) ?? 0) + 1);
  }
  const held = dryRun.rows.filter(isHeldBack).length;
  const others = dryRun.blocked - locked.length - held;
  return [
    say('countWillChange', { n: dryRun.change }),
    ...(dryRun.unchanged > 0 ? [say('countAlreadySo', { n: dryRun.unchanged })] : []),
    ...[...holders].map(([person, n]) =>
      person === '' ? say('countLocked', { n }) : say('countLockedBy', { n, person }),
    ),
    ...(others > 0 ? [say('countBlocked', { n: others })] : []),
    ...(held > 0 ? [say('countHeldBack', { n: held })] : []),
  ];
}

export type VerdictShown = {
  readonly name: string;
  readonly words: string;
  readonly mark: Mark;
};

export function verdicts(
  dryRun: DryRun,
  states: States,
  circumstances: Circumstances,
): readonly VerdictShown[] {
  return dryRun.rows.map((row) => {
    const guard = lockShown(lockOf(states, row), circumstances);
    const isHeld = row.reason === 'destinationLocked' || row.reason === 'destinationProtected';
    const blocked = isHeld ? (guard?.mark ?? 'locked') : 'notSent';
    return {
      name: row.destinationName,
      words: verdict(circumstances.speech, row, guard?.words),
      mark: row.verdict === 'blocked' ? blocked : row.verdict === 'change' ? 'staged' : 'fact',
    };
  });
}

export type Ready = {
  readonly count: number; // rows that would go
  readonly reason: string; // why it cannot be taken; empty when it can
};
export type Means = {
  readonly speech: Speech;
  readonly mayTake: boolean;
  readonly hearsServer: boolean;
  readonly isSaved: boolean; // what is shown is what would go
  readonly version: number;
  readonly rule: Rule;
};

export function ready(checked: Checked | undefined, means: Means): Ready {
  const { say } = means.speech;
  if (!means.hearsServer) return { count: 0, reason: say('noServerNoTakes') };
  if (!means.mayTake) return { count: 0, reason: say('lookOnly') };
  if (!means.isSaved) return { count: 0, reason: say('saveFirst') };
  if (checked?.version !== means.version || checked.rule !== means.rule)
    return { count: 0, reason: say('dryRunFirst') };
  const { change, rule, rows } = checked;
  const blocked = rows.filter((row) => row.verdict === 'blocked' && !isHeldBack(row)).length;
  if (rule === 'all' && blocked > 0) return { count: 0, reason: say('allOrNone', { n: blocked }) };
  if (change > 0) return { count: change, reason: '' };
  return { count: 0, reason: say(blocked > 0 ? 'noneCanGo' : 'allAlreadySo') };
}
