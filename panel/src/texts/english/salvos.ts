import type { Template } from '../template';

export const salvos = {
  noSalvos: 'No salvos yet. Stage some routes and choose Save as salvo.',
  salvoTaken: 'There is already a salvo called {salvo}.',
  search: 'Search',
  newSalvo: 'New',
  salvoName: 'Name',
  salvoNote: 'Note',
  fromStage: 'From stage',
  capturePresent: 'Capture present',
  paste: 'Paste',
  csv: 'CSV',
  json: 'JSON',
  run: 'Run',
  dryRunAt: 'Dry run {clock}',
  countLockedBy: '{n} locked ({person})',
  onlyIfAll: 'Only if all can go',
  sendWhatCan: 'Send what can go',
  takeSalvo: 'TAKE SALVO {n}',
  goneRow: '(gone) {destination}',
  notOnRouter: 'Not on this router',
  progress: '{n} of {all} confirmed',
} as const satisfies Record<string, Template>;
