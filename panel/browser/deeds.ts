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

// Adds a router that listens at this port, and goes to it.
export async function openRouter(page: Page, port: string, limitMs = 60_000): Promise<void> {
  const { origin } = new URL(page.url());
  const answer = await page.request.post('/api/v1/routers', {
    headers: { Origin: origin },
    data: {
      name: 'OB VAN',
      address: '127.0.0.1',
      port: Number(port),
      confirmationLimitMs: limitMs,
    },
  });
  if (!answer.ok()) throw new Error(await answer.text());
  const { id } = (await answer.json()) as { id: string };
  await page.goto(`/routing/${id}`);
  await page.getByText('Link up').waitFor();
}

// Ana, who administers a server that is new.
export async function found(house: House, server: Server): Promise<Guest> {
  const guest = await house.welcome(server);
  const { page, bears } = guest;
  bears(/401/); // asked who is there, as nobody is
  await page.goto(await server.says(/^(http:\S+first#\S+)$/));
  await page.getByLabel('Name for signing in').fill('ana');
  await page.getByLabel('Full name').fill('Ana K.');
  await page.getByLabel('Password').fill('correct horse battery staple');
  await page.getByRole('button', { name: 'Become the administrator' }).click();
  await page.getByText('Done: you are signed in as Ana K.').waitFor();
  return guest;
}

// As somebody else does it, by indices: in a demonstration whoever comes may.
export async function change(
  page: Page,
  router: string,
  at: number,
  source: number,
): Promise<void> {
  const { origin } = new URL(page.url());
  const answer = await fetch(
    `${origin}/api/v1/routers/${router}/destinations/${at}/route?wait=60000`,
    {
      method: 'PUT',
      headers: { 'Content-Type': 'application/json' },
      body: JSON.stringify({ source }),
    },
  );
  await answer.text();
}
