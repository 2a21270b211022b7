import { expect, test } from 'vitest';

import type { RouterData } from '../api/types';
import { ANA, routerData, stageOf, TIME } from '../live/history';
import { beginRouter } from '../live/router_topic';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { captured, staged } from './fill';

const speech = speechOf(english, 'en', 'UTC');
const now = { speech, now: Date.parse(TIME), me: ANA.id, oldSince: undefined };
function router(change: (data: RouterData) => void = () => undefined) {
  const data = routerData();
  change(data);
  return beginRouter(data);
}
const row = (destination: number, source: number | null, sourceName?: string) => ({
  router: 'r1',
  destination,
  destinationName: `MON ${destination + 1}`,
  source,
  ...(sourceName === undefined ? {} : { sourceName }),
});

test('what is routed is captured, in the order that was asked for', () => {
  const state = router((data) => (data.routes.sources[3] = -1));
  expect(captured(state, [5, 3], now)).toEqual({
    rows: [row(5, 5, 'CAM 6'), row(3, null)],
    left: [],
  });
});

test('what is stale or unknown is left out and named', () => {
  const state = router((data) => {
    data.routes.sources[3] = -2;
    data.routes.stale = [4];
  });
  expect(captured(state, [3, 4, 5, 99], now)).toEqual({
    rows: [row(5, 5, 'CAM 6')],
    left: ['MON 4', 'MON 5', '100'],
  });
});

test('nothing is captured of a link that is down, or of a server that is not heard', () => {
  const down = router(
    (data) => (data.router = { ...data.router, link: { state: 'failing', since: TIME } }),
  );
  expect(captured(down, [1], now)).toEqual({ rows: [], left: ['MON 2'] });
  expect(captured(router(), [1], { ...now, oldSince: 1 })).toEqual({ rows: [], left: ['MON 2'] });
});

test('the rows of the stage become those of a salvo', () => {
  const stage = stageOf('r1', [2, 4]);
  const [first] = stage.rows;
  expect(staged(stage)).toHaveLength(2);
  expect(staged(stage)[0]).toEqual(row(2, first?.source ?? null, first?.sourceName));
});
