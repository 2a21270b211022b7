// Armed or Hot. Hot ends after so long without a take. Moments in ms.
export type Mode = { readonly is: 'armed' } | { readonly is: 'hot'; readonly until: number };

export const ARMED: Mode = { is: 'armed' };
const MINUTE = 60_000;

// From now, or from a take in it, for these minutes.
export function hot(now: number, minutes: number): Mode {
  return { is: 'hot', until: now + minutes * MINUTE };
}

export function modeAt(mode: Mode, now: number): Mode {
  return mode.is === 'hot' && now >= mode.until ? ARMED : mode;
}
