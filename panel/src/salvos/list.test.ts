import { expect, test } from 'vitest';

import { summaryOf } from './fixture';
import { keyed, listed, withStar } from './list';

const SALVOS = new Map(
  [
    summaryOf('3', 'Show 10', 'with audience'),
    summaryOf('1', 'Show 9'),
    summaryOf('2', 'Émission du soir'),
  ].map((each) => [each.id, each]),
);
const names = (search: string) => listed(SALVOS, [], search).map(({ salvo }) => salvo.name);

test('salvos are in the order of their names', () => {
  expect(names('')).toEqual(['Émission du soir', 'Show 9', 'Show 10']);
});

test('each word of the search is in the name or the note', () => {
  expect(names('emis SOIR')).toEqual(['Émission du soir']);
  expect(names('show aud')).toEqual(['Show 10']);
  expect(names('show soir')).toEqual([]);
});

test('the first nine that were starred have keys, those that are gone have none', () => {
  const many = new Map(Array.from({ length: 12 }, (_, i) => [`${i}`, summaryOf(`${i}`, `S ${i}`)]));
  const starred = ['11', 'gone', ...many.keys()].filter((id, i) => i === 0 || id !== '11');
  expect(keyed(many, starred)).toEqual(['11', '0', '1', '2', '3', '4', '5', '6', '7']);
  const shown = listed(many, starred, '').map(({ isStarred, digit }) => [isStarred, digit]);
  expect(shown.slice(6)).toEqual([
    [true, 8],
    [true, 9],
    [true, undefined],
    [true, undefined],
    [true, undefined],
    [true, 1],
  ]);
});

test('a star is set behind the others, and taken away again', () => {
  expect(withStar(['a', 'b'], 'c')).toEqual(['a', 'b', 'c']);
  expect(withStar(['a', 'b'], 'a')).toEqual(['b']);
});
