import type { Template } from '../template';

// Settings of a person.
export const settingsTexts = {
  theme: 'Theme',
  hotMinutes: 'Hot ends after so many minutes without a take',
  sourceFirst: 'Source first',
  sound: 'Sound',
  volume: 'Volume',
  changePassword: 'Change the password',
  oldPassword: 'Old password',
  newPassword: 'New password',
  passwordChanged: 'Changed. Your other sessions have ended.',
} as const satisfies Record<string, Template>;
