// What the filters of an address ask the server for. Moments in ms by the server's clock.
import type { HistoryFilters } from '../addresses/address';

export type Query = Readonly<Record<string, string>>;

const HOUR = 3_600_000;

function sinceMidnight(time: number, timeZone: string): number {
  const parts = new Intl.DateTimeFormat('en', {
    hour: '2-digit',
    minute: '2-digit',
    second: '2-digit',
    hourCycle: 'h23',
    timeZone,
  }).format(time);
  const [hours = 0, minutes = 0, seconds = 0] = parts.split(':').map(Number);
  return ((hours * 60 + minutes) * 60 + seconds) * 1000 + (time % 1000);
}

// Also of a day that has 23 hours, or 25.
export function midnight(now: number, timeZone: string): number {
  const guess = now - sinceMidnight(now, timeZone);
  const past = sinceMidnight(guess, timeZone);
  return guess - (past < 12 * HOUR ? past : past - 24 * HOUR);
}

function bounds(filters: HistoryFilters, now: number, timeZone: string): Query {
  const { time, from, to } = filters;
  if (time === 'hour') return { from: new Date(now - HOUR).toISOString() };
  if (time === 'today') return { from: new Date(midnight(now, timeZone)).toISOString() };
  if (time !== 'range') return {};
  return { ...(from === undefined ? {} : { from }), ...(to === undefined ? {} : { to }) };
}

// A destination or source is one of a router: of `atWork` when the address names none.
export function queryOf(
  filters: HistoryFilters,
  now: number,
  timeZone: string,
  atWork: string | undefined,
): Query {
  const { who, dest, source, why, result, take, text } = filters;
  const ofRouter = dest !== undefined || source !== undefined;
  const router = filters.router ?? (ofRouter ? atWork : undefined);
  const members = {
    person: who,
    router,
    destination: router === undefined ? undefined : dest,
    source: router === undefined ? undefined : source,
    why: why === 'take' ? 'take,stage' : why,
    outcome: result,
    operation: take,
    text,
  };
  const present = Object.entries(members).filter(([, value]) => value !== undefined);
  return { ...bounds(filters, now, timeZone), ...(Object.fromEntries(present) as Query) };
}

// Whether entries can still come: none do before a moment that has passed.
export function isOver(filters: HistoryFilters, now: number): boolean {
  const { time, to } = filters;
  return time === 'range' && to !== undefined && Date.parse(to) < now;
}
