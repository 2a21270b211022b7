// Why a field cannot be taken as it is written, in words.
import type { Say } from '../texts/speech';

export type Judged = Pick<
  ValidityState,
  | 'valueMissing'
  | 'tooShort'
  | 'tooLong'
  | 'patternMismatch'
  | 'rangeUnderflow'
  | 'rangeOverflow'
  | 'badInput'
  | 'stepMismatch'
>;
// What it may be: characters, or numbers; `hint` says it in words.
export type Bounds = {
  readonly shortest?: number;
  readonly longest?: number;
  readonly least?: number;
  readonly most?: number;
  readonly hint?: string;
};

export function fieldTrouble(say: Say, judged: Judged, bounds: Bounds): string {
  if (judged.badInput || judged.stepMismatch) return say('fieldNoNumber');
  if (judged.valueMissing) return say('fieldMissing');
  if (judged.tooShort) return say('fieldTooShort', { n: bounds.shortest ?? 0 });
  if (judged.tooLong) return say('fieldTooLong', { n: bounds.longest ?? 0 });
  if (judged.rangeUnderflow) return say('fieldTooSmall', { least: bounds.least ?? 0 });
  if (judged.rangeOverflow) return say('fieldTooLarge', { most: bounds.most ?? 0 });
  if (judged.patternMismatch && bounds.hint) return say('fieldMayBe', { hint: bounds.hint });
  return judged.patternMismatch ? say('fieldWrong') : '';
}
