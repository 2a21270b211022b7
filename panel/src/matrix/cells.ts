// The facts of a large matrix, where they can be looked up fast, and what has changed since the last
// frame. This record is changed in place; the engine owns it.
import type { Fact } from '../live/router_topic';

export type Cells = {
  sources: Int16Array; // by destination: an index, NO_SOURCE or UNKNOWN_SOURCE
  stale: Uint8Array; // 1: known from before only
  shown: readonly Fact[]; // what the arrays hold
  changed: Set<number>; // destinations, since the last frame
};

export function makeCells(): Cells {
  return { sources: new Int16Array(0), stale: new Uint8Array(0), shown: [], changed: new Set() };
}

function resize(cells: Cells, count: number): void {
  for (let i = Math.min(count, cells.shown.length); i < Math.max(count, cells.shown.length); i += 1)
    cells.changed.add(i);
  if (count === cells.sources.length) return;
  const { sources, stale } = cells;
  cells.sources = new Int16Array(count);
  cells.stale = new Uint8Array(count);
  cells.sources.set(sources.subarray(0, count));
  cells.stale.set(stale.subarray(0, count));
}

// Facts that are the same record as before are passed over.
export function setFacts(cells: Cells, facts: readonly Fact[]): void {
  if (facts === cells.shown) return;
  resize(cells, facts.length);
  for (const [i, fact] of facts.entries()) {
    if (fact === cells.shown[i]) continue;
    cells.sources[i] = fact.source;
    cells.stale[i] = Number(fact.stale);
    cells.changed.add(i);
  }
  cells.shown = facts;
}

// What is to be drawn in this frame, each once. What is out of view is drawn when it comes into view.
export function takeChanged(
  cells: Cells,
  inView: (destination: number) => boolean,
): readonly number[] {
  const drawn = [...cells.changed].filter(inView);
  cells.changed.clear();
  return drawn;
}
