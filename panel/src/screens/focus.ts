// Where the focus is on the screen Routing, and where keys move it. What it is in is found in the page
// itself: `.view` has the list `.all` and the buttons `.groups`, `aside` the stage, of which each row
// has its `data-destination`.
import type { View } from '../addresses/address';
import type { Command, Context } from '../keys/table';

export function contextsAt(target: Element, view: View): readonly Context[] {
  if (target.closest('aside') !== null) return ['anywhere', 'routing', 'stage'];
  if (target.closest('[role=grid]') !== null) return ['anywhere', 'routing', 'matrix'];
  if (view === 'xy' && target.closest('.view') !== null) return ['anywhere', 'xy'];
  return ['anywhere', 'routing'];
}

// In the list, or the buttons, that the focus is in.
function step(target: Element, by: -1 | 1): void {
  const all = [...(target.closest('.all, .groups')?.querySelectorAll('button') ?? [])];
  all[all.findIndex((each) => each === target) + by]?.focus();
}

// To what is chosen or routed there, else to the first.
export function toSide(side: '.all' | '.groups'): void {
  const container = document.querySelector(`.view ${side}`);
  const button =
    container?.querySelector<HTMLElement>('button[aria-pressed=true], button.now') ??
    container?.querySelector<HTMLElement>('button');
  button?.focus();
}

// The destination of the stage's row.
export function rowAt(target: Element): number | undefined {
  const row = target.closest<HTMLElement>('[data-destination]')?.dataset.destination;
  return row === undefined ? undefined : Number(row);
}

function moveIn(target: Element, by: -1 | 1): void {
  const all = [...document.querySelectorAll('aside [data-destination]')];
  const at = all.indexOf(target.closest('[data-destination]') ?? target);
  all[at + by]?.querySelector('button')?.focus();
}

// Commands that only move the focus.
export const FOCUS_COMMANDS: Partial<Record<Command, (target: Element) => void>> = {
  chooseUp: (target) => {
    step(target, -1);
  },
  chooseDown: (target) => {
    step(target, 1);
  },
  back: () => {
    toSide('.all');
  },
  filterDestinations: () => document.getElementById('filter-destinations')?.focus(),
  filterSources: () => document.getElementById('filter-sources')?.focus(),
  stageUp: (target) => {
    moveIn(target, -1);
  },
  stageDown: (target) => {
    moveIn(target, 1);
  },
};
