import { expect, test } from 'vitest';

import { ANYWHERE_KEYS, SALVO_KEYS } from './anywhere_keys';
import { enter, openRouter, pressCrossing, row, take } from './deeds';
import { inBrowser } from './house';
import { keysWithout, tryKeys } from './keys';
import { MATRIX_KEYS } from './matrix_keys';
import { ROUTING_KEYS, STAGE_KEYS, XY_KEYS } from './routing_keys';

test('all keys of the table do something, but these', () => {
  const all = {
    ...ANYWHERE_KEYS,
    ...MATRIX_KEYS,
    ...ROUTING_KEYS,
    ...STAGE_KEYS,
    ...SALVO_KEYS,
    ...XY_KEYS,
  };
  expect(keysWithout(all)).toEqual(['stageBefore']);
});

inBrowser('the keys of the matrix', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await enter(house, server, 'Ana K.');
  await tryKeys(page, 'matrix', MATRIX_KEYS);
});

inBrowser('the keys of Routing', async (house) => {
  const server = await house.serve(['--demo']);
  const router = await house.route([]);
  const { page } = await enter(house, server, 'Ana K.');
  await openRouter(page, router.port);
  for (const destination of ['MON D', 'REC 1']) {
    router.tell(`refuse "${destination}" "SAT 1" 05`);
    await pressCrossing(page, 'SAT 1', destination);
  }
  await take(page, 'TAKE 2').click();
  await page.getByText('2 problems').waitFor();
  await tryKeys(page, 'routing', ROUTING_KEYS);
});

inBrowser('the keys of XY', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await enter(house, server, 'Ana K.');
  await page.getByRole('button', { name: 'XY', exact: true }).click();
  await tryKeys(page, 'xy', XY_KEYS);
});

inBrowser('the keys of the stage', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await enter(house, server, 'Ana K.');
  await row(page, 'MON A').waitFor();
  await tryKeys(page, 'stage', STAGE_KEYS);
});

inBrowser('the keys that hold anywhere', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await enter(house, server, 'Ana K.');
  await tryKeys(page, 'anywhere', ANYWHERE_KEYS);
});

inBrowser('the keys of Salvos', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await enter(house, server, 'Ana K.');
  const starred: string[] = [];
  for (let i = 1; i <= 9; i += 1) {
    const rows = [{ router: 'r1', destination: i, source: 31 }];
    const answer = await page.request.post('/api/v1/salvos', {
      headers: { Origin: server.address },
      data: { name: `Salvo ${i}`, rule: 'all', rows },
    });
    starred.push(((await answer.json()) as { id: string }).id);
  }
  await page.request.patch('/api/v1/people/me/settings', {
    headers: { Origin: server.address },
    data: { starredSalvos: starred },
  });
  await page.getByRole('link', { name: 'Salvos' }).click();
  await page.getByRole('button', { name: 'Star Salvo 9', pressed: true }).waitFor();
  await tryKeys(page, 'salvos', SALVO_KEYS);
});
