// What lies over the screen Routing: one at a time.
import type { Lock } from '../api/types';

export type Layer =
  | { is: 'details'; destination: number }
  | { is: 'lock'; destinations: readonly number[]; mode: Lock['mode'] }
  | { is: 'question'; question: string; refuse: string; accept: string; act: () => unknown };
