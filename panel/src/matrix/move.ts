// Where the cursor goes on one axis: over members alone, never onto a band; a folded group's strip
// counts as one place.
import { lengthOf, lineAt, startOf, type Axis } from './axis';

const isPlace = (axis: Axis, line: number) => axis.lines[line]?.kind !== 'band';

// `by` -1 or 1; the same line where there is none further.
export function nextPlace(axis: Axis, line: number, by: -1 | 1): number {
  for (let next = line + by; next >= 0 && next < axis.lines.length; next += by)
    if (isPlace(axis, next)) return next;
  return line;
}

export function firstPlace(axis: Axis): number | undefined {
  const line = nextPlace(axis, -1, 1);
  return line < 0 ? undefined : line;
}

export function lastPlace(axis: Axis): number | undefined {
  const line = nextPlace(axis, axis.lines.length, -1);
  return line === axis.lines.length ? undefined : line;
}

// The first place of the next group, or of the one before.
export function nextGroup(axis: Axis, line: number, by: -1 | 1): number {
  const here = axis.lines[line]?.group;
  const other = (i: number) => axis.lines[i]?.group !== here;
  let next = line;
  while (next >= 0 && next < axis.lines.length && !other(next)) next += by;
  const group = axis.lines[next]?.group;
  if (group === undefined) return line;
  return axis.lines.findIndex((each, i) => each.group === group && isPlace(axis, i));
}

// One window of this breadth further, or as far as there is.
export function nextPage(axis: Axis, line: number, by: -1 | 1, breadth: number): number {
  const wanted = startOf(axis, line) + by * breadth;
  const reached = lineAt(axis, Math.max(0, Math.min(wanted, lengthOf(axis) - 1))) ?? line;
  if (isPlace(axis, reached)) return reached;
  const beyond = nextPlace(axis, reached, by);
  return beyond === reached ? nextPlace(axis, reached, by === 1 ? -1 : 1) : beyond;
}
