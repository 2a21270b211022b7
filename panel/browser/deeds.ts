// What people do at the panel, in their words.
import type { Locator, Page } from 'playwright-core';

import type { Guest, House } from './house';
import type { Server } from './programs';

// Somebody at the first screen of a demonstration.
export async function enter(house: House, server: Server, name: string): Promise<Guest> {
  const guest = await house.welcome(server);
  await signIn(guest.page, name);
  return guest;
}

export async function signIn(page: Page, name: string): Promise<void> {
  await page.getByLabel('Name', { exact: true }).fill(name);
  await page.getByRole('button', { name: 'Sign in' }).click();
  await row(page, 'MON A').waitFor();
}

// The matrix's row of a destination.
export function row(page: Page, destination: string): Locator {
  return page
    .getByRole('row')
    .filter({ has: page.locator('.name', { hasText: exactly(destination) }) });
}

export function exactly(text: string): RegExp {
  return new RegExp(`^${text.replace(/[.*+?^${}()|[\]\\]/g, '\\$&')}$`);
}

// The matrix knows its crossings by their places alone.
async function middle(locator: Locator): Promise<{ x: number; y: number }> {
  const box = await locator.boundingBox();
  if (box === null) throw new Error(`${String(locator)} is not in view`);
  return { x: box.x + box.width / 2, y: box.y + box.height / 2 };
}

export async function pressCrossing(
  page: Page,
  source: string,
  destination: string,
): Promise<void> {
  const column = page.locator('.column', {
    has: page.locator('span', { hasText: exactly(source) }),
  });
  const { x } = await middle(column);
  const { y } = await middle(row(page, destination).getByRole('rowheader'));
  await page.mouse.click(x, y);
}

export const stage = (page: Page): Locator => page.getByRole('complementary', { name: 'Staged' });
export const take = (page: Page, words: string): Locator =>
  page.getByRole('button', { name: words, exact: true });

// A row's present source, as the matrix says it.
export async function shows(page: Page, destination: string, source: string): Promise<void> {
  await row(page, destination)
    .getByRole('gridcell')
    .filter({ hasText: exactly(source) })
    .waitFor();
}
