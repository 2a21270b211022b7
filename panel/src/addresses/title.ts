// The title of the tab: how many problems, of which router, on which screen.
import type { Router } from '../api/types';
import type { Say } from '../texts/speech';
import type { Address } from './address';

// `router`: the one at work.
export function titleOf(
  say: Say,
  address: Address | undefined,
  router: Pick<Router, 'name' | 'problems'> | undefined,
): string {
  if (address === undefined) return say('panel');
  const screen = say(address.screen);
  if (router === undefined) return screen;
  const { name, problems } = router;
  if (problems === 0) return say('tabTitle', { router: name, screen });
  return say('tabTitleWithProblems', { n: problems, router: name, screen });
}
