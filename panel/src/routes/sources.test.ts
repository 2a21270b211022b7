import { expect, test } from 'vitest';

import { routerData, stageOf } from '../live/history';
import { beginRouter, NO_SOURCE } from '../live/router_topic';
import { readFilter } from '../search/filter';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { choiceGroups } from './sources';

const speech = speechOf(english, 'en', 'UTC');
const state = beginRouter(routerData()); // destination n shows source n
const { rows } = stageOf('r1', [4]); // with source 1
const choices = (destinations: readonly number[], filter = '') =>
  choiceGroups(state, rows, destinations, readFilter(filter), speech).flatMap((each) => [
    ...each.choices,
  ]);

test('"No source" comes first, then all sources in their groups', () => {
  const groups = choiceGroups(state, rows, [], [], speech);
  expect(groups.map(({ name, choices: all }) => [name, all.length])).toEqual([
    ['', 1],
    ['1–8', 8],
  ]);
  expect(choices([])[0]).toMatchObject({ source: NO_SOURCE, name: 'No source', number: '' });
  expect(choices([])[3]).toMatchObject({ source: 2, name: 'CAM 3', number: '3' });
});

test('what the destinations show, and what is staged for them, is told', () => {
  const marked = (destinations: readonly number[]) => ({
    now: choices(destinations).flatMap(({ source, isNow }) => (isNow ? [source] : [])),
    staged: choices(destinations).flatMap(({ source, isStaged }) => (isStaged ? [source] : [])),
  });
  expect(marked([4])).toEqual({ now: [4], staged: [1] });
  expect(marked([2, 3])).toEqual({ now: [2, 3], staged: [] });
});

test('a filter leaves what it finds', () => {
  expect(choices([], 'cam 7').map(({ source }) => source)).toEqual([6]);
});
