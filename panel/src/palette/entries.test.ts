import { expect, test } from 'vitest';

import { KEY_TABLE } from '../keys/table';
import { routerData } from '../live/history';
import { beginRouter } from '../live/router_topic';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { commandEntries, found, keysShown, placeEntries } from './entries';

const { say } = speechOf(english, 'en', 'UTC');
const words = (entries: ReturnType<typeof found>) => entries.map((entry) => entry.words);

test('keys are shown as they are pressed', () => {
  expect(keysShown(['Ctrl+Shift+Z', 'Ctrl+Y'], false)).toBe('Ctrl+Shift+Z, Ctrl+Y');
  expect(keysShown(['G R'], true)).toBe('G R');
  expect(keysShown(['Ctrl+K'], true)).toBe('⌘K');
});

test('every command is there where it holds, with its keys', () => {
  const all = commandEntries(
    say,
    ['anywhere', 'routing', 'matrix', 'xy', 'stage', 'salvos'],
    false,
  );
  expect(all).toHaveLength(KEY_TABLE.length);
  const here = commandEntries(say, ['anywhere'], false);
  expect(here).toContainEqual({
    words: 'Go to Routing',
    about: 'Anywhere',
    keys: 'G R',
    deed: { command: 'goRouting' },
  });
  expect(words(here)).not.toContain('Swap axes');
});

test('places are found by what they are called, and what they are', () => {
  const state = beginRouter(routerData());
  const [destination] = state.destinations;
  if (destination === undefined) throw new Error('the router has no destination');
  const salvo = { id: '01', name: 'Evening news' } as never;
  const places = placeEntries(say, [state.router], state, [salvo]);
  const deeds = (text: string) => found(places, text).map(({ deed }) => deed);

  expect(deeds('evening')).toEqual([{ go: { screen: 'salvos', salvo: '01' } }]);
  expect(deeds(`router ${state.router.name}`)).toContainEqual({
    go: { screen: 'routing', router: state.router.id },
  });
  expect(deeds(`destination ${destination.name}`)).toContainEqual({
    command: 'goTo',
    to: { destination: destination.number },
  });
  expect(deeds('source').every((deed) => 'to' in deed && deed.to.source !== undefined)).toBe(true);
  expect(deeds('source')).toHaveLength(state.sources.length);
});

test('no more are shown than can be read', () => {
  const many = Array.from({ length: 60 }, (_, i) => ({
    words: `CAM ${String(i)}`,
    about: 'Source',
    keys: '',
    deed: { command: 'help' } as const,
  }));
  expect(found(many, 'cam')).toHaveLength(50);
  expect(found(many, 'cam 7')).toHaveLength(1);
  expect(found(many, 'cam 7-9')).toEqual([]);
});
