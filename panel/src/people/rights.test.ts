import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import {
  areSameRights,
  groupNames,
  limited,
  rightsWords,
  withException,
  withGroup,
  type Rights,
} from './rights';

const speech = speechOf(english, 'en', 'UTC');
const rights: Rights = { usual: 'view', exceptions: { r1: 'operate' }, groups: ['Gallery'] };

test('a router has a right of its own, or the usual one', () => {
  expect(withException(rights, 'r2', 'none').exceptions).toEqual({ r1: 'operate', r2: 'none' });
  expect(withException(rights, 'r1', 'engineer').exceptions).toEqual({ r1: 'engineer' });
  expect(withException(rights, 'r1', undefined)).toStrictEqual({ ...rights, exceptions: {} });
});

test('a limit begins without groups, and goes with them', () => {
  expect(limited({ usual: 'view', exceptions: {} }, true).groups).toEqual([]);
  expect(limited(rights, false)).toEqual({ usual: 'view', exceptions: { r1: 'operate' } });
});

test('groups are put in once, and taken out', () => {
  expect(withGroup(rights, 'Floor', true).groups).toEqual(['Gallery', 'Floor']);
  expect(withGroup(rights, 'Gallery', true).groups).toEqual(['Gallery']);
  expect(withGroup(rights, 'Gallery', false).groups).toEqual([]);
});

test('groups of destinations can be chosen, those that have gone too', () => {
  const of = (side: 'sources' | 'destinations', name: string) => ({
    router: 'r1',
    side,
    name,
    members: [0],
  });
  const groups = [of('destinations', 'Walls'), of('sources', 'Cameras'), of('destinations', 'TX')];
  expect(groupNames([...groups, of('destinations', 'TX')], rights)).toEqual([
    'Gallery',
    'TX',
    'Walls',
  ]);
});

test.each([
  [{ ...rights, exceptions: { r1: 'operate' } }, true],
  [{ ...rights, usual: 'none' }, false],
  [{ ...rights, exceptions: {} }, false],
  [{ ...rights, groups: [] }, false],
  [limited(rights, false), false],
] as const)('%j is the same: %s', (other, answer) => {
  expect(areSameRights(rights, other as Rights)).toBe(answer);
});

test('no order counts', () => {
  const there: Rights = { usual: 'view', exceptions: { a: 'none', b: 'view' }, groups: ['x', 'y'] };
  const back: Rights = { usual: 'view', exceptions: { b: 'view', a: 'none' }, groups: ['y', 'x'] };
  expect(areSameRights(there, back)).toBe(true);
});

test('rights are said one after the other', () => {
  const nameOf = (router: string) => ({ r1: 'STUDIO A' })[router] ?? router;
  const words = (more: Partial<Rights>) => rightsWords(speech, { ...rights, ...more }, nameOf);
  expect(words({ groups: ['Gallery', 'Floor'] })).toEqual([
    'View',
    'STUDIO A: Operate',
    'Operate only in Gallery and Floor',
  ]);
  expect(words({ usual: 'administer', exceptions: {}, groups: [] })).toEqual([
    'Administer',
    'Operate in no group of destinations',
  ]);
});
