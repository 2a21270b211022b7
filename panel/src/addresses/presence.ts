// What this screen shows, as other operators are told.
import type { Presence } from '../live/live';
import type { Say } from '../texts/speech';
import type { Address } from './address';

// `router`: the one at work.
export function presenceOf(
  say: Say,
  address: Address | undefined,
  router: string | undefined,
): Presence {
  if (address === undefined) return { screen: '' };
  const screen = say(address.screen);
  const isOfRouter = address.screen === 'routing' || 'router' in address;
  return isOfRouter && router !== undefined ? { screen, router } : { screen };
}
