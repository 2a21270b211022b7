import { expect, test } from 'vitest';

import type { Source } from '../api/types';
import { areStill, groupsOf, isMember, memberRows, ticked } from './groups';

const names: readonly Source[] = ['', 'Floor', 'Walls', 'Floor', ''].map((group, index) => ({
  index,
  number: index + 1,
  name: `MON ${String(index + 1)}`,
  alias: '',
  group,
  routable: true,
}));
const indexes = (members: readonly Source[]) => members.map(({ index }) => index);

test('groups come in the order of their first members', () => {
  expect(groupsOf(names).map(({ name, members }) => [name, indexes(members)])).toEqual([
    ['Floor', [1, 3]],
    ['Walls', [2]],
  ]);
});

test('a member is who was ticked, else who is in the group', () => {
  const [first, second] = names as [Source, Source];
  const ticks = ticked(ticked(new Map([[1, true]]), first, true), second, false);
  const members = (group: string) => indexes(names.filter((name) => isMember(ticks, group, name)));
  expect(members('Floor')).toEqual([0, 3]);
  expect(members('')).toEqual([0]);
});

test('only who comes or goes is sent', () => {
  const ticks = new Map([
    [0, true],
    [1, false],
    [2, true],
    [3, true],
    [4, false],
  ]);
  expect(memberRows(ticks, 'Floor', names, 'Floor')).toEqual([
    { index: 0, group: 'Floor' },
    { index: 1, group: '' },
    { index: 2, group: 'Floor' },
  ]);
});

test('a new group takes its members from where they are, and nobody else', () => {
  const ticks = new Map([
    [0, true],
    [2, true],
    [3, false],
  ]);
  expect(memberRows(ticks, '', names, 'New')).toEqual([
    { index: 0, group: 'New' },
    { index: 2, group: 'New' },
  ]);
});

test('what somebody else has changed counts where it was touched', () => {
  const found = names.map((each) => (each.index === 1 ? { ...each, group: 'Walls' } : each));
  expect(areStill(new Map([[0, true]]), names, found)).toBe(true);
  expect(areStill(new Map([[1, false]]), names, found)).toBe(false);
});
