import type { Locator } from 'playwright-core';
import { expect } from 'vitest';

import { enter, pressCrossing, row, take } from './deeds';
import { inBrowser } from './house';

const colour = (of: Locator, property: string) =>
  of.evaluate((element, name) => getComputedStyle(element).getPropertyValue(name), property);

inBrowser('with forced colours, shapes and frames say what colours said', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await enter(house, server, 'Ana K.');
  await page.emulateMedia({ forcedColors: 'active' });
  const text = await colour(page.locator('body'), 'color');
  const button = page.locator('#take');
  const grey = await colour(button, 'color');

  await pressCrossing(page, 'CAM 7', 'MON A');
  await take(page, 'TAKE 1').waitFor();
  expect(await colour(row(page, 'MON A').locator('.wish svg'), 'color')).toBe(text);
  expect(await colour(button, 'color')).not.toBe(grey);

  const mark = (screen: string) =>
    colour(page.getByRole('link', { name: screen, exact: true }), 'border-inline-start-color');
  expect(await mark('Salvos')).toBe(await colour(page.locator('body'), 'background-color'));
  expect(await mark('Routing')).not.toBe(await mark('Salvos'));

  const view = (name: string) => page.getByRole('button', { name, exact: true });
  expect(await colour(view('Matrix'), 'outline-style')).toBe('solid');
  expect(await colour(view('XY'), 'outline-style')).toBe('none');
});
