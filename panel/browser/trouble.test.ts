// What happens to the link and to the server while somebody works.
import { expect } from 'vitest';

import { enter, found, openRouter, pressCrossing, shows, signIn, stage, take } from './deeds';
import { inBrowser } from './house';
import { deafTo } from './scenario';

const TAKES = ['TI', 'QI']; // and what they have done

inBrowser('the link is lost and comes back, and what is staged stays', async (house) => {
  const size = ['--sources', '8', '--destinations', '8'];
  const server = await house.serve(['--demo']);
  const router = await house.route(size);
  const { page } = await enter(house, server, 'Ana K.');
  await openRouter(page, router.port);
  await pressCrossing(page, 'CAM 4', 'MON A');
  await take(page, 'TAKE 1').waitFor();

  await router.end();
  await page
    .getByText(
      /Link to OB VAN lost at \d\d:\d\d:\d\d\. You see the last known routes, \d+:\d\d old\. Takes are not possible\./,
    )
    .waitFor();
  await page.getByText(/Link (down|failing) \d+:\d\d/).waitFor();
  await page.getByText('Link down: takes are not possible').waitFor();
  await take(page, 'TAKE 1').and(page.locator('[aria-disabled=true]')).waitFor();
  await pressCrossing(page, 'CAM 5', 'MON B');
  await stage(page).getByText('2 routes').waitFor();

  await house.route(size, router.port);
  await page.getByText('Link up').waitFor();
  await take(page, 'TAKE 2').click();
  await shows(page, 'MON A', 'CAM 4');
  await shows(page, 'MON B', 'CAM 5');
});

inBrowser('a link that is lost in the middle of a take ends it', async (house) => {
  const server = await house.serve(['--demo']);
  const router = await house.route(deafTo(TAKES, house.folder()));
  const { page } = await enter(house, server, 'Ana K.');
  await openRouter(page, router.port);
  await page.waitForFunction("document.title === 'OB VAN · Routing'");
  router.tell('on deaf');
  await pressCrossing(page, 'CAM 4', 'MON A');
  await take(page, 'TAKE 1').click();
  await stage(page)
    .getByText(/^Last take/)
    .waitFor();
  await router.end();
  await stage(page).getByText('Timed out: link lost').waitFor();
});

inBrowser('the link is lost in the middle of a salvo, and comes back', async (house) => {
  const server = await house.serve(['--demo']);
  const router = await house.route(deafTo(['TI 2', 'QI 2'], house.folder()));
  const { page } = await enter(house, server, 'Ana K.');
  await openRouter(page, router.port, 5000);
  await pressCrossing(page, 'CAM 4', 'MON A');
  await pressCrossing(page, 'CAM 5', 'MON B');
  await page.getByRole('button', { name: 'Save as salvo' }).click();
  await page.getByLabel('Name', { exact: true }).fill('Evening news');
  await page.getByRole('button', { name: 'Save', exact: true }).click();
  await page.getByRole('link', { name: 'Show' }).click();

  const run = page.getByRole('complementary', { name: 'Run' });
  await page.getByRole('button', { name: 'Dry run' }).click();
  await run.getByText('2 will change').waitFor();
  router.tell('on deaf');
  await take(page, 'TAKE SALVO 2').click();
  const progress = run.getByText('1 of 2 confirmed', { exact: true });
  await progress.waitFor();
  await router.end();
  await run.getByText('Timed out: link lost').waitFor();

  await house.route([], router.port);
  await progress.waitFor({ state: 'detached' });
  await page.getByRole('link', { name: 'Routing' }).click();
  await shows(page, 'MON A', 'CAM 1');
  await shows(page, 'MON B', 'CAM 2');
});

inBrowser('the server is started anew while a wish is open', async (house) => {
  const data = ['--data', house.folder()];
  const server = await house.serve(data);
  const router = await house.route(deafTo(TAKES, house.folder()));
  const { page, bears } = await found(house, server);
  await openRouter(page, router.port);
  router.tell('on deaf');
  await pressCrossing(page, 'CAM 4', 'MON A');
  await take(page, 'TAKE 1').click();
  await stage(page).getByText('1 under way').first().waitFor();

  bears(/WebSocket|Failed to load resource/);
  await server.end('SIGKILL');
  await page.getByText(/No connection to the server\. What you see is \d+:\d\d old\./).waitFor();
  await pressCrossing(page, 'CAM 5', 'MON B');
  await page.getByText('Not sent: The server does not answer.').waitFor();
  await house.serve(data, server.port);
  await page.getByText('Link up').waitFor();
  await stage(page)
    .getByText(/^Unknown: the .* was restarted$/)
    .waitFor();
});

inBrowser('a session ends in the middle of staging', async (house) => {
  const server = await house.serve(['--data', house.folder()]);
  const router = await house.route([]);
  const { page, bears } = await found(house, server);
  await openRouter(page, router.port);
  await pressCrossing(page, 'CAM 7', 'MON A');
  await take(page, 'TAKE 1').waitFor();

  bears(/WebSocket|401/);
  await page.request.delete('/api/v1/session', { headers: { Origin: server.address } });
  await page.getByRole('heading', { name: 'Who are you?' }).waitFor();
  await page.getByLabel('Name', { exact: true }).fill('ana');
  await page.getByLabel('Password').fill('correct horse battery staple');
  await page.getByRole('button', { name: 'Sign in' }).click();
  await stage(page).getByText('CAM 1 → CAM 7').waitFor();
  await take(page, 'TAKE 1').click();
  await shows(page, 'MON A', 'CAM 7');
});

inBrowser('a view that breaks leaves the frame, and is loaded again', async (house) => {
  const { page } = await enter(house, await house.serve(['--demo']), 'Ana K.');
  await page.getByRole('link', { name: 'Health' }).click();
  await page.evaluate(() => {
    const good = window.ResizeObserver;
    window.ResizeObserver = class extends good {
      constructor(callback: ResizeObserverCallback) {
        window.ResizeObserver = good;
        super(callback);
        throw new Error('broken once');
      }
    };
  });
  await page.getByRole('link', { name: 'Routing' }).click();
  await page.getByText('This view stopped working. Routes are not affected.').waitFor();
  await page.getByText('Link up').waitFor();
  const details = page.getByRole('textbox', { name: 'Copy details' });
  expect(await details.inputValue()).toContain('broken once');
  await page.getByRole('button', { name: 'Reload the view' }).click();
  await pressCrossing(page, 'CAM 4', 'MON A');
  await take(page, 'TAKE 1').waitFor();
});

inBrowser('the server has a newer panel', async (house) => {
  const server = await house.serve(['--demo']);
  const { page } = await house.welcome(server);
  let version = '"version":"$1"';
  await page.routeWebSocket(/live/, (socket) => {
    socket.connectToServer().onMessage((message) => {
      socket.send(String(message).replace(/"version":"([^"]*)"/, version));
    });
  });
  await page.reload();
  await signIn(page, 'Ana K.');
  await pressCrossing(page, 'CAM 4', 'MON A');
  await take(page, 'TAKE 1').waitFor();
  version = '"version":"99.0.0"';
  const strip = page.getByText(
    'The server has a newer panel. Reload when it suits you; your stage is kept.',
  );
  await strip.waitFor();
  version = '"version":"$1"';
  await page.getByRole('button', { name: 'Reload', exact: true }).click();
  await strip.waitFor({ state: 'detached' });
  await take(page, 'TAKE 1').waitFor();
});
