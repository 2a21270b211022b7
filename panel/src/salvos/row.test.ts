import { expect, test } from 'vitest';

import type { RouterData } from '../api/types';
import { ANA, BEN, routerData, TIME } from '../live/history';
import { beginRouter } from '../live/router_topic';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { rowOf } from './fixture';
import { rowShown } from './row';

const speech = speechOf(english, 'en', 'UTC');
const circumstances = { speech, now: Date.parse(TIME), me: ANA.id, oldSince: undefined };
function shown(
  row: ReturnType<typeof rowOf>,
  change: (data: RouterData) => void = () => undefined,
) {
  const data = routerData();
  change(data);
  return rowShown(row, beginRouter(data), circumstances);
}
const usual = { destination: 'MON 3', source: 'CAM 5', now: 'CAM 3', isOld: false, trouble: '' };

test('says where it goes, from what, and what is there now', () => {
  expect(shown(rowOf(2))).toEqual({ ...usual, guard: undefined });
  expect(shown(rowOf(2, null))).toEqual({ ...usual, source: 'No source', guard: undefined });
});

test('a lock stands beside what is there', () => {
  const lock = {
    router: 'r1',
    destination: 2,
    destinationName: 'MON 3',
    mode: 'lock',
    owner: BEN,
    since: TIME,
  } as const;
  const { guard } = shown(rowOf(2), (data) => (data.locks = [{ ...lock, reason: '' }]));
  expect(guard).toEqual({ mark: 'locked', words: 'Locked by Ben L.' });
});

test('what is stale, unknown, or not heard of yet is old', () => {
  expect(shown(rowOf(2), ({ routes }) => (routes.stale = [2]))).toMatchObject({
    now: 'CAM 3',
    isOld: true,
  });
  expect(shown(rowOf(2), ({ routes }) => (routes.sources[2] = -2))).toMatchObject({
    now: 'Unknown',
    isOld: true,
  });
  expect(rowShown(rowOf(2), undefined, circumstances)).toMatchObject({ now: '–', isOld: true });
});

test('what the router has no more is named as gone', () => {
  const gone = { destination: '(gone) MON 3', now: '–', trouble: 'Not on this router' };
  expect(shown({ ...rowOf(2), gone: 'noSuchDestination' })).toMatchObject(gone);
  expect(shown({ ...rowOf(2), gone: 'noSuchRouter' })).toMatchObject(gone);
  expect(shown({ ...rowOf(2), gone: 'noSuchSource' })).toMatchObject({
    ...usual,
    trouble: 'No such source',
  });
});
