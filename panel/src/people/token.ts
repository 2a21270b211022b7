// When a token ends: so many days from now, or never.
export const TOKEN_DAYS = [30, 90, 365] as const;
const DAY = 86_400_000; // ms

// `now`: ms by the server's clock.
export function tokenEnd(days: number | undefined, now: number): { expires?: string } {
  return days === undefined ? {} : { expires: new Date(now + days * DAY).toISOString() };
}
