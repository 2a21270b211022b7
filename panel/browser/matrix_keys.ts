// What the keys of the matrix do.
import type { Page } from 'playwright-core';

import { row, stage, take } from './deeds';
import { cursorAt, goTo, pressKeys, type Deed, type Deeds } from './keys';

const moves =
  (from: string, to: RegExp): Deed =>
  async (page, press) => {
    await goTo(page, from);
    await press();
    await cursorAt(page, to);
  };

const isMarked = (page: Page, destination: string, selected = true) =>
  row(page, destination).and(page.getByRole('row', { selected })).waitFor();

const marks =
  (...destinations: readonly string[]): Deed =>
  async (page, press) => {
    await goTo(page, '3/3');
    await press();
    for (const each of destinations) await isMarked(page, each);
    await pressKeys(page, 'Escape');
    for (const each of destinations) await isMarked(page, each, false);
  };

const isSwapped = (page: Page, is: boolean) =>
  page.locator('.matrix.swapped').waitFor({ state: is ? 'attached' : 'detached' });

// While destinations are columns.
const swapped =
  (deed: Deed): Deed =>
  async (page, press, keys) => {
    await page.getByRole('grid').focus();
    await pressKeys(page, 'X');
    await isSwapped(page, true);
    await deed(page, press, keys);
    await pressKeys(page, 'X');
    await isSwapped(page, false);
  };

const sized =
  (size: string): Deed =>
  async (page, press) => {
    await page.getByRole('grid').focus();
    await press();
    await page.getByRole('button', { name: size, exact: true, pressed: true }).waitFor();
  };

export const MATRIX_KEYS = {
  up: moves('3/3', /^CAM 3 to MON B,/),
  down: moves('3/3', /^CAM 3 to MON D,/),
  left: moves('3/3', /^CAM 2 to MON C,/),
  right: moves('3/3', /^CAM 4 to MON C,/),
  groupUp: moves('12/3', /^CAM 3 to MON A,/),
  groupDown: moves('3/3', /^CAM 3 to REC 1,/),
  groupLeft: moves('3/12', /^CAM 1 to MON C,/),
  groupRight: moves('3/3', /^VTR 1 to MON C,/),
  rowStart: moves('3/3', /^No source to MON C,/),
  rowEnd: moves('3/3', /^TEST 2 to MON C,/),
  firstCorner: moves('3/3', /^No source to MON A,/),
  lastCorner: moves('3/3', /^TEST 2 to QC 2,/),
  pageUp: moves('32/3', /^CAM 3 to (MON|REC) ./),
  pageDown: moves('1/3', /^CAM 3 to (MIX IN|TX) ./),
  pageLeft: moves('3/32', /^CAM . to MON C,/),
  pageRight: moves('3/1', /^(SRV|TEST) . to MON C,/),
  goTo: async (page, press, keys) => {
    await goTo(page, '3/3');
    await press();
    await cursorAt(page, keys.includes('/') ? /^CAM 7 to REC 4,/ : /^CAM 3 to REC 4,/);
  },
  press: async (page, press) => {
    await goTo(page, '3/7');
    await press();
    await stage(page).getByText('CAM 3 → CAM 7').waitFor();
    await press();
    await take(page, 'TAKE').waitFor();
  },
  removeStaged: async (page, press) => {
    await goTo(page, '3/7');
    await pressKeys(page, 'Enter');
    await take(page, 'TAKE 1').waitFor();
    await press();
    await take(page, 'TAKE').waitFor();
  },
  markRow: marks('MON C'),
  extendUp: marks('MON B', 'MON C'),
  extendDown: marks('MON C', 'MON D'),
  extendLeft: swapped(marks('MON B', 'MON C')),
  extendRight: swapped(marks('MON C', 'MON D')),
  markAll: marks('MON A', 'MON C', 'REC 1'),
  toRoute: async (page, press) => {
    await page.setViewportSize({ width: 1280, height: 1080 });
    await goTo(page, '32/1'); // its route lies out of view
    const isScrolled = (is: boolean) =>
      page.waitForFunction(
        (wanted) => (document.querySelector('[role=grid]')?.scrollLeft ?? 0) > 0 === wanted,
        is,
      );
    await isScrolled(false);
    await press();
    await isScrolled(true);
    await press();
    await isScrolled(false);
    await page.setViewportSize({ width: 1920, height: 1080 });
  },
  larger: sized('XL'),
  smaller: sized('L'),
  swapAxes: async (page, press) => {
    await page.getByRole('grid').focus();
    await press();
    await isSwapped(page, true);
    await press();
    await isSwapped(page, false);
  },
} satisfies Deeds;
