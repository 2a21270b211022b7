// Measures the panel in a browser and prints figures, each beside what it should be at most. Nothing
// fails by being slow; what was not really shown does.
import type { CDPSession, Page } from 'playwright-core';

import { pressCrossing, row, shows } from './deeds';
import { inBrowser, type House } from './house';
import { enlarge, type Stress } from './stress';

const QUICK = process.env.QUICK !== undefined;
const SPAN = QUICK ? 1000 : 10_000; // ms, of what is measured for a while
const OFTEN = QUICK ? 3 : 50; // what is measured one by one
const CHANGES = 200; // a second
const LIMITS = { frames: '16.8 / 17 / 34' };

function print(what: string, found: string, most: string): void {
  console.log(`${what.padEnd(52)} ${found.padStart(24)}   at most ${most}`);
}

function quantiles(values: readonly number[], digits: number, ...of: readonly number[]): string {
  const sorted = [...values].sort((a, b) => a - b);
  return of
    .map((q) => (sorted[Math.ceil(q * sorted.length) - 1] ?? NaN).toFixed(digits))
    .join(' / ');
}

// The time between two frames, ms, while the matrix is scrolled by so many pixels in each.
function frames(page: Page, span: number, by: number): Promise<number[]> {
  return page.evaluate(
    ([span, by]) =>
      new Promise<number[]>((resolve) => {
        const scroller = document.querySelector('[role=grid]');
        if (scroller === null) throw new Error('no matrix');
        const found: number[] = [];
        let [last, step] = [0, by];
        const begun = performance.now();
        const onFrame = (now: number) => {
          if (last !== 0) found.push(now - last);
          last = now;
          const at = scroller.scrollTop;
          scroller.scrollBy(step, step);
          if (by !== 0 && scroller.scrollTop === at) step = -step;
          if (performance.now() - begun < span) requestAnimationFrame(onFrame);
          else resolve(found);
        };
        requestAnimationFrame(onFrame);
      }),
    [span, by] as const,
  );
}

async function taskSeconds(session: CDPSession): Promise<number> {
  const { metrics } = await session.send('Performance.getMetrics');
  return metrics.find(({ name }) => name === 'TaskDuration')?.value ?? NaN;
}

async function heap(session: CDPSession): Promise<number> {
  await session.send('HeapProfiler.collectGarbage');
  return (await session.send('Runtime.getHeapUsage')).usedSize;
}

// The moment, in ms since 1970, of the frame after the one in which this source is seen there.
function painted(page: Page, destination: string, source: string): Promise<number> {
  return page.evaluate(
    ([destination, source]) =>
      new Promise<number>((resolve) => {
        const isSeen = () =>
          [...document.querySelectorAll('[role=row]')].some(
            (row) =>
              row.querySelector('.name')?.textContent === destination &&
              row.querySelector('.now')?.textContent.trim() === source,
          );
        const look = () => {
          if (!isSeen()) requestAnimationFrame(look);
          else
            requestAnimationFrame(() => {
              resolve(performance.timeOrigin + performance.now());
            });
        };
        look();
      }),
    [destination, source] as const,
  );
}

// How long after the next press, ms, the frame comes after the one with its mark, or without.
function marked(page: Page): Promise<number> {
  return page.evaluate(
    () =>
      new Promise<number>((resolve) => {
        const count = () => document.querySelectorAll('[role=row] .wish').length;
        const before = count();
        let pressed = 0;
        const onPress = (event: Event) => (pressed = event.timeStamp);
        addEventListener('pointerdown', onPress, { capture: true, once: true });
        const look = () => {
          if (pressed === 0 || count() === before) requestAnimationFrame(look);
          else
            requestAnimationFrame((now) => {
              resolve(now - pressed);
            });
        };
        look();
      }),
  );
}

type Measured = { page: Page; session: CDPSession; stress: Stress };

async function open(house: House, size: number): Promise<Measured> {
  const server = await house.serve(['--demo']);
  const { page, context } = await house.welcome(server);
  await context.tracing.stop(); // it costs more than what is measured
  const stress = await enlarge(page, size);
  await page.addInitScript(() => {
    const look = () => {
      if (document.querySelector('[role=row] .now') === null) requestAnimationFrame(look);
      else performance.mark('shown');
    };
    look();
  });
  await page.reload();
  await page.getByLabel('Name', { exact: true }).fill('Ana K.');
  await page.getByRole('button', { name: 'Sign in' }).click();
  await row(page, 'MON 1').waitFor();
  const session = await context.newCDPSession(page);
  await session.send('Performance.enable');
  return { page, session, stress };
}

// One of those that are in view at first, by turns.
const inView = (i: number) => 1 + (i % 20);

async function printView({ page }: Measured, limit: string): Promise<void> {
  const shown: number[] = [];
  for (let i = 0; i < OFTEN; ++i) {
    await page.reload();
    await row(page, 'MON 1').waitFor();
    const marks = await page.evaluate(() =>
      performance.getEntriesByName('shown').map(({ startTime }) => startTime),
    );
    shown.push(...marks);
  }
  print('first complete view, ms, p50 / p95', quantiles(shown, 0, 0.5, 0.95), limit);
}

async function printBytes(page: Page): Promise<void> {
  const sizes = await page.evaluate(() =>
    (performance.getEntriesByType('resource') as PerformanceResourceTiming[]).map(
      ({ name, encodedBodySize }) => ({ name, encodedBodySize }),
    ),
  );
  const sum = (kind: RegExp) =>
    sizes
      .filter(({ name }) => kind.test(name))
      .reduce((all, { encodedBodySize }) => all + encodedBodySize, 0);
  print('scripts and styles, kB', (sum(/\.(js|css)$/) / 1000).toFixed(1), '120');
  print('font, kB', (sum(/\.woff2$/) / 1000).toFixed(1), '48');
}

async function printFrames({ page, session, stress }: Measured): Promise<void> {
  for (const [how, by] of [
    ['at rest', 0],
    ['scrolling', 12],
  ] as const) {
    const [busy, begun] = [await taskSeconds(session), performance.now()];
    const found = await frames(page, SPAN, by);
    const share = (100_000 * ((await taskSeconds(session)) - busy)) / (performance.now() - begun);
    const inMatrix = await page.locator('[role=grid] *').count();
    print(
      `frames ${how}, ms, p50 / p95 / p99`,
      quantiles(found, 1, 0.5, 0.95, 0.99),
      LIMITS.frames,
    );
    print(`main thread ${how}, % of a core`, share.toFixed(0), '40');
    print(`elements in the matrix ${how}`, String(inMatrix), '600');
  }
  stress.end();
  const last = stress.shown()[0] ?? NaN;
  await page.locator('[role=grid]').evaluate((matrix) => {
    matrix.scrollTo(0, 0);
  });
  await shows(page, 'MON 1', `CAM ${last + 1}`);
}

async function printDelays({ page, stress }: Measured): Promise<void> {
  const [presses, messages]: [number[], number[]] = [[], []];
  for (let i = 0; i < OFTEN; ++i) {
    const mark = marked(page);
    await pressCrossing(page, 'CAM 30', `MON ${inView(i)}`); // which none of them shows
    presses.push(await mark);
    const source = 40 + i;
    const frame = painted(page, `MON ${inView(i)}`, `CAM ${source + 1}`);
    await page.evaluate(() => undefined); // it looks by now
    const said = stress.route(inView(i) - 1, source);
    messages.push((await frame) - said);
  }
  print('press to staged mark, ms, p50 / p95', quantiles(presses, 0, 0.5, 0.95), '50');
  print('message to painted mark, ms, p50 / p95', quantiles(messages, 0, 0.5, 0.95), '100');
}

async function printHeap({ page, session, stress }: Measured): Promise<void> {
  const before = await heap(session);
  stress.begin(CHANGES);
  await frames(page, 6 * SPAN, 0);
  stress.end();
  const after = await heap(session);
  const grown = ((after - before) / 1000) * (3_600_000 / (6 * SPAN));
  print('heap, MB', (after / 1e6).toFixed(1), 'flat');
  print('heap, growth scaled to an hour, MB', (grown / 1000).toFixed(1), 'flat');
}

for (const [size, limit] of [
  [256, '1000'],
  [1024, '1500'],
] as const)
  inBrowser(`a matrix of ${size} by ${size}`, async (house) => {
    const measured = await open(house, size);
    console.log(`\n${size} x ${size}, ${CHANGES} changes a second`);
    await printView(measured, limit);
    await printBytes(measured.page);
    await printDelays(measured);
    measured.stress.begin(CHANGES);
    await printFrames(measured);
    await printHeap(measured);
  });
