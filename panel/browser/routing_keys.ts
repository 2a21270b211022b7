// What the keys of Routing do outside the matrix: those of all its views, of XY and of the stage.
import type { Page } from 'playwright-core';

import { change, pressCrossing, row, stage, take } from './deeds';
import { cursorAt, goTo, pressKeys, type Deed, type Deeds } from './keys';

const focused = (page: Page, role: 'button' | 'searchbox', name: RegExp | string) =>
  page.locator(':focus').and(page.getByRole(role, { name })).waitFor();

const filters =
  (name: string): Deed =>
  async (page, press) => {
    await page.getByRole('grid').focus();
    await press();
    await focused(page, 'searchbox', name);
    await page.getByRole('grid').focus();
  };

const asks =
  (words: string): Deed =>
  async (page, press) => {
    await goTo(page, '2/2');
    await press();
    await page.getByRole('dialog', { name: 'MON B' }).getByText(words).waitFor();
    await pressKeys(page, 'Escape');
  };

// MON D and REC 1 have a problem.
export const ROUTING_KEYS = {
  filterDestinations: filters('Filter destinations'),
  filterSources: filters('Filter sources'),
  nextProblem: async (page, press) => {
    await goTo(page, '1/1');
    await press();
    await cursorAt(page, /^CAM 1 to MON D,/);
    await press();
    await cursorAt(page, /^CAM 1 to REC 1,/);
  },
  previousProblem: async (page, press) => {
    await goTo(page, '9/1');
    await press();
    await cursorAt(page, /^CAM 1 to MON D,/);
  },
  accept: async (page, press) => {
    await goTo(page, '4/1');
    await press();
    await page.getByText('1 problem', { exact: true }).waitFor();
  },
  lock: asks('Nobody can route MON B, you included, until it is unlocked.'),
  protect: asks('Only you can route MON B until you release it.'),
  details: asks('Last 20 changes'),
  pin: async (page, press) => {
    await goTo(page, '3/3');
    await press();
    await page.getByRole('rowheader', { name: 'Pinned · 1' }).waitFor();
    await press();
    await page.getByRole('rowheader', { name: 'Pinned · 1' }).waitFor({ state: 'detached' });
  },
  nextView: async (page, press) => {
    for (const view of ['XY', 'List', 'Matrix']) {
      await press();
      await page.getByRole('button', { name: view, exact: true, pressed: true }).waitFor();
    }
  },
} satisfies Deeds;

const destination = (page: Page, name: string) =>
  page.locator('.all').getByRole('button', { name: new RegExp(`^\\d+ ${name} `) });

export const XY_KEYS = {
  chooseUp: async (page, press) => {
    await destination(page, 'MON B').focus();
    await press();
    await focused(page, 'button', /^1 MON A /);
  },
  chooseDown: async (page, press) => {
    await destination(page, 'MON B').focus();
    await press();
    await focused(page, 'button', /^3 MON C /);
  },
  choose: async (page, press) => {
    await destination(page, 'MON B').focus();
    await press();
    await page.getByRole('heading', { name: 'Source for MON B' }).waitFor();
    await focused(page, 'button', /^CAM 2 .* Now$/);
  },
  back: async (page, press) => {
    await press();
    await focused(page, 'button', /^2 MON B /);
  },
} satisfies Deeds;

const stageTwo = async (page: Page) => {
  await pressCrossing(page, 'CAM 7', 'MON A');
  await take(page, 'TAKE 1').waitFor();
  await pressCrossing(page, 'CAM 7', 'MON B');
  await take(page, 'TAKE 2').waitFor();
};

export const STAGE_KEYS = {
  stageUp: async (page, press) => {
    await stageTwo(page);
    await page.getByRole('button', { name: 'Remove MON B' }).focus();
    await press();
    await focused(page, 'button', 'Remove MON A');
  },
  stageDown: async (page, press) => {
    await press();
    await focused(page, 'button', 'Remove MON B');
  },
  drop: async (page, press) => {
    await press();
    await take(page, 'TAKE 1').waitFor();
    await page.getByRole('button', { name: 'Remove MON B' }).waitFor({ state: 'detached' });
  },
  keep: async (page, press) => {
    await change(page, 'r1', 0, 8);
    await page.getByRole('button', { name: 'Keep mine: MON A' }).focus();
    await press();
    await stage(page).getByText('VTR 1 → CAM 7').waitFor();
    await row(page, 'MON A').waitFor();
  },
} satisfies Deeds;
