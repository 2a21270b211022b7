// How a state looks: its glyph and its colour. Shape and word carry the state, colour repeats it:
// amber is mine and not finished, red went wrong, violet was somebody else.

export type Mark =
  | 'fact'
  | 'stale'
  | 'unknown'
  | 'staged'
  | 'queued'
  | 'sent'
  | 'confirmed'
  | 'confirmedLate'
  | 'contradicted'
  | 'timedOut'
  | 'notSent'
  | 'outcomeUnknown'
  | 'changed'
  | 'stagedByOther'
  | 'locked'
  | 'protectedByMe'
  | 'protectedByOther';

export type Colour = 'neutral' | 'stale' | 'faint' | 'amber' | 'red' | 'violet';
export type Glyph =
  | 'circle'
  | 'dashedCircle'
  | 'question'
  | 'diamond'
  | 'quarter'
  | 'half'
  | 'ring'
  | 'circleAndClock'
  | 'notEqual'
  | 'clock'
  | 'cross'
  | 'triangle'
  | 'padlock'
  | 'shield'
  | 'shieldOutline';

export const MARKS: Readonly<Record<Mark, { readonly glyph: Glyph; readonly colour: Colour }>> = {
  fact: { glyph: 'circle', colour: 'neutral' },
  stale: { glyph: 'dashedCircle', colour: 'stale' },
  unknown: { glyph: 'question', colour: 'faint' },
  staged: { glyph: 'diamond', colour: 'amber' },
  queued: { glyph: 'quarter', colour: 'amber' },
  sent: { glyph: 'half', colour: 'amber' },
  confirmed: { glyph: 'ring', colour: 'neutral' },
  confirmedLate: { glyph: 'circleAndClock', colour: 'neutral' },
  contradicted: { glyph: 'notEqual', colour: 'red' },
  timedOut: { glyph: 'clock', colour: 'red' },
  notSent: { glyph: 'cross', colour: 'red' },
  outcomeUnknown: { glyph: 'question', colour: 'red' },
  changed: { glyph: 'triangle', colour: 'violet' },
  stagedByOther: { glyph: 'diamond', colour: 'violet' },
  locked: { glyph: 'padlock', colour: 'neutral' },
  protectedByMe: { glyph: 'shieldOutline', colour: 'neutral' },
  protectedByOther: { glyph: 'shield', colour: 'neutral' },
};

// Of those of one destination the header shows the first. Facts but for the unknown stand in the grid.
const PRECEDENCE: readonly Mark[] = [
  'contradicted',
  'timedOut',
  'notSent',
  'outcomeUnknown',
  'changed',
  'sent',
  'queued',
  'staged',
  'stagedByOther',
  'locked',
  'protectedByMe',
  'protectedByOther',
  'unknown',
];

export function headerMark(marks: readonly Mark[]): Mark | undefined {
  return PRECEDENCE.find((each) => marks.includes(each));
}

// What "Only problems" shows: red, violet that waits for a decision, or unknown.
export function isProblem(marks: readonly Mark[]): boolean {
  return marks.some(
    (mark) => MARKS[mark].colour === 'red' || mark === 'changed' || mark === 'unknown',
  );
}
