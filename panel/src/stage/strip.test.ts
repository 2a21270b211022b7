import { expect, test } from 'vitest';

import type { Answer } from '../api/ask';
import { openUndoing, type Strip } from './strip';
import type { Back, NextStep } from './undo';

const lost: Answer<never> = { ok: false, status: 0 };
const gone: Answer<unknown> = { ok: true, body: undefined };
const stepOf = (blocked: number): NextStep => ({
  steps: 1,
  of: { operation: '01', kind: 'stage', wished: '2026-11-22T14:01:58.000Z' },
  dryRun: {
    checked: '2026-11-22T14:04:21.660Z',
    rule: 'rest',
    change: 1,
    unchanged: 0,
    blocked,
    rows: [],
  },
});
const armed = () => false;
const hot = () => true;

// A strip whose server says this of the next step, and answers to what goes when it is told to.
function stripOf(next: Answer<NextStep>) {
  const sent: unknown[] = [];
  const open: ((answer: Answer<unknown>) => void)[] = [];
  const send = (back: Back, of: string | undefined, key: string) => {
    sent.push([back, of, key]);
    return new Promise<Answer<unknown>>((resolve) => open.push(resolve));
  };
  const seen: { strip: Strip | undefined } = { strip: undefined };
  let keys = 0;
  const undoing = openUndoing(
    () => Promise.resolve(next),
    send,
    () => `k${++keys}`,
    (strip) => (seen.strip = strip),
  );
  const answer = (given: Answer<unknown>) => open.shift()?.(given);
  return { sent, seen, undoing, answer };
}

test('what would be undone is shown, and nothing goes', async () => {
  const { sent, seen, undoing } = stripOf({ ok: true, body: stepOf(0) });
  await undoing.open('undo', armed);
  expect(seen.strip).toEqual({ back: 'undo', key: 'k1', step: stepOf(0), refused: undefined });
  expect(sent).toEqual([]);
});

test('a refusal to say what is kept in its place', async () => {
  const { seen, undoing } = stripOf(lost);
  await undoing.open('redo', hot);
  expect(seen.strip).toEqual({ back: 'redo', key: 'k1', step: undefined, refused: lost });
});

test('however often it is pressed, it goes by one key', async () => {
  const { sent, seen, undoing, answer } = stripOf({ ok: true, body: stepOf(1) });
  await undoing.open('redo', armed);
  const presses = [undoing.go(), undoing.go()];
  answer(gone);
  answer(gone);
  await Promise.all(presses);
  expect(sent).toEqual([
    ['redo', '01', 'k1'],
    ['redo', '01', 'k1'],
  ]);
  expect(seen.strip).toBeUndefined();
});

test('in Hot it goes at once', async () => {
  const { sent, seen, undoing, answer } = stripOf({ ok: true, body: stepOf(0) });
  const opened = undoing.open('undo', hot);
  await Promise.resolve().then(() => undefined);
  answer(gone);
  await opened;
  expect(sent).toEqual([['undo', '01', 'k1']]);
  expect(seen.strip).toBeUndefined();
});

test('in Hot it waits where a row cannot go', async () => {
  const { sent, seen, undoing } = stripOf({ ok: true, body: stepOf(1) });
  await undoing.open('undo', hot);
  expect(sent).toEqual([]);
  expect(seen.strip?.step).toEqual(stepOf(1));
});

test('why it did not go stands in the strip', async () => {
  const { seen, undoing, answer } = stripOf({ ok: true, body: stepOf(0) });
  await undoing.open('undo', armed);
  const went = undoing.go();
  answer(lost);
  await went;
  expect(seen.strip).toMatchObject({ step: undefined, refused: lost });
});

test('once closed, nothing goes, and no answer opens it', async () => {
  const { sent, seen, undoing, answer } = stripOf({ ok: true, body: stepOf(0) });
  await undoing.open('undo', armed);
  const went = undoing.go();
  undoing.close();
  answer(lost);
  await went;
  await undoing.go();
  expect(seen.strip).toBeUndefined();
  expect(sent).toHaveLength(1);
});
