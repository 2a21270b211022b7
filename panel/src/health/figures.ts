// The server's figures and those of its routers, in words. Moments in ms by the server's clock.
import type { Schemas } from '../api/ask';
import type { Server } from '../api/types';
import { duration } from '../texts/clock';
import { moment } from '../texts/moment';
import type { Speech } from '../texts/speech';

export type Figure = { readonly label: string; readonly value: string };
type Line = Schemas['Log']['lines'][number];

export const LINES_SHOWN = 200;
export const LEVELS = ['debug', 'note', 'warning', 'error'] as const;
const STEP = 1000;
const UNITS = ['kB', 'MB', 'GB', 'TB'] as const;

// "168 kB", "2.5 MB".
export function bytes({ say, language }: Speech, count: number): string {
  let amount = count / STEP;
  let unit = 0;
  while (amount >= STEP && unit < UNITS.length - 1) {
    amount /= STEP;
    unit += 1;
  }
  const digits = amount < 10 && unit > 0 ? 1 : 0;
  const format = new Intl.NumberFormat(language, { maximumFractionDigits: digits });
  return say('bytes', { amount: format.format(amount), unit: UNITS[unit] ?? '' });
}

// `delayMs`: there and back to this panel; none before it has been measured.
export function serverFigures(
  speech: Speech,
  server: Server,
  delayMs: number | undefined,
  now: number,
): readonly Figure[] {
  const { say } = speech;
  const { database } = server;
  const lost = (database.lost ?? 0) + (database.refused ?? 0);
  return [
    { label: say('serverVersion'), value: server.version },
    { label: say('upSince'), value: moment(speech, Date.parse(server.started), now) },
    { label: say('operatorsConnected'), value: String(server.operators) },
    { label: say('panelsConnected'), value: String(server.liveClients) },
    { label: say('databaseSize'), value: bytes(speech, database.bytes) },
    { label: say('waitsToBeWritten'), value: String(database.waiting) },
    { label: say('notWritten'), value: String(lost) },
    {
      label: say('lastBackup'),
      value:
        database.backup === undefined
          ? say('never')
          : moment(speech, Date.parse(database.backup), now),
    },
    {
      label: say('delayToPanel'),
      value: delayMs === undefined ? say('unknown') : duration(speech, delayMs),
    },
  ];
}

const time = (speech: Speech, ms: number | undefined) =>
  ms === undefined ? '–' : duration(speech, ms);

// In the order of `periodColumns`.
export function periodCells(speech: Speech, period: Schemas['Period']): readonly string[] {
  return [
    String(period.confirmed),
    time(speech, period.medianMs),
    time(speech, period.p95Ms),
    time(speech, period.p99Ms),
    time(speech, period.slowestMs),
    String(period.contradicted),
    String(period.timedOut),
    String(period.notSent + period.refused),
    String(period.linkLosses),
  ];
}

export function periodColumns({ say }: Speech): readonly string[] {
  return [
    say('confirmed'),
    say('median'),
    say('share', { n: 95 }),
    say('share', { n: 99 }),
    say('slowest'),
    say('contradicted'),
    say('timedOut'),
    say('notSent'),
    say('linkLosses'),
  ];
}

// The newest lines of this severity or a graver one, newest first.
export function linesShown(lines: readonly Line[], least: Line['level']): readonly Line[] {
  const from = LEVELS.indexOf(least);
  return lines
    .filter(({ level }) => LEVELS.indexOf(level) >= from)
    .slice(-LINES_SHOWN)
    .reverse();
}
