// Where everything can be practised: a simulated router that misbehaves.
import { enter, pressCrossing, shows, stage, take } from './deeds';
import { inBrowser } from './house';

inBrowser('a simulated router is made to misbehave', async (house) => {
  const { page } = await enter(house, await house.serve(['--demo']), 'Ana K.');
  const menu = page.locator('summary', { hasText: 'Make it misbehave' });
  const fault = (name: string) => page.getByRole('checkbox', { name });
  await menu.click();
  await fault('Show another source').check();
  await pressCrossing(page, 'CAM 4', 'MON A');
  await fault('Show another source').waitFor({ state: 'hidden' });
  await take(page, 'TAKE 1').click();
  await stage(page).getByText('1 contradicted', { exact: true }).waitFor();

  await menu.click();
  await fault('Show another source').uncheck();
  await fault('Drop the link for 20 s').check();
  await page.getByText(/Link (down|failing) \d+:\d\d/).waitFor();
  await page.keyboard.press('Escape');
  await fault('Drop the link for 20 s').waitFor({ state: 'hidden' });
  await page.getByText('Link up').waitFor();
  await pressCrossing(page, 'CAM 5', 'MON B');
  await take(page, 'TAKE 1').click();
  await shows(page, 'MON B', 'CAM 5');
});
