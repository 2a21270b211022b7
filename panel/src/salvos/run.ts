// The running of one salvo: the dry run that it begins with, and the run itself, which goes once
// however often it is pressed. It owns the present record.
import type { Refusal } from '../api/ask';
import type { command } from '../api/command';
import type { DryRun, Operation } from '../api/types';
import type { Salvo } from './draft';

export type Rule = Salvo['rule'];
export type Checked = DryRun & {
  readonly version: number;
  readonly key: string; // of the run that it leads to
};
export type Run = {
  readonly checked: Checked | undefined;
  readonly isAsking: boolean;
  readonly operation: Operation | undefined; // the last that was begun here
  readonly refused: Refusal | undefined;
};
export type Running = {
  readonly check: (version: number, rule: Rule) => Promise<void>;
  readonly take: () => Promise<void>;
};

export const IDLE: Run = {
  checked: undefined,
  isAsking: false,
  operation: undefined,
  refused: undefined,
};

export function openRunning(
  salvo: string,
  send: typeof command,
  newKey: () => string,
  tell: (run: Run) => void,
): Running {
  let run = IDLE;
  const at = { salvo };

  function set(change: Partial<Run>): void {
    run = { ...run, ...change };
    tell(run);
  }

  async function check(version: number, rule: Rule): Promise<void> {
    if (run.isAsking) return;
    set({ isAsking: true, checked: undefined, refused: undefined });
    const key = newKey();
    const path = '/api/v1/salvos/{salvo}/dry-run';
    const answer = await send('post', path, { at, body: { version, rule }, key });
    if (answer.ok) set({ isAsking: false, checked: { ...answer.body, version, key: newKey() } });
    else set({ isAsking: false, refused: answer });
  }

  // Without an answer it may have gone: pressed again, it is the same run.
  async function take(): Promise<void> {
    const { checked, isAsking } = run;
    if (checked === undefined || isAsking) return;
    set({ isAsking: true, refused: undefined });
    const { version, rule, key } = checked;
    const path = '/api/v1/salvos/{salvo}/take';
    const answer = await send('post', path, { at, body: { version, rule }, key });
    if (answer.ok) set({ isAsking: false, checked: undefined, operation: answer.body });
    else if (answer.status === 0) set({ isAsking: false, refused: answer });
    else set({ isAsking: false, refused: answer, checked: undefined });
  }

  return { check, take };
}
