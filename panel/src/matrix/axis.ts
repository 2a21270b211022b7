// One axis of the matrix: groups with their members laid out as lines, one after the other, in CSS
// pixels from the start of the axis. A line is the band of a group, a member, or the strip that stands
// for a folded group.

export type Group = {
  readonly name: string;
  readonly members: readonly number[]; // indexes of sources or destinations, in their order here
  readonly folded: boolean;
};

export type Sizes = { readonly band: number; readonly member: number; readonly folded: number };

export type Line = {
  readonly kind: 'band' | 'member' | 'folded';
  readonly group: number;
  readonly index: number; // of a member, else -1
};

export type Axis = {
  readonly groups: readonly Group[];
  readonly lines: readonly Line[];
  readonly starts: Float64Array; // of each line, and the end of the last
  readonly lineOf: ReadonlyMap<number, number>; // by index: its line, or the strip that holds it
};

const sizeOf = (sizes: Sizes, line: Line) => sizes[line.kind];

function linesOf(group: Group, place: number, sizes: Sizes): readonly Line[] {
  if (group.members.length === 0) return [];
  if (group.folded) return [{ kind: 'folded', group: place, index: -1 }];
  const members = group.members.map((index): Line => ({ kind: 'member', group: place, index }));
  return sizes.band > 0 ? [{ kind: 'band', group: place, index: -1 }, ...members] : members;
}

// Without bands (of size 0) members follow each other. Groups without members take no place.
export function layOut(groups: readonly Group[], sizes: Sizes): Axis {
  const lines = groups.flatMap((group, place) => linesOf(group, place, sizes));
  const starts = new Float64Array(lines.length + 1);
  const lineOf = new Map<number, number>();
  let end = 0;
  for (const [i, line] of lines.entries()) {
    starts[i] = end;
    end += sizeOf(sizes, line);
    if (line.kind === 'member') lineOf.set(line.index, i);
    if (line.kind === 'folded')
      for (const index of groups[line.group]?.members ?? []) lineOf.set(index, i);
  }
  starts[lines.length] = end;
  return { groups, lines, starts, lineOf };
}

export function lengthOf(axis: Axis): number {
  return axis.starts[axis.lines.length] ?? 0;
}

export function startOf(axis: Axis, line: number): number {
  return axis.starts[line] ?? lengthOf(axis);
}

export function middleOf(axis: Axis, line: number): number {
  return (startOf(axis, line) + startOf(axis, line + 1)) / 2;
}

// The line at this place; none before the start or from the end on.
export function lineAt(axis: Axis, place: number): number | undefined {
  if (!(place >= 0) || place >= lengthOf(axis)) return undefined;
  let low = 0;
  let high = axis.lines.length - 1;
  while (low < high) {
    const middle = (low + high + 1) >> 1;
    if (startOf(axis, middle) <= place) low = middle;
    else high = middle - 1;
  }
  return low;
}

export type Window = { readonly first: number; readonly end: number }; // lines, `end` not among them

// All lines of which anything lies between these places, and `more` on either side.
export function windowOf(axis: Axis, from: number, to: number, more = 0): Window {
  const length = lengthOf(axis);
  if (to <= 0 || from >= length || to <= from) return { first: 0, end: 0 };
  const first = lineAt(axis, Math.max(0, from)) ?? 0;
  let end = (lineAt(axis, Math.min(length, to)) ?? axis.lines.length - 1) + 1;
  if (startOf(axis, end - 1) >= to) end -= 1;
  return { first: Math.max(0, first - more), end: Math.min(axis.lines.length, end + more) };
}

export function isIn(window: Window, line: number): boolean {
  return line >= window.first && line < window.end;
}
