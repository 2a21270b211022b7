// Sources onto destinations, one each: the next source for each destination that follows.
import type { RowWanted } from './press';

// All as indices, in the order in which they are seen. What is left of either goes nowhere.
export function oneToOne(
  destinations: readonly number[],
  sources: readonly number[],
  from: number, // the first source
): readonly RowWanted[] {
  const first = sources.indexOf(from);
  const used = first < 0 ? [] : sources.slice(first, first + destinations.length);
  return used.flatMap((source, i) => {
    const destination = destinations[i];
    return destination === undefined ? [] : [{ destination, source }];
  });
}
