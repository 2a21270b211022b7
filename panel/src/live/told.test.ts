import { expect, test } from 'vitest';

import { routerData } from './history';
import { start, type Live } from './live';
import { beginRouter } from './router_topic';
import { routersTold, toldOf } from './told';
import type { TopicState } from './topics';

const router = beginRouter(routerData());
const salvos: TopicState = { kind: 'salvos', salvos: new Map() };
const topic = (state: TopicState | undefined) => ({
  revision: 1,
  state,
  current: true,
  askedAt: 0,
  ended: undefined,
});
const live: Live = {
  ...start([], 0).live,
  topics: new Map([
    ['routers/r1', topic(router)],
    ['routers/r2', topic(undefined)],
    ['salvos', topic(salvos)],
  ]),
};

test('what was told is given as what it is asked for', () => {
  expect(toldOf(live, 'salvos', 'salvos')).toBe(salvos);
  expect(toldOf(live, 'salvos', 'me')).toBeUndefined();
  expect(toldOf(live, 'operations', 'operations')).toBeUndefined();
  expect(toldOf(undefined, 'salvos', 'salvos')).toBeUndefined();
});

test('the routers that are known, by id', () => {
  expect(routersTold(live)).toEqual(new Map([['r1', router]]));
  expect(routersTold(undefined)).toEqual(new Map());
});
