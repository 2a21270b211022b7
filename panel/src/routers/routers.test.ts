import { expect, test } from 'vitest';

import type { Source } from '../api/types';
import { areSame, differs, edited, labelOf, labelRows, pasted } from './labels';
import { changes, connectsAnew, NEW } from './settings';

test('of settings only what is different is sent', () => {
  expect(changes(NEW, { ...NEW })).toBeUndefined();
  expect(changes(NEW, { ...NEW, name: 'A', port: 1 })).toEqual({ name: 'A', port: 1 });
});

test.each([
  [{ name: 'B', confirmationLimitMs: 100, firstNumber: 0 as const }, false],
  [{ address: '192.0.2.1' }, true],
  [{ port: 1 }, true],
  [{ sourceLimit: 1 }, true],
  [{ destinationLimit: 1 }, true],
])('%j begins the link anew: %s', (change, answer) => {
  expect(connectsAnew(change)).toBe(answer);
});

const names: readonly Source[] = ['CAM 1', 'CAM 2', 'CAM 3'].map((name, index) => ({
  index,
  number: index + 1,
  name,
  routerName: name,
  alias: index === 1 ? 'Jib' : '',
  group: 'Cameras',
  routable: true,
}));
const [first, second] = names as [Source, Source, Source];
const none = new Map();

test('what is edited counts before what was read', () => {
  const edits = edited(none, first, { alias: 'Host' });
  expect(labelOf(edits, first)).toEqual({ alias: 'Host', group: 'Cameras' });
  expect(labelOf(edits, second)).toEqual({ alias: 'Jib', group: 'Cameras' });
  expect(labelRows(edits, names)).toEqual([{ index: 0, alias: 'Host', group: 'Cameras' }]);
  expect(labelRows(edited(edits, first, { alias: '' }), names)).toEqual([]);
});

test('lines of a spreadsheet are put down from where they are pasted', () => {
  const edits = pasted(none, names, 1, 'Crane\tStudio\r\nHost \r\ntoo far\r\n');
  expect(labelRows(edits, names)).toEqual([
    { index: 1, alias: 'Crane', group: 'Studio' },
    { index: 2, alias: 'Host', group: 'Cameras' },
  ]);
});

test('only what was touched must be as it was read', () => {
  const others = names.map((name) => (name.index === 1 ? { ...name, alias: 'Crane' } : name));
  expect(areSame(edited(none, first, { alias: 'A' }), names, others)).toBe(true);
  expect(areSame(edited(none, second, { alias: 'A' }), names, others)).toBe(false);
});

test('an alias may differ from the router’s name', () => {
  expect(names.map((name) => differs(none, name))).toEqual([false, true, false]);
  expect(differs(edited(none, second, { alias: 'CAM 2' }), second)).toBe(false);
});
