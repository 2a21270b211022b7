import { expect } from 'vitest';

import { shows, stage } from './deeds';
import { inBrowser } from './house';
import { readerOf } from './reader';

inBrowser('stage, take, undo, lock and salvo with the keyboard alone', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await house.welcome(server);
  const { keyboard } = page;
  const reader = await readerOf(page);
  const focus = (role: 'button' | 'textbox', name: string) =>
    page
      .locator(':focus')
      .and(page.getByRole(role, { name, exact: true }))
      .waitFor();

  await focus('textbox', 'Name');
  await keyboard.type('Ana K.');
  await keyboard.press('Enter');
  await page.getByRole('grid', { name: 'Matrix' }).waitFor();
  expect(await reader.tabTo('gridcell CAM 1 to MON A, routed, now CAM 1')).toEqual([
    'button Matrix',
    'button XY',
    'button List',
    'searchbox Filter destinations',
    'searchbox Filter sources',
    'button S',
    'button M',
    'button L',
    'button XL',
    'button Only problems',
    'button Armed: nothing goes out before TAKE',
    'gridcell CAM 1 to MON A, routed, now CAM 1',
  ]);

  await keyboard.press('ArrowRight');
  await reader.says('gridcell CAM 2 to MON A, not routed, now CAM 1');
  await keyboard.press('Enter');
  await stage(page).getByText('CAM 1 → CAM 2').waitFor();
  await keyboard.press('Control+Enter');
  await page.getByText(/^MON A confirmed in \d+ milliseconds?$/).waitFor({ state: 'attached' });
  await shows(page, 'MON A', 'CAM 2');
  await reader.says('gridcell CAM 2 to MON A, routed, now CAM 2');

  await keyboard.press('Control+z');
  await focus('button', 'Undo 1');
  await keyboard.press('Enter');
  await shows(page, 'MON A', 'CAM 1');
  await reader.says('gridcell CAM 2 to MON A, not routed, now CAM 1');

  await keyboard.press('l');
  await focus('button', 'Close');
  expect(await reader.tabTo('button Lock')).toEqual([
    'textbox Reason',
    'combobox End',
    'button Lock',
  ]);
  await keyboard.press('Enter');
  await page.getByRole('gridcell', { name: 'Locked by Ana K.' }).waitFor();
  await reader.says('gridcell CAM 2 to MON A, not routed, now CAM 1');
  await keyboard.press('l');
  await reader.tabTo('button Unlock');
  await keyboard.press('Enter');
  await page.getByRole('gridcell', { name: 'Locked by Ana K.' }).waitFor({ state: 'detached' });

  await keyboard.press('Enter');
  await page.getByRole('button', { name: 'Remove MON A' }).waitFor();
  expect(await reader.tabTo('button Save as salvo')).toEqual(
    expect.arrayContaining(['button Remove MON A', 'button Clear', 'button Dry run']),
  );
  await keyboard.press('Enter');
  await focus('textbox', 'Name');
  await keyboard.type('Evening news');
  await keyboard.press('Enter');
  await page.getByText('Evening news is saved.').waitFor();
  await reader.tabTo('link Show');
  await keyboard.press('Enter');
  await page.getByRole('heading', { name: 'Salvos' }).waitFor({ state: 'attached' });
  await page.getByRole('rowheader', { name: 'MON A' }).waitFor();

  await keyboard.press('Control+Shift+Enter');
  await page.getByText('1 will change').waitFor();
  await keyboard.press('Control+Enter');
  await page.getByText(/^1 of 1 confirmed, slowest \d+ ms$/).waitFor();
});
