import { expect, test } from 'vitest';

import { folded, withFold, type Folds } from './folds';

const folds: Folds = [
  { router: 'r1', side: 'destinations', groups: ['Monitors'] },
  { router: 'r2', side: 'destinations', groups: ['Monitors', 'Decks'] },
];

test('knows the folded groups of one side of one router', () => {
  expect(folded(folds, 'r2', 'destinations')).toEqual(new Set(['Monitors', 'Decks']));
  expect(folded(folds, 'r2', 'sources')).toEqual(new Set());
});

test('folds and opens a group, and leaves the others as they are', () => {
  const more = withFold(folds, 'r1', 'sources', 'Monitors');
  expect(more).toEqual([...folds, { router: 'r1', side: 'sources', groups: ['Monitors'] }]);
  expect(withFold(more, 'r1', 'sources', 'Monitors')).toEqual(folds);
  expect(folded(withFold(folds, 'r2', 'destinations', 'Monitors'), 'r2', 'destinations')).toEqual(
    new Set(['Decks']),
  );
  expect(withFold(folds, 'r1', 'destinations', 'Monitors')).toEqual(folds.slice(1));
});
