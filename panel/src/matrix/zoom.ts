// Keeps what is under the pointer there while the sizes of the cells change.
import { lengthOf, lineAt, startOf, type Axis } from './axis';
import { farthestScroll, type Grid, type Place } from './grid';

// The same place of the same line, where the lines have other sizes.
function sameAt(before: Axis, after: Axis, place: number): number {
  const line = lineAt(before, place);
  if (line === undefined) return place < 0 ? place : lengthOf(after) + place - lengthOf(before);
  const share =
    (place - startOf(before, line)) / (startOf(before, line + 1) - startOf(before, line));
  return startOf(after, line) + share * (startOf(after, line + 1) - startOf(after, line));
}

// `after` has the lines of `before` in other sizes, and its scroll is not looked at.
export function scrollKeeping(before: Grid, after: Grid, pointer: Place): Place {
  const kept = (side: 'x' | 'y') => {
    const isSources = (side === 'x') !== before.swapped;
    const axis = isSources ? 'sources' : 'destinations';
    const inWindow = pointer[side] - before.head[side] - (isSources ? before.lane : 0);
    const scroll = sameAt(before[axis], after[axis], inWindow + before.scroll[side]) - inWindow;
    return Math.max(0, Math.min(scroll, farthestScroll(after)[side]));
  };
  return { x: kept('x'), y: kept('y') };
}
