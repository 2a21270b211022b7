// The strip that shows what an undo, redo or rollback would do, from when it is asked for until it is
// closed or the server has taken it. It owns the present record; none: it is closed.
import type { Answer, Refusal } from '../api/ask';
import type { Back, NextStep } from './undo';

export type Strip = {
  readonly back: Back;
  readonly key: string; // however often it is pressed, it goes once
  readonly step: NextStep | undefined;
  readonly refused: Refusal | undefined;
};

export type Undoing = {
  readonly open: (back: Back, goesAtOnce: () => boolean) => Promise<void>;
  readonly go: () => Promise<void>;
  readonly close: () => void;
};

export function openUndoing(
  ask: (back: Back) => Promise<Answer<NextStep>>,
  send: (back: Back, of: string | undefined, key: string) => Promise<Answer<unknown>>,
  newKey: () => string,
  tell: (strip: Strip | undefined) => void,
): Undoing {
  let strip: Strip | undefined;

  function set(next: Strip | undefined): void {
    strip = next;
    tell(next);
  }

  async function open(back: Back, goesAtOnce: () => boolean): Promise<void> {
    const answer = await ask(back);
    const step = answer.ok ? answer.body : undefined;
    set({ back, key: newKey(), step, refused: answer.ok ? undefined : answer });
    if (step?.dryRun?.blocked === 0 && goesAtOnce()) await go();
  }

  async function go(): Promise<void> {
    const opened = strip;
    if (opened === undefined) return;
    const answer = await send(opened.back, opened.step?.of?.operation, opened.key);
    if (strip !== opened) return; // closed, or another is open
    set(answer.ok ? undefined : { ...opened, step: undefined, refused: answer });
  }

  return {
    open,
    go,
    close: () => {
      set(undefined);
    },
  };
}
