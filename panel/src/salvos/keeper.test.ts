import { beforeEach, expect, test } from 'vitest';

import type { Answer } from '../api/ask';
import type { command } from '../api/command';
import type { Found, read } from '../api/read';
import { draftOf, EMPTY_DRAFT, withRows, type Salvo } from './draft';
import { rowOf, salvoOf } from './fixture';
import { isChanged, NOT_READ, openKeeper, type Kept } from './keeper';

const SALVO = salvoOf([rowOf(1)]);
const EDITED = withRows(draftOf(SALVO), [rowOf(2)]);
const NEXT = { ...SALVO, version: 2, rows: EDITED.rows as Salvo['rows'] };
const THEIRS = { ...SALVO, version: 2, name: 'Late news' };
const LOST = { ok: false, status: 0 } as const;

let sent: unknown[];
let found: Found<Salvo>;
let answer: Answer<unknown>;
let kept: Kept;
beforeEach(() => {
  sent = [];
  reads(SALVO, '"1"');
});
function reads(body: Salvo, tag: string) {
  found = { ok: true, body, tag };
}
function keeperOf(id?: string) {
  const ask = (path: string, where: unknown) => {
    sent.push(['get', path, where]);
    return Promise.resolve(found);
  };
  const send = (...asked: unknown[]) => {
    sent.push(asked);
    return Promise.resolve(answer);
  };
  const tell = (next: Kept) => (kept = next);
  const key = () => 'k';
  return openKeeper(
    id,
    ask as unknown as typeof read,
    send as unknown as typeof command,
    key,
    tell,
  );
}
async function opened() {
  const keeper = keeperOf('01S');
  await keeper.open();
  return keeper;
}
const commands = () => sent.filter((each) => Array.isArray(each) && each[0] !== 'get');

test('it is read, and not changed by that', async () => {
  await opened();
  expect(kept).toEqual({
    basis: { value: SALVO, tag: '"1"' },
    draft: draftOf(SALVO),
    said: { is: 'nothing' },
  });
  expect(isChanged(kept)).toBe(false);
});

test('what is newer replaces what was not edited', async () => {
  const keeper = await opened();
  reads(THEIRS, '"2"');
  await keeper.open();
  expect(kept.draft.name).toBe('Late news');
});

test('what is edited stays when something newer comes', async () => {
  const keeper = await opened();
  keeper.edit(EDITED);
  expect(isChanged(kept)).toBe(true);
  reads(THEIRS, '"2"');
  await keeper.open();
  expect(kept).toMatchObject({ draft: EDITED, said: { is: 'meanwhile' } });
});

test('it is saved over what was read', async () => {
  const keeper = await opened();
  keeper.edit(EDITED);
  answer = { ok: true, body: NEXT };
  reads(NEXT, '"2"');
  expect(await keeper.save()).toBe('01S');
  const body = { name: 'Evening news', note: '', rule: 'all', rows: EDITED.rows };
  expect(commands()).toMatchObject([['put', '/api/v1/salvos/{salvo}', { tag: '"1"', key: 'k' }]]);
  expect(kept).toMatchObject({ basis: { tag: '"2"' }, draft: body, said: { is: 'saved' } });
});

test('what is edited while it is saved is not lost', async () => {
  const keeper = await opened();
  answer = { ok: true, body: NEXT };
  const saved = keeper.save();
  keeper.edit(EDITED);
  await saved;
  expect(kept.draft).toBe(EDITED);
});

test('what somebody else has saved is only saved over when asked again', async () => {
  const keeper = await opened();
  keeper.edit(EDITED);
  reads(THEIRS, '"2"');
  answer = { ok: false, status: 412 };
  expect(await keeper.save()).toBeUndefined();
  expect(kept).toMatchObject({ draft: EDITED, said: { is: 'meanwhile' }, basis: { tag: '"2"' } });
  answer = { ok: true, body: NEXT };
  expect(await keeper.save()).toBe('01S');
  expect(commands()[1]).toMatchObject(['put', '/api/v1/salvos/{salvo}', { tag: '"2"' }]);
});

test('a new one is added', async () => {
  const keeper = keeperOf();
  await keeper.open();
  expect(sent).toEqual([]);
  keeper.edit(EDITED);
  answer = { ok: true, body: { ...NEXT, id: '02S' } };
  expect(await keeper.save()).toBe('02S');
  expect(commands()).toMatchObject([['post', '/api/v1/salvos', { at: {} }]]);
});

test('pressed twice it is saved once', async () => {
  const keeper = keeperOf();
  keeper.edit(EDITED);
  answer = { ok: true, body: NEXT };
  await Promise.all([keeper.save(), keeper.save()]);
  expect(commands()).toHaveLength(1);
});

test.each([undefined, '01S'])('why it is not saved is kept, with its name (%s)', async (id) => {
  const keeper = keeperOf(id);
  await keeper.open();
  keeper.edit({ ...EDITED, name: ' Late news ' });
  answer = { ok: false, status: 409, code: 'nameTaken' };
  expect(await keeper.save()).toBeUndefined();
  expect(kept).toMatchObject({
    draft: { name: ' Late news ' },
    said: { is: 'refused', refusal: { code: 'nameTaken' }, name: 'Late news' },
  });
});

test('an older version is shown as a change of the newest', async () => {
  const keeper = await opened();
  reads({ ...SALVO, rows: [] }, '"1"');
  await keeper.show(1);
  expect(sent[1]).toEqual([
    'get',
    '/api/v1/salvos/{salvo}',
    { at: { salvo: '01S' }, query: { version: '1' } },
  ]);
  expect(kept).toMatchObject({ draft: { rows: [] }, said: { is: 'version', version: 1 } });
  expect(kept.basis?.value).toBe(SALVO);
});

test('it is deleted', async () => {
  const keeper = await opened();
  answer = { ok: true, body: undefined };
  expect(await keeper.remove()).toBe(true);
  expect(commands()).toMatchObject([
    ['delete', '/api/v1/salvos/{salvo}', { at: { salvo: '01S' } }],
  ]);
  answer = LOST;
  expect(await keeper.remove()).toBe(false);
  expect(kept.said).toMatchObject({ is: 'refused', refusal: LOST });
});

test('why it cannot be read is kept', async () => {
  found = LOST;
  await opened();
  expect(kept).toMatchObject({ basis: undefined, said: { is: 'refused' }, draft: EMPTY_DRAFT });
  kept = NOT_READ;
  await keeperOf('01S').show(1);
  expect(kept.said.is).toBe('refused');
});
