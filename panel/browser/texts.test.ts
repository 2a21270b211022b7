// What is said where there is nothing, not yet, or not for this person.
import { enter, found, openRouter, pressCrossing, take } from './deeds';
import { inBrowser } from './house';
import { deafTo } from './scenario';

inBrowser('a filter that finds nothing says so, and is cleared', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await enter(house, server, 'Ana K.');
  await page.getByRole('searchbox', { name: 'Filter destinations' }).fill('mvw 9');
  await page.getByText("No destination matches 'mvw 9'.").waitFor();
  await page.getByRole('button', { name: 'Clear filter' }).click();
  await page.getByRole('rowheader', { name: 'MON A' }).waitFor();

  await page.getByRole('button', { name: 'XY', exact: true }).click();
  await page.getByRole('searchbox', { name: 'Search destinations' }).fill('mvw 9');
  await page.getByText("No destination matches 'mvw 9'.").waitFor();
});

inBrowser('a history in which nothing happened says so', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await enter(house, server, 'Ana K.');
  await page.goto('/history?who=nobody');
  await page.getByText('Nothing in this time. Try Today.').waitFor();
});

inBrowser('a salvo cannot have the name of another', async (house) => {
  const server = await house.serve(['--demo']);
  const { page, bears } = await enter(house, server, 'Ana K.');
  await pressCrossing(page, 'CAM 7', 'MON A');
  await take(page, 'TAKE 1').waitFor();
  const save = async () => {
    await page.getByRole('button', { name: 'Save as salvo' }).click();
    await page.getByRole('dialog').getByLabel('Name').fill('Evening news');
    await page.getByRole('dialog').getByRole('button', { name: 'Save' }).click();
  };
  await save();
  await page.getByText('Evening news is saved.').waitFor();
  await page.keyboard.press('Escape');
  bears(/409/);
  await save();
  await page.getByText('There is already a salvo called Evening news.').waitFor();
});

inBrowser('a server without a router says what to do', async (house) => {
  const server = await house.serve(['--data', house.folder()]);
  const { page } = await found(house, server);
  await page.goto('/');
  await page
    .getByText('No router yet. Add one by its address, or start the demo router.')
    .waitFor();
});

inBrowser('a router that is read for the first time says how far', async (house) => {
  const server = await house.serve(['--demo']);
  const router = await house.route(deafTo(['QN ID'], house.folder()));
  router.tell('on deaf');
  const { page } = await enter(house, server, 'Ana K.');
  await page.request.post('/api/v1/routers', {
    headers: { Origin: server.address },
    data: { name: 'OB VAN', address: '127.0.0.1', port: Number(router.port) },
  });
  await page.goto('/routers');
  await page.getByText(/Reading OB VAN: names \d+ of \d+, routes 0 of \d+\./).waitFor();
});

inBrowser('who may only look is told whom to ask', async (house) => {
  const server = await house.serve(['--data', house.folder()]);
  const router = await house.route([]);
  const { page, context } = await found(house, server);
  await openRouter(page, router.port);
  await page.request.post('/api/v1/people', {
    headers: { Origin: server.address },
    data: {
      id: 'ben',
      name: 'Ben L.',
      password: 'river otter lantern',
      rights: { usual: 'view', exceptions: {} },
    },
  });
  await context.clearCookies();
  await page.goto('/');
  await page.getByLabel('Name', { exact: true }).fill('ben');
  await page.getByLabel('Password').fill('river otter lantern');
  await page.getByRole('button', { name: 'Sign in' }).click();
  await page.getByText('You may look, not take').waitFor();
  await page.goto('/salvos/new');
  await page
    .getByText('You are signed in to look. Ask an engineer for the right to take.')
    .waitFor();
});
