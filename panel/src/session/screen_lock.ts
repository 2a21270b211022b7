// Whether this screen is locked: all can be seen, nothing staged or taken. It is kept on this device.
import type { Refusal } from '../api/ask';

const NAME = 'screenLocked';
type Memory = Pick<Storage, 'getItem' | 'setItem' | 'removeItem'>;

export function recallLock(memory: Memory): boolean {
  return memory.getItem(NAME) !== null;
}

export function keepLock(memory: Memory, isLocked: boolean): void {
  if (isLocked) memory.setItem(NAME, 'yes');
  else memory.removeItem(NAME);
}

// What is given sends nothing while the screen is locked, but says why, and tells that it was pressed.
export type Hold = <Send extends (...wanted: never[]) => Promise<unknown>>(send: Send) => Send;

export function holding(isLocked: () => boolean, because: () => string, tell: () => void): Hold {
  return (send) => {
    const held = (...wanted: never[]): Promise<unknown> => {
      if (!isLocked()) return send(...wanted);
      tell();
      const refusal: Refusal = { ok: false, status: 403, sentence: because() };
      return Promise.resolve(refusal);
    };
    return held as typeof send;
  };
}
