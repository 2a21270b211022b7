import { expect, test } from 'vitest';

import type { RouterData } from '../api/types';
import { ANA, myData, problemOf, routerData, stageOf, TIME } from '../live/history';
import { beginMine } from '../live/my_topic';
import { beginRouter } from '../live/router_topic';
import { readFilter } from '../search/filter';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { listGroups } from './list';

const NOW = Date.parse(TIME);
const speech = speechOf(english, 'en', 'UTC');
const circumstances = { speech, now: NOW, me: ANA.id, oldSince: undefined };

function groups(change: (data: RouterData) => void = () => undefined, filter = '', stage = false) {
  const data = routerData();
  change(data);
  const mine = beginMine({ ...myData(), stages: stage ? [stageOf('r1', [2])] : [] });
  return listGroups(beginRouter(data), mine, readFilter(filter), circumstances);
}
const row = (...given: Parameters<typeof groups>) =>
  groups(...given)
    .flatMap(({ rows }) => rows)
    .find(({ shown }) => shown.destination === 2);

test('all destinations are there, in groups', () => {
  const named = groups((data) => {
    data.destinations = data.destinations.map((each, i) => ({
      ...each,
      group: i % 2 === 0 ? 'Gallery' : 'Monitors',
    }));
  });
  const numbers = named.map(({ name, rows }) => [name, rows.map(({ number }) => number)]);
  expect(numbers).toEqual([
    ['Gallery', [1, 3, 5, 7]],
    ['Monitors', [2, 4, 6, 8]],
  ]);
  expect(groups().map(({ name, rows }) => [name, rows.length])).toEqual([['1–8', 8]]);
});

test('the filter leaves what it finds, and nothing of empty groups', () => {
  expect(groups(undefined, '3-4').flatMap(({ rows }) => rows.map(({ number }) => number))).toEqual([
    3, 4,
  ]);
  expect(groups(undefined, 'weather')).toEqual([]);
});

test('a row of now says since when, and no state', () => {
  const found = row((data) => {
    data.routes.times[2] = NOW - 42_000;
  });
  expect(found).toMatchObject({ number: 3, since: '0:42', states: [] });
  expect(row()?.since).toBe('');
});

test('what was not told is unknown', () => {
  const found = row((data) => {
    data.routes.sources[2] = -2;
  });
  expect(found?.states).toEqual([{ mark: 'unknown', words: 'Unknown', source: '' }]);
});

test('a row says what went wrong, then what I have staged, then that it is old', () => {
  const found = row(
    (data) => {
      data.problems = [{ kind: 'problem', destination: 2, problem: problemOf('timedOut') }];
      data.routes.stale = [2];
    },
    '',
    true,
  );
  expect(found?.states.map(({ mark }) => mark)).toEqual(['timedOut', 'staged', 'stale']);
  expect(found?.states[0]).toMatchObject({ words: 'Timed out', source: 'CAM 4' });
});

test("the router's own name is told where an alias is shown", () => {
  const found = row((data) => {
    data.destinations = data.destinations.map((each) =>
      each.index === 2 ? { ...each, name: 'Desk', alias: 'Desk' } : each,
    );
  });
  expect(found?.routerName).toBe('MON 3');
  expect(row()?.routerName).toBe('');
});
