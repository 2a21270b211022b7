import { expect, test } from 'vitest';

import { below, chanceOf, changeData, routerData } from '../live/history';
import { beginRouter, changeRouter, type Fact } from '../live/router_topic';
import { makeCells, setFacts, takeChanged } from './cells';

const factOf = (source: number, stale = false): Fact => ({ source, since: 0, stale, by: null });
const everywhere = () => true;

test('what changed is drawn once, in view only', () => {
  const cells = makeCells();
  const [a, b, c] = [factOf(1), factOf(2), factOf(-1, true)];
  setFacts(cells, [a, b, c]);
  expect(takeChanged(cells, everywhere)).toEqual([0, 1, 2]);
  expect([[...cells.sources], [...cells.stale]]).toEqual([
    [1, 2, -1],
    [0, 0, 1],
  ]);
  expect(takeChanged(cells, everywhere)).toEqual([]);
  setFacts(cells, [factOf(4), b, factOf(5)]);
  setFacts(cells, [factOf(3), b, factOf(5)]);
  expect(takeChanged(cells, (destination) => destination !== 2)).toEqual([0]);
  expect(takeChanged(cells, everywhere)).toEqual([]);
  expect([[...cells.sources], [...cells.stale]]).toEqual([
    [3, 2, 5],
    [0, 0, 0],
  ]);
});

test('destinations come and go', () => {
  const cells = makeCells();
  const a = factOf(1);
  setFacts(cells, [a]);
  setFacts(cells, [a, factOf(7)]);
  takeChanged(cells, everywhere);
  setFacts(cells, [a]);
  expect(takeChanged(cells, everywhere)).toEqual([1]);
  expect([...cells.sources]).toEqual([1]);
});

test.each(Array.from({ length: 20 }, (_, seed) => seed))(
  'history %d: what is painted is what the router shows',
  (seed) => {
    const chance = chanceOf(seed);
    const data = routerData();
    let state = beginRouter(structuredClone(data));
    const cells = makeCells();
    const painted: (number | undefined)[] = [];
    for (let i = 0; i < 60; i += 1) {
      for (let n = below(chance, 4); n > 0; n -= 1)
        state = changeRouter(state, structuredClone(changeData(data, chance)));
      setFacts(cells, state.facts);
      for (const destination of takeChanged(cells, everywhere))
        painted[destination] = cells.sources[destination];
      expect(painted).toEqual(state.facts.map(({ source }) => source));
    }
  },
);
