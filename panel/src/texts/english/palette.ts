import type { Template } from '../template';

// The palette and the help.
export const palette = {
  paletteTitle: 'Palette',
  paletteHint: 'Go to a destination, source, salvo, router or screen, or run a command',
  paletteEmpty: "Nothing matches '{text}'.",
  helpTitle: 'Keys',
  numbered: '{number} {name}',
  salvo: 'Salvo',
  source: 'Source',
} as const satisfies Record<string, Template>;
