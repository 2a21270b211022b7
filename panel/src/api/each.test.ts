import { expect, test } from 'vitest';

import type { Answer } from './ask';
import { openEach } from './each';

function setUp(answers: Readonly<Record<number, Answer<unknown>>>) {
  let made = 0;
  const sent: string[] = [];
  const each = openEach(() => `key ${String((made += 1))}`);
  const send = (thing: number, key: string) => {
    sent.push(`${String(thing)} ${key}`);
    return Promise.resolve(answers[thing] ?? { ok: true as const, body: undefined });
  };
  return { sent, run: (things: readonly number[]) => each(things, send) };
}

test('each is sent in order, with a key of its own', async () => {
  const { sent, run } = setUp({});
  expect(await run([4, 2])).toEqual([]);
  expect(sent).toEqual(['4 key 1', '2 key 2']);
});

test('what is refused is told, and the others go on', async () => {
  const refusal = { ok: false, status: 409, sentence: 'no' } as const;
  const { sent, run } = setUp({ 4: refusal });
  expect(await run([4, 2])).toEqual([{ of: 4, refusal }]);
  expect(sent).toHaveLength(2);
});

test('without an answer it is the same command again, after a refusal another', async () => {
  const { sent, run } = setUp({ 4: { ok: false, status: 0 }, 2: { ok: false, status: 409 } });
  await run([4, 2]);
  await run([4, 2]);
  expect(sent).toEqual(['4 key 1', '2 key 2', '4 key 1', '2 key 3']);
});
