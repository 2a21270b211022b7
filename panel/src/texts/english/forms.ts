import type { Template } from '../template';

// Fields to write in, and what is done with what was written.
export const forms = {
  fieldMissing: 'Please fill this in.',
  fieldNoNumber: 'This is no whole number.',
  fieldTooShort: 'At least {n} characters, please.',
  fieldTooLong: 'At most {n} characters, please.',
  fieldTooSmall: '{least} at least.',
  fieldTooLarge: '{most} at most.',
  fieldMayBe: 'It may have: {hint}.',
  fieldWrong: 'This cannot be.',
} as const satisfies Record<string, Template>;
