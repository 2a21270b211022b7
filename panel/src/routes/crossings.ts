// Where a destination's fact and its wish lie along the sources, and what is said of them.
import type { DestinationShown } from './destination';
import type { WishShown } from './wishes';

export type Crossings = {
  readonly factAt: number | undefined; // none where nothing is to be drawn
  readonly wish: WishShown | undefined;
  readonly wishAt: number | undefined;
  readonly words: string;
};

// `placeOf`: the middle of a source; none where it is not shown, as "No source" never is.
export function crossings(
  { fact, wishes, stagedBy, lock }: DestinationShown,
  placeOf: (source: number) => number | undefined,
): Crossings {
  const wish = wishes.find(({ mark }) => mark !== 'confirmed');
  return {
    factAt: fact.mark === 'unknown' ? undefined : placeOf(fact.source),
    wish,
    wishAt: wish === undefined ? undefined : placeOf(wish.source),
    words: [...wishes, ...stagedBy, ...(lock ? [lock] : [])].map((each) => each.words).join(', '),
  };
}
