import type { Template } from '../template';

// The details of a destination.
export const details = {
  detailsTitle: '{number} · {name}',
  routerCallsIt: 'The router calls it {name}.',
  confirmedAt: 'Confirmed {clock}',
  confirmedAtBy: 'Confirmed {clock}, by {person}',
  lastChanges: 'Last {n} changes',
  noChanges: 'No change is known.',
} as const satisfies Record<string, Template>;
