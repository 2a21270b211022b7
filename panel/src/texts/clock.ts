// Times in words. All of them in ms: moments since 1970, by the server's clock.
import type { Speech } from './speech';

const SECOND = 1000;
const MINUTE = 60 * SECOND;
const HOUR = 60 * MINUTE;
const AGE_IN_SECONDS = 2 * MINUTE; // counted by the second below it
const AGE_IN_MINUTES = HOUR;
const SECONDS_WITH_TENTHS = 10 * SECOND;

export function clock(speech: Speech, time: number, seconds = true): string {
  return new Intl.DateTimeFormat(speech.language, {
    hour: '2-digit',
    minute: '2-digit',
    ...(seconds ? { second: '2-digit' } : {}),
    hourCycle: 'h23',
    timeZone: speech.timeZone,
  }).format(time);
}

function day(speech: Speech, time: number): string {
  return new Intl.DateTimeFormat(speech.language, {
    day: 'numeric',
    month: 'short',
    year: 'numeric',
    timeZone: speech.timeZone,
  }).format(time);
}

// Noon or so of the day before, however many hours today or yesterday have.
function yesterday(speech: Speech, now: number): number {
  const hour = new Intl.DateTimeFormat('en', {
    hour: '2-digit',
    hourCycle: 'h23',
    timeZone: speech.timeZone,
  }).format(now);
  return now - (Number(hour) + 12) * HOUR;
}

function since(speech: Speech, time: number, now: number): string {
  const at = clock(speech, time, false);
  const date = day(speech, time);
  if (date === day(speech, now)) return speech.say('sinceToday', { clock: at });
  if (date === day(speech, yesterday(speech, now)))
    return speech.say('sinceYesterday', { clock: at });
  return speech.say('sinceDay', { clock: at, day: date });
}

// "0:42", "5 min"; none when a moment says more.
function shortAge(speech: Speech, age: number): string | undefined {
  if (age >= AGE_IN_MINUTES) return undefined;
  if (age >= AGE_IN_SECONDS) return speech.say('minutes', { n: Math.floor(age / MINUTE) });
  const seconds = String(Math.floor((age % MINUTE) / SECOND)).padStart(2, '0');
  return speech.say('secondsOfAge', { minutes: Math.floor(age / MINUTE), seconds });
}

// "0:42", "5 min", "since 14:02 yesterday".
export function age(speech: Speech, from: number, now: number): string {
  return shortAge(speech, Math.max(0, now - from)) ?? since(speech, from, now);
}

// "0:42 old", "5 min old", "since 14:02 yesterday".
export function old(speech: Speech, from: number, now: number): string {
  const short = shortAge(speech, Math.max(0, now - from));
  return short === undefined ? since(speech, from, now) : speech.say('old', { age: short });
}

function tenths(speech: Speech, value: number): string {
  return new Intl.NumberFormat(speech.language, {
    minimumFractionDigits: 1,
    maximumFractionDigits: 1,
  }).format(value);
}

// "84 ms", "1.8 s", "42 s", "1 min 12 s".
export function duration(speech: Speech, ms: number): string {
  if (Math.round(ms) < SECOND) return speech.say('milliseconds', { ms: Math.round(ms) });
  if (ms < SECONDS_WITH_TENTHS) return inSeconds(speech, ms);
  const seconds = Math.round(ms / SECOND);
  if (seconds < 60) return speech.say('seconds', { seconds });
  return speech.say('minutesAndSeconds', {
    minutes: Math.floor(seconds / 60),
    seconds: seconds % 60,
  });
}

// "0.4 s": of what counts up.
export function inSeconds(speech: Speech, ms: number): string {
  return speech.say('seconds', { seconds: tenths(speech, ms / SECOND) });
}
