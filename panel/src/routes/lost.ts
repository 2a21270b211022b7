// Wishes under way on a link that is lost: nothing will be heard of them before their limit. What the
// router shows when it is back counts again.
import type { Operation, Router } from '../api/types';
import type { Say } from '../texts/speech';

export function isLinkLost({ link }: Router): boolean {
  return link.state !== 'ready';
}

export function lostOnTheWay(say: Say): { outcome: 'timedOut'; detail: string } {
  return { outcome: 'timedOut', detail: say('lostOnTheWay') };
}

// With the rows that are open timed out where the link of their router is lost.
export function asLost(
  say: Say,
  operation: Operation,
  isLost: (router: string) => boolean,
): Operation {
  const rows = operation.rows.map((row) =>
    row.outcome === 'open' && isLost(row.router) ? { ...row, ...lostOnTheWay(say) } : row,
  );
  return { ...operation, rows };
}
