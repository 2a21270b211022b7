// What somebody may do, as administrators edit it.
import type { Schemas } from '../api/ask';
import type { Say } from '../texts/speech';

export type Right = Schemas['Right'];
export type Rights = Schemas['Rights'];

export const RIGHT_TEXTS = {
  none: 'noRight',
  view: 'view',
  operate: 'operate',
  engineer: 'engineer',
  administer: 'administer',
} as const;
export const NO_RIGHTS: Rights = { usual: 'view', exceptions: {} };

// `right`: none where the usual one counts.
export function withException(rights: Rights, router: string, right: Right | undefined): Rights {
  const others = Object.entries(rights.exceptions).filter(([id]) => id !== router);
  const all = right === undefined ? others : [...others, [router, right] as const];
  return { ...rights, exceptions: Object.fromEntries(all) };
}

export function limited(rights: Rights, isLimited: boolean): Rights {
  const { usual, exceptions } = rights;
  return isLimited ? { usual, exceptions, groups: [] } : { usual, exceptions };
}

export function withGroup(rights: Rights, group: string, isIn: boolean): Rights {
  const others = (rights.groups ?? []).filter((each) => each !== group);
  return { ...rights, groups: isIn ? [...others, group] : others };
}

// By name; also of groups that are no longer there.
export function groupNames(groups: readonly Schemas['Group'][], rights: Rights): readonly string[] {
  const there = groups.filter(({ side }) => side === 'destinations').map(({ name }) => name);
  return [...new Set([...there, ...(rights.groups ?? [])])].sort();
}

export function areSameRights(a: Rights, b: Rights): boolean {
  const ordered = ({ usual, exceptions, groups }: Rights) =>
    JSON.stringify([usual, Object.entries(exceptions).sort(), groups && [...groups].sort()]);
  return ordered(a) === ordered(b);
}

// One after the other. `nameOf`: what a router is called.
export function rightsWords(
  { say, language }: { say: Say; language: string },
  { usual, exceptions, groups }: Rights,
  nameOf: (router: string) => string,
): readonly string[] {
  const list = new Intl.ListFormat(language);
  const limits =
    groups === undefined
      ? []
      : [groups.length === 0 ? say('inNoGroup') : say('inGroups', { groups: list.format(groups) })];
  return [
    say(RIGHT_TEXTS[usual]),
    ...Object.entries(exceptions).map(([router, right]) =>
      say('rightAt', { router: nameOf(router), right: say(RIGHT_TEXTS[right]) }),
    ),
    ...limits,
  ];
}
