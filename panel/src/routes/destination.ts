// All that one destination shows: its fact, its wishes, who else holds it, and the mark of its header.
import type { StageRow } from '../api/types';
import type { RouterState } from '../live/router_topic';
import { factShown, type Circumstances, type FactShown } from './fact';
import { lockShown, mayRoute, stagedShown, type Guard } from './guards';
import { headerMark, isProblem, type Mark } from './marks';
import { destinationName } from './names';
import { wishesShown, type WishShown } from './wishes';

export type DestinationShown = {
  readonly destination: number;
  readonly name: string;
  readonly fact: FactShown;
  readonly wishes: readonly WishShown[];
  readonly lock: Guard | undefined;
  readonly stagedBy: readonly Guard[];
  readonly header: Mark | undefined;
  readonly isProblem: boolean;
  readonly isHatched: boolean; // I may not route it
};

export function destinationShown(
  state: RouterState,
  row: StageRow | undefined, // of my stage
  destination: number,
  circumstances: Circumstances,
): DestinationShown {
  const fact = factShown(state, destination, circumstances);
  const wishes = wishesShown(state, row, destination, circumstances);
  const held = state.locks.get(destination);
  const lock = lockShown(held, circumstances);
  const stagedBy = stagedShown(state.stages, destination, circumstances);
  const marks = [fact, ...wishes, ...stagedBy, ...(lock ? [lock] : [])].map(({ mark }) => mark);
  return {
    destination,
    name: destinationName(state, destination),
    fact,
    wishes,
    lock,
    stagedBy,
    header: headerMark(marks),
    isProblem: isProblem(marks),
    isHatched: !mayRoute(held, circumstances.me),
  };
}
