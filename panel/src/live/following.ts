// What is followed besides what always is: as what is looked at changes, topics are begun and left.
import type { Driver } from './driver';

// Gives what is followed from now on.
export function followOnly(
  driver: Pick<Driver, 'follow' | 'leave'>,
  followed: ReadonlySet<string>,
  wanted: ReadonlySet<string>,
): ReadonlySet<string> {
  const begun = [...wanted].filter((topic) => !followed.has(topic));
  const left = [...followed].filter((topic) => !wanted.has(topic));
  if (begun.length > 0) driver.follow(begun);
  if (left.length > 0) driver.leave(left);
  return wanted;
}
