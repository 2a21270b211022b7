import { enter, pressCrossing, shows, stage, take } from './deeds';
import { inBrowser } from './house';

inBrowser('a newcomer stages a route, takes it and undoes it', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await enter(house, server, 'Ana K.');
  await stage(page)
    .getByText('Nothing staged. Press a crossing, or choose a destination and then a source.')
    .waitFor();

  await pressCrossing(page, 'CAM 7', 'MON A');
  await stage(page).getByText('CAM 1 → CAM 7').waitFor();
  await take(page, 'TAKE 1').click();
  await shows(page, 'MON A', 'CAM 7');
  await stage(page)
    .getByText(/^Confirmed \d+ ms$/)
    .waitFor();
  await stage(page)
    .getByText(/^1 of 1 confirmed, slowest \d+ ms$/)
    .first()
    .waitFor();

  await page.keyboard.press('Control+z');
  await page.getByRole('button', { name: 'Undo 1' }).click();
  await shows(page, 'MON A', 'CAM 1');
});

inBrowser(
  'a newcomer locks a destination, and nobody routes it until it is unlocked',
  async (house) => {
    const server = await house.serve(['--demo']);
    const { page } = await enter(house, server, 'Ana K.');

    await pressCrossing(page, 'CAM 7', 'MON A');
    await page.keyboard.press('l');
    const dialog = page.getByRole('dialog', { name: 'MON A' });
    await dialog.getByText('Nobody can route MON A, you included, until it is unlocked.').waitFor();
    await dialog.getByLabel('Reason').fill('Live feed');
    await dialog.getByRole('button', { name: 'Lock' }).click();
    await stage(page).getByText('Locked by Ana K.').waitFor();
    await page.getByText('1 locked row stays on the list.').waitFor();
    await take(page, 'TAKE').waitFor();

    await page.keyboard.press('l');
    await dialog.getByRole('button', { name: 'Unlock' }).click();
    await take(page, 'TAKE 1').click();
    await shows(page, 'MON A', 'CAM 7');
  },
);

inBrowser(
  'a newcomer keeps routes as a salvo, tries it without sending, and runs it',
  async (house) => {
    const server = await house.serve(['--demo']);
    const { page } = await enter(house, server, 'Ana K.');
    const salvos = page.getByRole('link', { name: 'Salvos' });
    await salvos.click();
    await page.getByText('No salvos yet. Stage some routes and choose Save as salvo.').waitFor();

    await page.getByRole('link', { name: 'Routing' }).click();
    await pressCrossing(page, 'CAM 7', 'MON A');
    await pressCrossing(page, 'CAM 1', 'MON B');
    await page.getByRole('button', { name: 'Save as salvo' }).click();
    const dialog = page.getByRole('dialog', { name: 'Save as salvo' });
    await dialog.getByLabel('Name').fill('Evening news');
    await dialog.getByRole('button', { name: 'Save' }).click();
    await dialog.getByText('Evening news is saved.').waitFor();
    await dialog.getByRole('link', { name: 'Show' }).click();

    const run = page.getByRole('complementary', { name: 'Run' });
    await run.getByRole('button', { name: 'Dry run' }).click();
    await run.getByText('2 will change').waitFor();
    await take(page, 'TAKE SALVO 2').click();
    await run.getByText(/^2 of 2 confirmed, slowest \d+ ms$/).waitFor();
    await run.getByRole('button', { name: 'Roll back 2' }).waitFor();

    await page.getByRole('link', { name: 'Routing' }).click();
    await shows(page, 'MON A', 'CAM 7');
    await shows(page, 'MON B', 'CAM 1');
  },
);
