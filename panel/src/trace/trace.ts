// What has passed on the link of a router, in words, and as it was.
import type { Frame } from '../live/house_topics';

export function ofDestination(
  frames: readonly Frame[],
  destination: number | undefined,
): readonly Frame[] {
  if (destination === undefined) return frames;
  return frames.filter((frame) => frame.destination === destination);
}

const SHOWN = 200;

export function newest(frames: readonly Frame[]): readonly Frame[] {
  return frames.slice(-SHOWN).reverse();
}

// Bytes that are no visible characters as "\x0d"; the backslash as "\\".
export function rawShown(raw: string): string {
  return raw.replace(/[^\x20-\x5b\x5d-\x7e]/g, (each) =>
    each === '\\' ? '\\\\' : `\\x${each.charCodeAt(0).toString(16).padStart(2, '0')}`,
  );
}

// A file of lines: time, direction, words, bytes, with tabs between.
export function traceFile(frames: readonly Frame[]): string {
  return frames
    .map(
      ({ time, direction, text, raw }) => `${[time, direction, text, rawShown(raw)].join('\t')}\n`,
    )
    .join('');
}
