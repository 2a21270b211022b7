// What the keys do that hold on every screen, and those of Salvos.
import type { Page } from 'playwright-core';

import { pressCrossing, shows, stage, take } from './deeds';
import { pressKeys, type Deed, type Deeds } from './keys';

const opens =
  (dialog: string): Deed =>
  async (page, press) => {
    await press();
    const opened = page.getByRole('dialog', { name: dialog });
    await opened.waitFor();
    await pressKeys(page, 'Escape');
    await opened.waitFor({ state: 'detached' });
  };

const isAt = (page: Page, screen: string) =>
  page
    .getByRole('link', { name: screen, exact: true })
    .and(page.locator('[aria-current]'))
    .waitFor();

const goes =
  (screen: string): Deed =>
  async (page, press) => {
    await page.getByRole('link', { name: screen === 'Health' ? 'History' : 'Health' }).click();
    await press();
    await isAt(page, screen);
  };

const isStaged = (page: Page, n: number) => take(page, n === 0 ? 'TAKE' : `TAKE ${n}`).waitFor();

// In the order of the table: each begins with what the one before has left.
export const ANYWHERE_KEYS = {
  palette: opens('Palette'),
  take: async (page, press) => {
    await pressCrossing(page, 'CAM 7', 'MON A');
    await isStaged(page, 1);
    await press();
    await shows(page, 'MON A', 'CAM 7');
    await isStaged(page, 0);
  },
  dryRun: async (page, press) => {
    await pressCrossing(page, 'CAM 8', 'MON B');
    await isStaged(page, 1);
    await press();
    await stage(page)
      .getByText(/^1 will change\. Checked \d\d:\d\d:\d\d\.$/)
      .waitFor();
    await pressKeys(page, 'Ctrl+Backspace');
    await isStaged(page, 0);
  },
  undo: async (page, press) => {
    await press();
    await page.getByRole('button', { name: 'Undo 1' }).click();
    await shows(page, 'MON A', 'CAM 1');
  },
  redo: async (page, press, keys) => {
    await press();
    await page.getByRole('button', { name: 'Redo 1' }).waitFor();
    if (keys === 'Ctrl+Y') await page.getByRole('button', { name: 'Redo 1' }).click();
    else await pressKeys(page, 'Escape');
    await shows(page, 'MON A', keys === 'Ctrl+Y' ? 'CAM 7' : 'CAM 1');
  },
  clearStage: async (page, press) => {
    await pressCrossing(page, 'CAM 8', 'MON B');
    await isStaged(page, 1);
    await press();
    await isStaged(page, 0);
  },
  mode: async (page, press) => {
    await press();
    await page.getByRole('button', { name: 'Switch to Hot' }).click();
    await page.getByRole('button', { name: 'HOT', exact: true }).waitFor();
    await press();
    await page.getByRole('button', { name: 'Armed: nothing goes out before TAKE' }).waitFor();
  },
  lockScreen: async (page, press) => {
    const padlock = page.getByRole('button', { name: 'Lock this screen' });
    await press();
    await padlock.and(page.locator('[aria-pressed=true]')).waitFor();
    await press();
    await padlock.and(page.locator('[aria-pressed=false]')).waitFor();
  },
  help: opens('Keys'),
  escape: async (page, press) => {
    await pressKeys(page, 'Ctrl+Z');
    const strip = page.getByText(/^Undo take of/);
    await strip.waitFor();
    await press();
    await strip.waitFor({ state: 'detached' });
  },
  goRouting: goes('Routing'),
  goSalvos: goes('Salvos'),
  goHistory: goes('History'),
  goRouters: goes('Routers'),
  goHealth: goes('Health'),
  goSettings: goes('Settings'),
} satisfies Deeds;

const nameField = (page: Page) => page.getByRole('textbox', { name: 'Name' });

export const SALVO_KEYS = {
  selectSalvo: async (page, press, digit) => {
    await press();
    await page.getByRole('region', { name: `Salvo ${digit}` }).waitFor();
    await page.getByText('1 will change', { exact: true }).waitFor();
  },
  editSalvo: async (page, press) => {
    await press();
    await page.locator(':focus').and(nameField(page)).waitFor();
  },
  saveSalvo: async (page, press) => {
    await nameField(page).fill('Salvo 10');
    await press();
    await page.getByRole('region', { name: 'Salvo 10' }).waitFor();
  },
} satisfies Deeds;
