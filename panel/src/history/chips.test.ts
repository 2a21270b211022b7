import { expect, test } from 'vitest';

import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { chips, RESULTS, resultWords, withFilter, without } from './chips';

const speech = speechOf(english, 'en', 'UTC');
const names = {
  person: (id: string) => `person ${id}`,
  router: (id: string) => `router ${id}`,
  destination: (index: string) => `destination ${index}`,
  source: (index: string) => `source ${index}`,
};

test('each filter that is set is a chip', () => {
  const filters = {
    time: 'hour',
    who: 'ana',
    router: 'r1',
    dest: '4',
    source: '5',
    why: 'take',
    result: 'timedOut',
    take: '01K',
    text: 'x',
  };
  expect(chips(speech, filters, names)).toEqual([
    { name: 'time', words: 'Time: Last hour' },
    { name: 'who', words: 'Person: person ana' },
    { name: 'router', words: 'Router: router r1' },
    { name: 'dest', words: 'Destination: destination 4' },
    { name: 'source', words: 'Source: source 5' },
    { name: 'why', words: 'Why: Take' },
    { name: 'result', words: 'Result: Timed out' },
    { name: 'take', words: 'Take: this one' },
    { name: 'text', words: 'Words: x' },
  ]);
  expect(chips(speech, {}, names)).toEqual([]);
});

test('each result has its own word', () => {
  expect(new Set(RESULTS.map((each) => resultWords(speech, each))).size).toBe(RESULTS.length);
});

test('a filter is set and taken away', () => {
  expect(withFilter({ who: 'ana' }, 'why', 'lock')).toEqual({ who: 'ana', why: 'lock' });
  expect(withFilter({ who: 'ana', why: 'lock' }, 'why', '')).toEqual({ who: 'ana' });
  expect(without({ time: 'range', from: 'F', to: 'T', who: 'ana' }, 'time')).toEqual({
    who: 'ana',
  });
});

test('another router leaves no destination or source', () => {
  expect(withFilter({ router: 'r1', dest: '3', source: '4', why: 'take' }, 'router', 'r2')).toEqual(
    { router: 'r2', why: 'take' },
  );
});
