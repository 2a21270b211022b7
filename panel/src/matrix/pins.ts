// The sources and destinations that somebody has pinned, as the settings keep them.
import type { Schemas } from '../api/ask';
import type { Side } from '../api/types';

export type Pins = Schemas['Settings']['pins'];

const NONE: readonly number[] = []; // always the same, so that nothing is laid out anew for it

const isOf = (router: string, side: Side) => (each: Pins[number]) =>
  each.router === router && each.side === side;

export function pinned(pins: Pins, router: string, side: Side): readonly number[] {
  return pins.find(isOf(router, side))?.positions ?? NONE;
}

// With it behind the others, or without it when it was there.
export function withPin(pins: Pins, router: string, side: Side, position: number): Pins {
  const present = pinned(pins, router, side);
  const positions = present.includes(position)
    ? present.filter((each) => each !== position)
    : [...present, position];
  const others = pins.filter((each) => !isOf(router, side)(each));
  return positions.length === 0 ? others : [...others, { router, side, positions }];
}
