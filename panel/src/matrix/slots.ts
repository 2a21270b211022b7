// Which lines are drawn by which elements: the element of a line stays the same while it is in view.
import type { Axis, Line, Window } from './axis';
import { startOf } from './axis';
import { slotOf } from './pool';

export type Slot = {
  readonly slot: number; // the element
  readonly at: number; // the line's number
  readonly line: Line;
  readonly start: number; // CSS pixels
  readonly size: number;
};

// In the order of the elements, so that none is moved about. `pool`: how many there are.
export function slots(axis: Axis, window: Window, pool: number): readonly Slot[] {
  const shown: Slot[] = [];
  for (let at = window.first; at < window.end; at += 1) {
    const line = axis.lines[at];
    if (line === undefined) continue;
    const start = startOf(axis, at);
    const size = startOf(axis, at + 1) - start;
    shown.push({ slot: slotOf(at, pool), at, line, start, size });
  }
  return shown.sort((a, b) => a.slot - b.slot);
}
