// Sources onto destinations, one each: the next source for each destination that follows.
import type { RowWanted } from './press';

// All as indices, in the order in which they are seen. What is left of either goes nowhere.
export function oneToOne(
  destinations: readonly number[],
  sources: readonly number[],
  from: number, // the first source
): readonly RowWanted[] {
  const first = sources.indexOf(from);
  if (first < 0) return [];
  return destinations.flatMap((destination, i) => {
    const source = sources[first + i];
    return source === undefined ? [] : [{ destination, source }];
  });
}
