// Takes the pictures of docs/panel.md anew, from a demonstration.
import { mkdirSync, statSync } from 'node:fs';

import type { BrowserContextOptions, Locator, Page } from 'playwright-core';
import { expect } from 'vitest';

import { pressCrossing, row, signIn, stage, take } from './deeds';
import { inBrowser, type House } from './house';

const FOLDER = '../docs/panel';
const LARGEST = 150_000; // bytes of a picture
const ROOM = { width: 1600, height: 900 };

async function picture(of: Page | Locator, name: string): Promise<void> {
  const path = `${FOLDER}/${name}.png`;
  await of.screenshot({ path, animations: 'disabled' });
  expect(statSync(path).size, path).toBeLessThan(LARGEST);
}

async function enter(house: House, options: BrowserContextOptions): Promise<Page> {
  mkdirSync(FOLDER, { recursive: true });
  const server = await house.serve(['--demo']);
  const { page } = await house.welcome(server, { viewport: ROOM, ...options });
  await signIn(page, 'Ana K.');
  return page;
}

async function takeOne(page: Page, source: string, destination: string): Promise<void> {
  await pressCrossing(page, source, destination);
  await take(page, 'TAKE 1').click();
  await row(page, destination).getByText(source, { exact: true }).first().waitFor();
}

inBrowser('taking, locking and undoing, dark', async (house) => {
  const page = await enter(house, { colorScheme: 'dark' });
  await takeOne(page, 'CAM 7', 'MON A');
  await pressCrossing(page, 'VTR 1', 'MON C');
  await pressCrossing(page, 'SAT 3', 'MON E');
  await take(page, 'TAKE 2').waitFor();
  await picture(page, 'staged');

  await pressCrossing(page, 'SAT 3', 'MON E');
  await page.keyboard.press('l');
  const dialog = page.getByRole('dialog', { name: 'MON E' });
  await dialog.getByLabel('Reason').fill('Live feed, do not touch.');
  await picture(dialog, 'lock');
  await dialog.getByRole('button', { name: 'Lock' }).click();
  await row(page, 'MON E').getByRole('gridcell', { name: 'Locked by Ana K.' }).waitFor();

  await page.keyboard.press('Control+z');
  await page.getByRole('button', { name: 'Undo 1' }).waitFor();
  await picture(page, 'undo');
  await page.keyboard.press('Escape');

  await page.goto('/wall/r1');
  await row(page, 'MON A').waitFor();
  await picture(page, 'wall');
});

inBrowser('results, salvos, history, health and traffic, light', async (house) => {
  const page = await enter(house, { colorScheme: 'light' });
  await pressCrossing(page, 'CAM 7', 'MON A');
  await pressCrossing(page, 'VTR 1', 'MON C');
  await page.getByRole('button', { name: 'Save as salvo' }).click();
  const dialog = page.getByRole('dialog', { name: 'Save as salvo' });
  await dialog.getByLabel('Name').fill('Evening news');
  await dialog.getByRole('button', { name: 'Save' }).click();
  await dialog.getByText('Evening news is saved.').waitFor();
  await page.keyboard.press('Escape');
  await take(page, 'TAKE 2').click();
  await stage(page)
    .getByText(/^2 of 2 confirmed/)
    .first()
    .waitFor();
  await picture(page, 'results');

  await page.getByRole('link', { name: 'Salvos' }).click();
  await page.getByRole('link', { name: /Evening news/ }).click();
  await page.getByRole('button', { name: 'Dry run' }).click();
  await page.getByText('2 already so').waitFor();
  await picture(page, 'salvo');

  await page.getByRole('link', { name: 'History' }).click();
  await page.getByRole('cell', { name: 'Take' }).first().waitFor();
  await picture(page, 'history');
  await page.goto('/routers/r1?tab=traffic');
  await page.getByText('to the router').first().waitFor();
  await picture(page, 'traffic');
  await page.getByRole('link', { name: 'Health' }).click();
  await page.getByRole('heading', { name: 'Log' }).waitFor();
  await picture(page, 'health');
});

inBrowser('a phone, dark', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await house.welcome(server, {
    colorScheme: 'dark',
    viewport: { width: 390, height: 780 },
    hasTouch: true,
  });
  await page.getByLabel('Name', { exact: true }).fill('Ana K.');
  await page.getByRole('button', { name: 'Sign in' }).click();
  await page.getByRole('button', { name: /MON B/ }).click();
  await page.getByRole('button', { name: /CAM 5/ }).click();
  await take(page, 'TAKE 1').waitFor();
  await picture(page, 'phone');
});
