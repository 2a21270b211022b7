import { expect, test } from 'vitest';

import { draftOf, EMPTY_DRAFT, isSameDraft, wanted, withoutRow, withRows } from './draft';
import { rowOf, salvoOf } from './fixture';

const draft = draftOf(salvoOf([rowOf(1), rowOf(2), rowOf(3)]));
const onAnother = { ...rowOf(2), router: 'r2' };
const places = ({ rows }: typeof draft) =>
  rows.map(({ router, destination, source }) => `${router} ${destination} ${source}`);

test('a destination is in it once, in its place', () => {
  const more = withRows(draft, [rowOf(5), rowOf(2, 7), onAnother, rowOf(5, null)]);
  expect(places(more)).toEqual(['r1 1 4', 'r1 2 7', 'r1 3 4', 'r1 5 null', 'r2 2 4']);
});

test('a row is taken out of its own router', () => {
  expect(places(withoutRow(withRows(draft, [onAnother]), onAnother))).toEqual(places(draft));
  expect(places(withoutRow(draft, rowOf(2)))).toEqual(['r1 1 4', 'r1 3 4']);
});

test('what is sent has no names but its own', () => {
  expect(wanted({ ...draft, name: ' Evening news ' })).toEqual({
    name: 'Evening news',
    note: '',
    rule: 'all',
    rows: [1, 2, 3].map((destination) => ({ router: 'r1', destination, source: 4 })),
  });
});

test('it is another when what would be sent is', () => {
  const renamed = { ...rowOf(1), destinationName: 'PGM', sourceName: 'Jib' };
  expect(isSameDraft(draft, withRows(draft, [renamed]))).toBe(true);
  expect(isSameDraft(draft, withRows(draft, [rowOf(1, 5)]))).toBe(false);
  expect(isSameDraft(draft, { ...draft, rule: 'rest' })).toBe(false);
  expect(isSameDraft(draft, EMPTY_DRAFT)).toBe(false);
});
