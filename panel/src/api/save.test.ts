import { expect, test, vi } from 'vitest';

import { save } from './save';

type Thing = { name: string; routes: number };
const basis = { value: { name: 'A', routes: 1 }, tag: '"1"' };
const isSame = (a: Thing, b: Thing) => a.name === b.name;
const changed = { ok: false as const, status: 412, sentence: 'It has been changed.' };
const found = (name: string, tag: string) => ({
  ok: true as const,
  body: { name, routes: 2 },
  tag,
});

test('it saves over what was read', async () => {
  const write = vi.fn().mockResolvedValue({ ok: true, body: 'done' });
  expect(await save(basis, isSame, vi.fn(), write)).toEqual({ is: 'saved', body: 'done' });
  expect(write.mock.calls).toEqual([['"1"']]);
});

test('it tries again when only something else has changed', async () => {
  const write = vi
    .fn()
    .mockResolvedValueOnce(changed)
    .mockResolvedValueOnce({ ok: true, body: 'done' });
  const read = vi.fn().mockResolvedValue(found('A', '"2"'));
  expect(await save(basis, isSame, read, write)).toEqual({ is: 'saved', body: 'done' });
  expect(write.mock.calls).toEqual([['"1"'], ['"2"']]);
});

test('it leaves what somebody else has changed', async () => {
  const write = vi.fn().mockResolvedValue(changed);
  const read = vi.fn().mockResolvedValue(found('B', '"2"'));
  expect(await save(basis, isSame, read, write)).toEqual({
    is: 'changed',
    found: { value: { name: 'B', routes: 2 }, tag: '"2"' },
  });
  expect(write).toHaveBeenCalledOnce();
});

test('it gives up what is refused, cannot be read, or never stands still', async () => {
  const refusal = { ok: false as const, status: 403, sentence: 'No.' };
  const refusing = vi.fn().mockResolvedValue(refusal);
  const unwilling = vi.fn().mockResolvedValue(changed);
  expect(await save(basis, isSame, vi.fn(), refusing)).toEqual({ is: 'refused', refusal });
  expect(await save(basis, isSame, refusing, unwilling)).toEqual({ is: 'refused', refusal });
  const busy = vi.fn().mockResolvedValue(found('A', '"9"'));
  expect(await save(basis, isSame, busy, unwilling)).toEqual({ is: 'refused', refusal: changed });
});
