// What axe finds in a page, in both themes: nothing, or the failure says what.
import axe from 'axe-core';
import type { CDPSession, Page } from 'playwright-core';
import { expect } from 'vitest';

export type Check = (screen: string) => Promise<void>;

// The page's policy lets no script in: the browser itself runs this one.
async function findings(session: CDPSession, rules: string): Promise<readonly string[]> {
  const expression = `${axe.source}; axe.run({ resultTypes: ['violations'], ${rules} }).then(({ violations }) =>
    violations.flatMap(({ id, nodes }) => nodes.map(({ html, failureSummary }) =>
      id + ': ' + html + '\\n' + failureSummary)))`;
  const { result, exceptionDetails } = await session.send('Runtime.evaluate', {
    expression,
    awaitPromise: true,
    returnByValue: true,
  });
  if (exceptionDetails !== undefined) throw new Error(exceptionDetails.exception?.description);
  return result.value as string[];
}

export async function checkOf(page: Page): Promise<Check> {
  const session = await page.context().newCDPSession(page);
  return async (screen) => {
    await page.emulateMedia({ colorScheme: 'dark' });
    expect.soft(await findings(session, ''), `${screen}, dark`).toEqual([]);
    await page.emulateMedia({ colorScheme: 'light' }); // which changes colours, and nothing else
    const contrast = await findings(session, "runOnly: ['color-contrast']");
    expect.soft(contrast, `${screen}, light`).toEqual([]);
  };
}
