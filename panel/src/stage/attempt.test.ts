import { expect, test } from 'vitest';

import { stageOf } from '../live/history';
import { answered, attempt, isUnderWay } from './attempt';

let keys = 0;
const newKey = () => `key ${++keys}`;
const { rows } = stageOf('r1', [1, 2]);
const others = stageOf('r1', [2]).rows;
const lost = { ok: false, status: 0 } as const;

function asked() {
  const begun = attempt(undefined, rows, newKey);
  if (begun === undefined) throw new Error('nothing begun');
  return begun;
}

test('a take that is under way is not begun again', () => {
  expect(attempt(asked(), rows, newKey)).toBeUndefined();
  expect(attempt(asked(), others, newKey)).toBeUndefined();
});

test('what was taken is not taken again while it is still shown as staged', () => {
  const taken = answered(asked(), { ok: true, body: {} });
  expect(isUnderWay(taken, rows)).toBe(true);
  expect(isUnderWay(taken, others)).toBe(false);
  expect(attempt(taken, others, newKey)).toMatchObject({ is: 'asking', key: `key ${keys}` });
});

test('a lost answer is asked for with the same key, for the same rows', () => {
  const begun = asked();
  const unanswered = answered(begun, lost);
  expect(attempt(unanswered, rows, newKey)?.key).toBe(begun.key);
  expect(attempt(unanswered, others, newKey)?.key).not.toBe(begun.key);
});

test('after a refusal the next take is another', () => {
  const begun = asked();
  const refused = answered(begun, { ok: false, status: 409 });
  expect(refused).toBeUndefined();
  expect(attempt(refused, rows, newKey)?.key).not.toBe(begun.key);
});
