import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { groupsOf, peopleIn } from './groups';
import { CHOSEN_BY, lineOf, whyWords } from './line';
import type { Entry } from './pages';

const speech = speechOf(english, 'en-GB', 'UTC');
const NOW = Date.parse('2026-11-22T14:05:00.000Z');
const routers = new Map([['r1', 'STUDIO A']]);
const ana = { id: 'ana', name: 'Ana K.' };

const taken: Entry = {
  id: '01',
  time: '2026-11-22T14:02:11.250Z',
  why: 'stage',
  person: ana,
  origin: 'panel',
  router: 'r1',
  destination: 4,
  destinationName: 'MON E',
  was: 6,
  wasName: 'CAM 7',
  source: null,
  operation: 'op',
  row: 0,
  outcome: 'confirmed',
  sentMs: 0.8,
  endedMs: 84,
  latencyMs: 84,
};
const line = (change: Partial<Entry>) => lineOf(speech, { ...taken, ...change }, routers, NOW);

test('a route says all of its columns', () => {
  expect(line({})).toEqual({
    entry: taken,
    time: '14:02:11',
    who: 'Ana K.',
    router: 'STUDIO A',
    destination: 'MON E',
    fromTo: 'CAM 7 → No source',
    why: 'Take',
    mark: 'confirmed',
    result: 'Confirmed 84 ms',
    confirmTime: '84 ms',
  });
});

const bare: Entry = {
  id: '01',
  time: taken.time,
  why: 'lock',
  origin: 'panel',
  router: 'r1',
  destination: 4,
  destinationName: 'MON E',
};
const about = (entry: Partial<Entry>) => lineOf(speech, { ...bare, ...entry }, routers, NOW);

test('a change that nobody here asked for says so', () => {
  expect(about({ why: 'outside', source: 3, sourceName: 'CAM 4', router: 'r9' })).toMatchObject({
    who: 'Nobody here',
    why: 'Outside',
    router: 'r9',
    fromTo: 'Unknown → CAM 4',
    result: '',
  });
});

test('what is no route says what was done', () => {
  expect(about({ why: 'lock', text: 'Live feed' }).fromTo).toBe('Live feed');
  expect(about({ why: 'force', text: 'wrong studio', of: ana }).fromTo).toBe(
    'Lock of Ana K.: wrong studio',
  );
  expect(about({ why: 'link', detail: 'lost' }).fromTo).toBe('lost');
});

test('each reason has its own word, a new one the server’s', () => {
  const words = CHOSEN_BY.map((why) => whyWords(speech, why));
  expect(new Set(words).size).toBe(CHOSEN_BY.length);
  expect(whyWords(speech, 'salvo', 'Evening news')).toBe('Salvo Evening news');
  expect(whyWords(speech, 'weather')).toBe('weather');
});

test('rows of one take are one group, in their order', () => {
  const groups = groupsOf(
    speech,
    [
      { ...taken, id: '05', operation: 'b' },
      { ...taken, id: '04', row: 1, outcome: 'timedOut' },
      { ...bare, id: '03', why: 'lock' },
      { ...taken, id: '02' },
    ],
    routers,
    NOW,
  );
  expect(groups.map(({ lines }) => lines.map(({ entry }) => entry.id))).toEqual([
    ['05'],
    ['02', '04'],
    ['03'],
  ]);
  expect(groups[1]?.said).toBe('1 of 2 confirmed · 1 timed out');
});

test('people are those whom entries name, and who is filtered by', () => {
  expect(peopleIn([taken, bare, taken], 'zoe')).toEqual([ana, { id: 'zoe', name: 'zoe' }]);
  expect(peopleIn([taken], 'ana')).toEqual([ana]);
});
