// The groups along the top of the matrix: where the lines of each that are in view lie.
import { startOf, type Axis, type Group, type Window } from './axis';

export type Span = {
  readonly group: Group;
  readonly start: number; // CSS pixels, of all its lines
  readonly size: number;
};

// Folded groups say their name in their strip.
export function openSpans(axis: Axis, { first, end }: Window): readonly Span[] {
  const places = new Set(axis.lines.slice(first, end).map(({ group }) => group));
  return [...places].flatMap((place) => {
    const group = axis.groups[place];
    if (group === undefined || group.folded) return [];
    const begins = axis.lines.findIndex((line) => line.group === place);
    const ends = begins + axis.lines.filter((line) => line.group === place).length;
    const start = startOf(axis, begins);
    return [{ group, start, size: startOf(axis, ends) - start }];
  });
}
