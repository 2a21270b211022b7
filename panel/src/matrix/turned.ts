// What keys mean where the axes are swapped: the arrows go as the axes lie.
import type { Move, Step } from './cursor';

const TURNED: Readonly<Record<Move, Step>> = {
  up: 'left',
  down: 'right',
  left: 'up',
  right: 'down',
  groupUp: 'groupLeft',
  groupDown: 'groupRight',
  groupLeft: 'groupUp',
  groupRight: 'groupDown',
  rowStart: 'columnStart',
  rowEnd: 'columnEnd',
  firstCorner: 'firstCorner',
  lastCorner: 'lastCorner',
  pageUp: 'pageLeft',
  pageDown: 'pageRight',
  pageLeft: 'pageUp',
  pageRight: 'pageDown',
};

export function stepOf(move: Move, swapped: boolean): Step {
  return swapped ? TURNED[move] : move;
}

// Destinations are marked along their own axis: to the one before, or to the next.
export function extension(command: string, swapped: boolean): 'up' | 'down' | undefined {
  if (command === (swapped ? 'extendLeft' : 'extendUp')) return 'up';
  return command === (swapped ? 'extendRight' : 'extendDown') ? 'down' : undefined;
}
