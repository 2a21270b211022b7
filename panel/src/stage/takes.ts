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
  let endings: ReadonlySet<string> | undefined; // those that are known; none before the first telling

  function keep(told: Told): void {
    takes = recent(takes, told, person, router);
    const ended = takes.filter(({ state }) => state === 'ended');
    const known = endings;
    endings = new Set(ended.map(({ id }) => id));
    tell(takes, known && ended.find(({ id }) => !known.has(id)));
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
