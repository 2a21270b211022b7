// Tries keys of the table one after the other in one page.
import type { Page } from 'playwright-core';

import { KEY_TABLE, type Command, type Context } from '../src/keys/table';

// `press` presses the keys of the row, `keys` as they stand in it.
export type Deed = (page: Page, press: () => Promise<void>, keys: string) => Promise<void>;
export type Deeds = Readonly<Partial<Record<Command, Deed>>>;

// As the table writes them: "Ctrl+Shift+Z", "1 2 / 7 Enter".
export async function pressKeys(page: Page, keys: string): Promise<void> {
  for (const chord of keys.split(' ')) {
    const shifted = chord.includes('Shift+');
    const letter = /(?<=^|\+)[A-Z]$/;
    const key = shifted ? chord : chord.replace(letter, (each) => each.toLowerCase());
    await page.keyboard.press(key.replace('Ctrl+', 'Control+'));
  }
}

export async function tryKeys(page: Page, context: Context, deeds: Deeds): Promise<void> {
  for (const { keys, command } of KEY_TABLE.filter((row) => row.context === context)) {
    const deed = deeds[command];
    if (deed === undefined) continue; // told by keysWithout
    for (const each of keys) {
      await deed(page, () => pressKeys(page, each), each).catch((cause: unknown) => {
        throw new Error(`${each} (${command}): ${String(cause)}`, { cause });
      });
    }
  }
}

export function keysWithout(deeds: Deeds): readonly string[] {
  return KEY_TABLE.filter(
    ({ keys, command }) => keys.length > 0 && deeds[command] === undefined,
  ).map(({ command }) => command);
}

// The crossing under the cursor, as a screen reader is told of it.
export async function cursorAt(page: Page, name: RegExp): Promise<void> {
  const crossing = page.locator('#crossing').and(page.getByRole('gridcell', { name }));
  await crossing.waitFor({ state: 'attached' });
}

// To a destination and a source, by their numbers: "12/7".
export async function goTo(page: Page, place: string): Promise<void> {
  await page.getByRole('grid').focus();
  await pressKeys(page, `${place.replace(/./g, '$& ')}Enter`);
}
