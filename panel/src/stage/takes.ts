// The last takes of a person at a router while they are followed: those that are told, and those whose
// end was missed, which are asked for. It owns them.
import type { readOperation } from '../api/operation';
import type { Operation } from '../api/types';
import { missed, recent } from './recent';

type Told = ReadonlyMap<string, Operation>;

// `tell`: newest first, with the one that has just ended.
export function followTakes(
  person: string,
  router: string,
  ask: typeof readOperation,
  tell: (takes: readonly Operation[], ended: Operation | undefined) => void,
): (told: Told) => Promise<void> {
  let takes: readonly Operation[] = [];

  function keep(told: Told): void {
    const before = takes;
    takes = recent(before, told, person, router);
    const ended = takes.find(
      (each) =>
        each.state === 'ended' && before.some((was) => was.id === each.id && was.state === 'open'),
    );
    tell(takes, ended);
  }
  async function askFor(id: string): Promise<void> {
    const answer = await ask(id);
    if (answer.ok) keep(new Map([[id, answer.body]]));
  }

  return async (told) => {
    keep(told);
    await Promise.all(missed(takes, told).map(askFor));
  };
}
