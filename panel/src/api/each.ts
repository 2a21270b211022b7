// The same command for each of several things, one after another. It owns the keys: what is sent again
// because no answer came is the same command.
import type { Answer, Refusal } from './ask';

export type Refused = { readonly of: number; readonly refusal: Refusal };

// What was refused; the others are done.
export type SendEach = (
  things: readonly number[],
  send: (thing: number, key: string) => Promise<Answer<unknown>>,
) => Promise<readonly Refused[]>;

export function openEach(newKey: () => string): SendEach {
  const keys = new Map<number, string>();

  return async (things, send) => {
    const refused: Refused[] = [];
    for (const of of things) {
      const key = keys.get(of) ?? newKey();
      keys.set(of, key);
      const answer = await send(of, key);
      if (answer.ok || answer.status !== 0) keys.delete(of);
      if (!answer.ok) refused.push({ of, refusal: answer });
    }
    return refused;
  };
}
