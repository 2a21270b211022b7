// A test in the browser: the programs and the people that it brings in, which all end with it. It
// fails as well when a page complains of itself (an error, or a rule of its policy that it breaks);
// what failed leaves a picture and a trace of each person's page.
import { mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import {
  chromium,
  type Browser,
  type BrowserContext,
  type BrowserContextOptions,
  type Page,
} from 'playwright-core';
import { afterAll, beforeAll, expect, test } from 'vitest';

import { PROGRAMS, startRouter, startServer, type Router, type Server } from './programs';

export type Guest = {
  readonly page: Page;
  readonly context: BrowserContext;
  readonly bears: (complaint: RegExp) => void; // one that the test brings about
};
export type House = {
  readonly serve: (options: readonly string[], port?: string) => Promise<Server>;
  readonly route: (options: readonly string[], port?: string) => Promise<Router>;
  readonly folder: () => string; // an empty one
  readonly welcome: (server: Server, options?: BrowserContextOptions) => Promise<Guest>;
};

let browser: Browser;
beforeAll(async () => {
  browser = await chromium.launch({ executablePath: '/usr/bin/chromium' });
});
afterAll(() => browser.close());

type Visit = Guest & { readonly complaints: () => readonly string[] };

async function visit(options: BrowserContextOptions, patience: number): Promise<Visit> {
  const context = await browser.newContext({
    viewport: { width: 1920, height: 1080 },
    locale: 'en-GB',
    timezoneId: 'UTC',
    ...options,
  });
  context.setDefaultTimeout(patience);
  await context.tracing.start({ snapshots: true });
  const page = await context.newPage();
  const complaints: string[] = [];
  const borne: RegExp[] = [];
  page.on('console', (message) => {
    if (message.type() === 'error') complaints.push(message.text());
  });
  page.on('pageerror', (error) => complaints.push(String(error)));
  page.on('crash', () => complaints.push('The page crashed.'));
  return {
    page,
    context,
    bears: (complaint) => borne.push(complaint),
    complaints: () => complaints.filter((each) => !borne.some((pattern) => pattern.test(each))),
  };
}

async function leaveFindings(visits: readonly Visit[], name: string): Promise<void> {
  const place = join(PROGRAMS, 'panel/browser', name.replace(/[^A-Za-z0-9]+/g, '_'));
  for (const [i, { page, context }] of visits.entries()) {
    await page.screenshot({ path: `${place}-${i + 1}.png` }).catch(() => undefined);
    await context.tracing.stop({ path: `${place}-${i + 1}.zip` }).catch(() => undefined);
  }
}

// Waits are as long as the test may last, halved: what is waited for in vain is named.
export function inBrowser(name: string, act: (house: House) => Promise<void>): void {
  test(name, async ({ task }) => {
    const visits: Visit[] = [];
    const endings: (() => unknown)[] = [];
    const ending = <T extends { end: () => Promise<void> }>(program: T) => {
      endings.unshift(() => program.end());
      return program;
    };
    try {
      await act({
        serve: async (options, port) => ending(await startServer(options, port)),
        route: async (options, port) => ending(await startRouter(options, port)),
        folder: () => {
          const folder = mkdtempSync(join(tmpdir(), 'panel.'));
          endings.push(() => {
            rmSync(folder, { recursive: true });
          });
          return folder;
        },
        welcome: async (server, options = {}) => {
          const guest = await visit({ baseURL: server.address, ...options }, task.timeout / 2);
          visits.push(guest);
          await guest.page.goto('/');
          return guest;
        },
      });
      expect(visits.flatMap(({ complaints }) => complaints())).toEqual([]);
    } catch (failure) {
      await leaveFindings(visits, name);
      throw failure;
    } finally {
      for (const { context } of visits) await context.close();
      for (const end of endings) await end();
    }
  });
}
