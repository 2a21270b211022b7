import { enter, pressCrossing, row, shows, stage, take } from './deeds';
import { inBrowser } from './house';

inBrowser('two people stage one destination: who takes later decides first', async (house) => {
  const server = await house.serve(['--demo']);
  const { page: ana } = await enter(house, server, 'Ana K.');
  const { page: ben } = await enter(house, server, 'Ben L.');
  await pressCrossing(ana, 'CAM 7', 'MON A');
  await row(ben, 'MON A').getByRole('gridcell', { name: 'Ana K. has this staged' }).waitFor();

  await pressCrossing(ben, 'CAM 8', 'MON A');
  await take(ben, 'TAKE 1').click();
  await shows(ana, 'MON A', 'CAM 8');
  await stage(ana)
    .getByText(/^Changed since you staged it: Ben L\. put CAM 8 here at \d\d:\d\d:\d\d$/)
    .waitFor();
  await ana.getByText('1 row changed since you staged it. Decide first.').waitFor();
  await take(ana, 'TAKE').click({ force: true }); // grey: in vain
  await ana.keyboard.press('Control+Enter');

  await ana.getByRole('button', { name: 'Keep mine: MON A' }).click();
  await stage(ana).getByText('CAM 8 → CAM 7').waitFor();
  await take(ana, 'TAKE 1').click();
  await shows(ben, 'MON A', 'CAM 7');

  await ben.keyboard.press('Control+z');
  await ben.getByText('MON A: Ana K. has changed it since (CAM 7)').waitFor();
  await ben.getByRole('button', { name: /^Undo/ }).waitFor({ state: 'detached' });
});

inBrowser('a foreign lock is seen, and broken with a reason', async (house) => {
  const server = await house.serve(['--demo']);
  const { page: ana } = await enter(house, server, 'Ana K.');
  const { page: ben } = await enter(house, server, 'Ben L.');
  await pressCrossing(ben, 'CAM 8', 'MON A');
  await ben.keyboard.press('l');
  await ben.getByLabel('Reason').fill('Live feed, do not touch.');
  await ben.getByRole('dialog').getByRole('button', { name: 'Lock' }).click();

  const locked = row(ana, 'MON A').getByRole('gridcell', { name: 'Locked by Ben L.' });
  await locked.waitFor();
  await pressCrossing(ana, 'CAM 7', 'MON A');
  await ana.getByText('MON A is locked by Ben L.').waitFor();
  await stage(ana)
    .getByText(/^Nothing staged\. Press/)
    .waitFor();

  await ana.keyboard.press('l');
  const dialog = ana.getByRole('dialog', { name: 'MON A' });
  await dialog
    .getByText(/Locked by Ben L\. since \d\d:\d\d\.\s+'Live feed, do not touch\.'/)
    .waitFor();
  await dialog.getByRole('button', { name: 'Break lock…' }).click();
  const breaking = dialog.getByRole('button', { name: 'Break lock', exact: true });
  await dialog.getByLabel('Reason').fill('no');
  await breaking.and(ana.locator('[aria-disabled=true]')).waitFor();
  await dialog.getByLabel('Reason').fill('wrong studio');
  await breaking.click();
  await locked.waitFor({ state: 'detached' });
  const told = ben.getByText("Ana K. broke your lock on MON A: 'wrong studio'");
  await told.waitFor();
  await ben.getByRole('button', { name: 'Close' }).click();
  await told.waitFor({ state: 'detached' });
  await pressCrossing(ana, 'CAM 7', 'MON A');
  await take(ana, 'TAKE 1').click();
  await shows(ben, 'MON A', 'CAM 7');
});
