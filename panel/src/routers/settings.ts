// What can be set of a router.
import type { Schemas } from '../api/ask';
import type { Router } from '../api/types';

export type Settings = Required<Schemas['RouterSettings']>;

export const NEW: Settings = {
  name: '',
  address: '',
  port: 12345,
  sourceLimit: 0,
  destinationLimit: 0,
  firstNumber: 1,
  confirmationLimitMs: 3000,
};
const MEMBERS = Object.keys(NEW) as (keyof Settings)[];

export function settingsOf(router: Router): Settings {
  const { name, address, port, sourceLimit, destinationLimit } = router;
  const { firstNumber, confirmationLimitMs } = router;
  return {
    name,
    address,
    port,
    sourceLimit,
    destinationLimit,
    firstNumber,
    confirmationLimitMs,
  };
}

// None when nothing is different.
export function changes(from: Settings, to: Settings): Schemas['RouterSettings'] | undefined {
  const different = MEMBERS.filter((member) => from[member] !== to[member]);
  if (different.length === 0) return undefined;
  return Object.fromEntries(different.map((member) => [member, to[member]]));
}

export function isSameRouter(a: Router, b: Router): boolean {
  return changes(settingsOf(a), settingsOf(b)) === undefined;
}

// A new one of these begins its link anew: until it has been read again it takes no routes.
export function connectsAnew(change: Schemas['RouterSettings']): boolean {
  const { address, port, sourceLimit, destinationLimit } = change;
  return [address, port, sourceLimit, destinationLimit].some((each) => each !== undefined);
}
