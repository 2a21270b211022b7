import { expect, test } from 'vitest';

import {
  ANA,
  changeData,
  chanceOf,
  problemOf,
  routerData,
  stageOf,
  TIME,
  wishOf,
} from '../live/history';
import { beginRouter } from '../live/router_topic';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { destinationShown } from './destination';
import { nextProblem, problemsOf } from './problems';

const speech = speechOf(english, 'en', 'UTC');
const circumstances = { speech, now: Date.parse(TIME), me: ANA.id, oldSince: undefined };

test('what went wrong, is unknown, or has changed since it was staged', () => {
  const data = routerData();
  data.problems = [
    { kind: 'problem', destination: 1, problem: problemOf('timedOut') },
    { kind: 'problem', destination: 2, problem: problemOf('confirmed') },
  ];
  data.routes.sources[4] = -2;
  const [first, ...others] = stageOf('r1', [6, 7]).rows.map((row) => ({ ...row, changed: false }));
  const staged = first === undefined ? [] : [{ ...first, changed: true }, ...others];
  expect(problemsOf(beginRouter(data), staged)).toEqual([1, 4, 6]);
});

test('what is under way on a link that is lost', () => {
  const data = routerData();
  data.wishes = [{ kind: 'wish', destination: 3, wish: wishOf(6) }];
  expect(problemsOf(beginRouter(data), [])).toEqual([]);
  data.router = { ...data.router, link: { state: 'down', since: TIME } };
  expect(problemsOf(beginRouter(data), [])).toEqual([3]);
});

test.each(Array.from({ length: 20 }, (_, seed) => seed))(
  'whatever happens, they are those that are shown as such (%d)',
  (seed) => {
    const chance = chanceOf(seed);
    const data = routerData();
    for (let i = 0; i < 60; i += 1) changeData(data, chance);
    const state = beginRouter(data);
    const staged = stageOf('r1', [2, 5]).rows.map((row, i) => ({ ...row, changed: i === 0 }));
    const shown = state.destinations.filter(({ index }) => {
      const row = staged.find(({ destination }) => destination === index);
      return destinationShown(state, row, index, circumstances).isProblem;
    });
    expect(problemsOf(state, staged)).toEqual(shown.map(({ index }) => index));
  },
);

test('the next one comes after, and round the end', () => {
  expect([0, 3, 9].map((from) => nextProblem([3, 7], from, 1))).toEqual([3, 7, 3]);
  expect([0, 7, 9].map((from) => nextProblem([3, 7], from, -1))).toEqual([7, 3, 7]);
  expect(nextProblem([], 0, 1)).toBeUndefined();
});
