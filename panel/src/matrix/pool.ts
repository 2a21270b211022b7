// Which element shows which line: a pool of elements is used again as the window moves, the element
// of a line being that of its number modulo the size of the pool.
import { isIn, type Window } from './axis';

// Big enough for every window of this breadth with `more` lines on either side.
export function poolSize(breadth: number, smallestLine: number, more: number): number {
  return Math.ceil(breadth / smallestLine) + 1 + 2 * more;
}

export function slotOf(line: number, size: number): number {
  return line % size;
}

// Lines that have come into view, whose elements are to be drawn anew.
export function arrived(before: Window, now: Window): readonly number[] {
  const lines: number[] = [];
  for (let line = now.first; line < now.end; line += 1) if (!isIn(before, line)) lines.push(line);
  return lines;
}

// Elements that show nothing now.
export function idleSlots(now: Window, size: number): readonly number[] {
  const busy = new Set<number>();
  for (let line = now.first; line < now.end; line += 1) busy.add(slotOf(line, size));
  return Array.from({ length: size }, (_, slot) => slot).filter((slot) => !busy.has(slot));
}
