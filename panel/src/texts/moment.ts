// Moments in words: ms since 1970, by the server's clock.
import { clock } from './clock';
import type { Speech } from './speech';

function dayOf({ language, timeZone }: Speech, time: number, withYear: boolean): string {
  const year = withYear ? ({ year: 'numeric' } as const) : {};
  return new Intl.DateTimeFormat(language, {
    day: 'numeric',
    month: 'short',
    ...year,
    timeZone,
  }).format(time);
}

// "14:02:11" of today, else "22 Nov, 14:02:11", with the year of another one.
export function moment(speech: Speech, time: number, now: number, seconds = true): string {
  const at = clock(speech, time, seconds);
  const day = dayOf(speech, time, true);
  const today = dayOf(speech, now, true);
  if (day === today) return at;
  const isThisYear = day.includes(/\d{4}/.exec(today)?.[0] ?? '?');
  return speech.say('dayAndClock', { day: dayOf(speech, time, !isThisYear), clock: at });
}

// "14:02:11.250"
export function exactClock({ language, timeZone }: Speech, time: number): string {
  return new Intl.DateTimeFormat(language, {
    hour: '2-digit',
    minute: '2-digit',
    second: '2-digit',
    fractionalSecondDigits: 3,
    hourCycle: 'h23',
    timeZone,
  }).format(time);
}
