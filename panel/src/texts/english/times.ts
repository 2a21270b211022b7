import type { Template } from '../template';

// Ages and durations; the clock itself is the locale's.
export const times = {
  milliseconds: '{ms} ms',
  spokenMilliseconds: { one: '{n} millisecond', other: '{n} milliseconds' },
  seconds: '{seconds} s',
  minutes: '{n} min',
  minutesAndSeconds: '{minutes} min {seconds} s',
  hours: '{n} h',
  secondsOfAge: '{minutes}:{seconds}',
  sinceToday: 'since {clock}',
  sinceYesterday: 'since {clock} yesterday',
  sinceDay: 'since {clock} on {day}',
  old: '{age} old',
  dayAndClock: '{day}, {clock}',
} as const satisfies Record<string, Template>;
