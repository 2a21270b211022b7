// What a person may do with a router.
import type { Schemas } from '../api/ask';

export type Rights = Schemas['Rights'];

export function rightOn({ usual, exceptions }: Rights, router: string): Schemas['Right'] {
  return exceptions[router] ?? usual;
}

export function mayTake(rights: Rights, router: string): boolean {
  const right = rightOn(rights, router);
  return right !== 'none' && right !== 'view';
}

export function isEngineer(rights: Rights, router: string): boolean {
  const right = rightOn(rights, router);
  return right === 'engineer' || right === 'administer';
}
