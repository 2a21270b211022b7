import { checkOf } from './axe';
import { enter, pressCrossing, row, signIn, stage, take } from './deeds';
import { inBrowser } from './house';

inBrowser('axe finds nothing on Routing, nor in what lies over it', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await house.welcome(server);
  const check = await checkOf(page);
  const { keyboard } = page;
  await page.getByRole('heading', { name: 'Who are you?' }).waitFor();
  await check('signing in');
  await signIn(page, 'Ana K.');
  await check('the matrix');

  await pressCrossing(page, 'CAM 7', 'MON A');
  await take(page, 'TAKE 1').click();
  await stage(page)
    .getByText(/^1 of 1 confirmed/)
    .first()
    .waitFor();
  await pressCrossing(page, 'CAM 8', 'MON A');
  await take(page, 'TAKE 1').waitFor();
  await keyboard.press('l');
  await check('locking');
  await page.getByRole('dialog').getByRole('button', { name: 'Lock' }).click();
  await row(page, 'MON A').getByRole('gridcell', { name: 'Locked by Ana K.' }).waitFor();
  await page.getByRole('button', { name: 'Dry run' }).click();
  await stage(page)
    .getByText(/Checked/)
    .waitFor();
  await check('a result, a locked row and a dry run');

  await page.getByRole('button', { name: 'Save as salvo' }).click();
  await check('saving as a salvo');
  await keyboard.press('Escape');
  await keyboard.press('Control+z');
  await page.getByText(/^Undo take of/).waitFor();
  await check('undoing');
  await keyboard.press('Escape');
  await keyboard.press('Control+k');
  await page.getByRole('dialog').waitFor();
  await check('the palette');
  await keyboard.press('Escape');
  await keyboard.press('?');
  await page.getByRole('dialog').waitFor();
  await check('the help');
  await keyboard.press('Escape');
  await page.getByRole('button', { name: /^Armed/ }).click();
  await check('the question before Hot');
  await page.getByRole('button', { name: 'Switch to Hot' }).click();
  await check('Hot');
  await page.getByRole('button', { name: /op/ }).first().click();
  await page.getByRole('dialog').waitFor();
  await check('the operators');
  await keyboard.press('Escape');
  await page.getByRole('button', { name: 'XY', exact: true }).click();
  await page.getByRole('button', { name: /MON B/ }).click();
  await check('XY');
  await page.getByRole('button', { name: 'List', exact: true }).click();
  await page.getByRole('table').waitFor();
  await check('the list');
});

inBrowser('axe finds nothing on the other screens', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await enter(house, server, 'Ana K.');
  const check = await checkOf(page);
  const open = async (address: string, heading: string) => {
    await page.goto(address);
    await page.getByRole('heading', { name: heading, exact: true }).waitFor({ state: 'attached' });
  };
  await page.request.post('/api/v1/salvos', {
    headers: { Origin: server.address },
    data: {
      name: 'Evening news',
      rule: 'all',
      rows: [{ router: 'r1', destination: 0, source: 6 }],
    },
  });
  await open('/salvos', 'Salvos');
  await page.getByRole('link', { name: /Evening news/ }).click();
  await page.getByRole('button', { name: 'Dry run' }).click();
  await page.getByText('1 will change').waitFor();
  await check('a salvo');
  await open('/salvos/new', 'Salvos');
  await check('a new salvo');
  await open('/history', 'History');
  await page.getByRole('table').waitFor();
  await check('the history');
  await open('/routers', 'Routers');
  await page.getByRole('main').getByText('STUDIO B').waitFor();
  await check('the routers');
  for (const tab of ['link', 'names', 'groups', 'locks', 'limits', 'traffic']) {
    await open(`/routers/r1?tab=${tab}`, 'STUDIO A');
    await check(`a router's ${tab}`);
  }
  await open('/server', 'Health');
  await check('the health');
  for (const tab of ['me', 'people', 'tokens']) {
    await open(`/settings?tab=${tab}`, 'Settings');
    await check(`the settings of ${tab}`);
  }
  await open('/history/nowhere', 'Router control');
  await check('an address without a screen');
  await open('/first', 'The first administrator');
  await check('the first administrator');
});
