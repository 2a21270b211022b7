// The operator's desk at one router: what is asked of the server there, in the order in which it was
// pressed, and what has come of it. What is staged itself comes with the live messages. It owns the
// present record; what it asks for is a promise that no test has to wait for by time.
import type { Refusal } from '../api/ask';
import type { command } from '../api/command';
import type { DryRun, Operation, OperationRow, StageRow } from '../api/types';
import { answered, attempt, type Attempt } from './attempt';
import { rowsFor, type StageChange } from './press';

export type Desk = {
  readonly take: Attempt | undefined;
  readonly dryRun: (DryRun & { readonly of: readonly StageRow[] }) | undefined;
  readonly refused: Refusal | undefined; // what was asked last
  readonly told: Operation | undefined; // the last operation that was begun here
};

export type Clerk = {
  readonly change: (change: StageChange) => Promise<void>;
  readonly take: (rows: readonly StageRow[]) => Promise<void>;
  readonly takeNow: (destinations: readonly number[], source: number) => Promise<void>;
  readonly clear: () => Promise<void>;
  readonly dryRun: (rows: readonly StageRow[]) => Promise<void>;
  readonly closeDryRun: () => void;
  readonly retry: (rows: readonly OperationRow[]) => Promise<void>;
  readonly accept: (destinations: readonly number[]) => Promise<void>; // as they are
};

export const EMPTY_DESK: Desk = {
  take: undefined,
  dryRun: undefined,
  refused: undefined,
  told: undefined,
};

export function openDesk(
  router: string,
  send: typeof command,
  newKey: () => string,
  tell: (desk: Desk) => void,
): Clerk {
  let desk = EMPTY_DESK;
  let last: Promise<unknown> = Promise.resolve();
  const at = { router };

  function set(change: Partial<Desk>): void {
    desk = { ...desk, ...change };
    tell(desk);
  }
  // One after the other, so that what is taken is what was staged before.
  function inTurn<T>(act: () => Promise<T>): Promise<T> {
    const done = last.then(act);
    last = done;
    return done;
  }

  async function change(wanted: StageChange): Promise<void> {
    const address = '/api/v1/routers/{router}/stage';
    const answer = await inTurn(() => send('patch', address, { at, body: wanted, key: newKey() }));
    set({ refused: answer.ok ? undefined : answer });
  }

  async function take(rows: readonly StageRow[]): Promise<void> {
    const asked = attempt(desk.take, rows, newKey);
    if (asked === undefined) return;
    set({ take: asked, refused: undefined });
    const address = '/api/v1/routers/{router}/stage/take';
    const answer = await inTurn(() =>
      send('post', address, { at, body: { rule: 'rest' }, key: asked.key }),
    );
    set({
      take: answered(asked, answer),
      dryRun: undefined,
      ...(answer.ok ? { told: answer.body } : { refused: answer }),
    });
  }

  async function takeNow(destinations: readonly number[], source: number): Promise<void> {
    const address = '/api/v1/routers/{router}/routes';
    const rows = rowsFor(destinations, source);
    const body = { rows, rule: 'rest', dryRun: false, sendUnchanged: false } as const;
    const answer = await inTurn(() => send('patch', address, { at, body, key: newKey() }));
    if (!answer.ok) set({ refused: answer });
    else if ('kind' in answer.body) set({ refused: undefined, told: answer.body });
  }

  async function clear(): Promise<void> {
    const address = '/api/v1/routers/{router}/stage';
    const answer = await inTurn(() =>
      send('delete', address, { at, body: undefined, key: newKey() }),
    );
    set({ dryRun: undefined, refused: answer.ok ? undefined : answer });
  }

  async function dryRun(rows: readonly StageRow[]): Promise<void> {
    const address = '/api/v1/routers/{router}/stage/dry-run';
    const answer = await inTurn(() =>
      send('post', address, { at, body: { rule: 'rest' }, key: newKey() }),
    );
    if (answer.ok) set({ refused: undefined, dryRun: { ...answer.body, of: rows } });
    else set({ refused: answer, dryRun: undefined });
  }

  async function accept(destinations: readonly number[]): Promise<void> {
    const address = '/api/v1/routers/{router}/destinations/{index}/accept';
    for (const index of destinations) {
      const wanted = { at: { router, index }, body: undefined, key: newKey() };
      const answer = await inTurn(() => send('post', address, wanted));
      set({ refused: answer.ok ? undefined : answer });
      if (!answer.ok) return;
    }
  }

  return {
    accept,
    change,
    take,
    takeNow,
    clear,
    dryRun,
    closeDryRun: () => {
      set({ dryRun: undefined });
    },
    retry: (rows) =>
      change({
        rows: rows.flatMap(({ destination, source }) =>
          source === undefined ? [] : [{ destination, source }],
        ),
      }),
  };
}
