// What a screen reader says of where the focus is: the browser's own role and name.
import type { CDPSession, Page } from 'playwright-core';
import { expect } from 'vitest';

export type Reader = {
  readonly says: (words: string) => Promise<void>; // "button Undo 1": waits until it does
  readonly tabTo: (place: string) => Promise<readonly string[]>; // all stops, this one too
};

const MOST_STOPS = 60;
const WAIT = { timeout: 60_000 };
const PRESENT = `(() => {
  const at = document.activeElement;
  return document.getElementById(at.getAttribute('aria-activedescendant') ?? '') ?? at;
})()`;

async function read(session: CDPSession): Promise<string> {
  const { result } = await session.send('Runtime.evaluate', { expression: PRESENT });
  const { objectId } = result;
  if (objectId === undefined) throw new Error('nothing has the focus');
  const { nodes } = await session.send('Accessibility.getPartialAXTree', {
    objectId,
    fetchRelatives: false,
  });
  return `${String(nodes[0]?.role?.value)} ${String(nodes[0]?.name?.value)}`;
}

export async function readerOf(page: Page): Promise<Reader> {
  const session = await page.context().newCDPSession(page);
  const present = () => read(session);
  const next = async (before: string): Promise<string> => {
    await page.keyboard.press('Tab');
    await expect.poll(present, WAIT).not.toBe(before);
    return present();
  };
  return {
    says: async (words) => {
      await expect.poll(present, WAIT).toBe(words);
    },
    tabTo: async (place) => {
      const stops: string[] = [];
      while (stops.at(-1) !== place) {
        if (stops.length === MOST_STOPS) throw new Error(`no ${place}, but ${stops.join(', ')}`);
        stops.push(await next(stops.at(-1) ?? (await present())));
      }
      return stops;
    },
  };
}
