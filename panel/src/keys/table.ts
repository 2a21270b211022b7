// Every key of the panel: it binds them, and the help and the palette are made from it. "Ctrl" is the
// command key on a Mac; "G R" is G, then R; letters stand for their keys, whatever their case.
import type { TextKey } from '../texts/speech';

// Where the focus is. Several hold at once: see CONTEXTS_TOGETHER.
export type Context = 'anywhere' | 'routing' | 'matrix' | 'xy' | 'stage' | 'salvos';

export type KeyRow = {
  readonly keys: readonly string[]; // any of them
  readonly context: Context;
  readonly command: string;
  readonly words: TextKey;
  readonly inText?: true; // also while typing
  readonly repeats?: true; // while it is held
};

const move = { context: 'matrix', repeats: true } as const;

export const KEY_TABLE = [
  { keys: ['Ctrl+K'], context: 'anywhere', command: 'palette', words: 'keyPalette', inText: true },
  { keys: ['Ctrl+Enter'], context: 'anywhere', command: 'take', words: 'keyTake', inText: true },
  {
    keys: ['Ctrl+Shift+Enter'],
    context: 'anywhere',
    command: 'dryRun',
    words: 'keyDryRun',
    inText: true,
  },
  { keys: ['Ctrl+Z'], context: 'anywhere', command: 'undo', words: 'keyUndo' },
  { keys: ['Ctrl+Shift+Z', 'Ctrl+Y'], context: 'anywhere', command: 'redo', words: 'keyRedo' },
  { keys: ['Ctrl+Backspace'], context: 'anywhere', command: 'clearStage', words: 'keyClearStage' },
  { keys: ['Ctrl+Shift+H'], context: 'anywhere', command: 'mode', words: 'keyMode', inText: true },
  {
    keys: ['Ctrl+.'],
    context: 'anywhere',
    command: 'lockScreen',
    words: 'keyLockScreen',
    inText: true,
  },
  { keys: ['?'], context: 'anywhere', command: 'help', words: 'keyHelp' },
  { keys: ['Escape'], context: 'anywhere', command: 'escape', words: 'keyEscape', inText: true },
  { keys: ['G R'], context: 'anywhere', command: 'goRouting', words: 'keyRouting' },
  { keys: ['G S'], context: 'anywhere', command: 'goSalvos', words: 'keySalvos' },
  { keys: ['G H'], context: 'anywhere', command: 'goHistory', words: 'keyHistory' },
  { keys: ['G O'], context: 'anywhere', command: 'goRouters', words: 'keyRouters' },
  { keys: ['G E'], context: 'anywhere', command: 'goHealth', words: 'keyHealth' },
  { keys: ['G ,'], context: 'anywhere', command: 'goSettings', words: 'keySettings' },

  { ...move, keys: ['ArrowUp'], command: 'up', words: 'keyMoveUp' },
  { ...move, keys: ['ArrowDown'], command: 'down', words: 'keyMoveDown' },
  { ...move, keys: ['ArrowLeft'], command: 'left', words: 'keyMoveLeft' },
  { ...move, keys: ['ArrowRight'], command: 'right', words: 'keyMoveRight' },
  { ...move, keys: ['Ctrl+ArrowUp'], command: 'groupUp', words: 'keyGroupUp' },
  { ...move, keys: ['Ctrl+ArrowDown'], command: 'groupDown', words: 'keyGroupDown' },
  { ...move, keys: ['Ctrl+ArrowLeft'], command: 'groupLeft', words: 'keyGroupLeft' },
  { ...move, keys: ['Ctrl+ArrowRight'], command: 'groupRight', words: 'keyGroupRight' },
  { ...move, keys: ['Home'], command: 'rowStart', words: 'keyRowStart' },
  { ...move, keys: ['End'], command: 'rowEnd', words: 'keyRowEnd' },
  { ...move, keys: ['Ctrl+Home'], command: 'firstCorner', words: 'keyFirstCorner' },
  { ...move, keys: ['Ctrl+End'], command: 'lastCorner', words: 'keyLastCorner' },
  { ...move, keys: ['PageUp'], command: 'pageUp', words: 'keyPageUp' },
  { ...move, keys: ['PageDown'], command: 'pageDown', words: 'keyPageDown' },
  { ...move, keys: ['Alt+PageUp'], command: 'pageLeft', words: 'keyPageLeft' },
  { ...move, keys: ['Alt+PageDown'], command: 'pageRight', words: 'keyPageRight' },
  { keys: ['Enter'], context: 'matrix', command: 'press', words: 'keyPress' },
  { keys: ['Space'], context: 'matrix', command: 'markRow', words: 'keyMarkRow' },
  { ...move, keys: ['Shift+ArrowUp'], command: 'extendUp', words: 'keyExtendUp' },
  { ...move, keys: ['Shift+ArrowDown'], command: 'extendDown', words: 'keyExtendDown' },
  { ...move, keys: ['Shift+ArrowLeft'], command: 'extendLeft', words: 'keyExtendLeft' },
  { ...move, keys: ['Shift+ArrowRight'], command: 'extendRight', words: 'keyExtendRight' },
  { keys: ['Ctrl+A'], context: 'matrix', command: 'markAll', words: 'keyMarkAll' },
  { keys: ['1 2 Enter', '1 2 / 7 Enter'], context: 'matrix', command: 'goTo', words: 'keyGoTo' },
  { keys: ['Delete'], context: 'matrix', command: 'removeStaged', words: 'keyRemoveStaged' },
  { keys: ['R'], context: 'matrix', command: 'toRoute', words: 'keyToRoute' },
  { keys: ['B'], context: 'routing', command: 'stageBefore', words: 'keyStageBefore' },
  {
    keys: ['D'],
    context: 'routing',
    command: 'filterDestinations',
    words: 'keyFilterDestinations',
  },
  { keys: ['S'], context: 'routing', command: 'filterSources', words: 'keyFilterSources' },
  { keys: ['N'], context: 'routing', command: 'nextProblem', words: 'keyNextProblem' },
  {
    keys: ['Shift+N'],
    context: 'routing',
    command: 'previousProblem',
    words: 'keyPreviousProblem',
  },
  { keys: ['A'], context: 'routing', command: 'accept', words: 'keyAccept' },
  { keys: ['L'], context: 'routing', command: 'lock', words: 'keyLock' },
  { keys: ['P'], context: 'routing', command: 'protect', words: 'keyProtect' },
  { keys: ['I'], context: 'routing', command: 'details', words: 'keyDetails' },
  { keys: [], context: 'matrix', command: 'oneToOne', words: 'keyOneToOne' }, // in the palette alone
  { keys: ['X'], context: 'matrix', command: 'swapAxes', words: 'keySwapAxes' },
  { keys: ['+'], context: 'matrix', command: 'larger', words: 'keyLarger' },
  { keys: ['-'], context: 'matrix', command: 'smaller', words: 'keySmaller' },
  { keys: ['V'], context: 'routing', command: 'nextView', words: 'keyNextView' },
  { keys: ['*'], context: 'routing', command: 'pin', words: 'keyPin' },

  { keys: ['ArrowUp'], context: 'xy', command: 'chooseUp', words: 'keyChooseUp', repeats: true },
  {
    keys: ['ArrowDown'],
    context: 'xy',
    command: 'chooseDown',
    words: 'keyChooseDown',
    repeats: true,
  },
  { keys: ['Enter', 'ArrowRight'], context: 'xy', command: 'choose', words: 'keyChoose' },
  { keys: ['ArrowLeft'], context: 'xy', command: 'back', words: 'keyBack' },

  { keys: ['ArrowUp'], context: 'stage', command: 'stageUp', words: 'keyStageUp', repeats: true },
  {
    keys: ['ArrowDown'],
    context: 'stage',
    command: 'stageDown',
    words: 'keyStageDown',
    repeats: true,
  },
  { keys: ['Delete'], context: 'stage', command: 'drop', words: 'keyDrop' },
  { keys: ['K'], context: 'stage', command: 'keep', words: 'keyKeep' },

  {
    keys: ['1', '2', '3', '4', '5', '6', '7', '8', '9'],
    context: 'salvos',
    command: 'selectSalvo',
    words: 'keySelectSalvo',
  },
  { keys: ['E'], context: 'salvos', command: 'editSalvo', words: 'keyEditSalvo' },
  {
    keys: ['Ctrl+S'],
    context: 'salvos',
    command: 'saveSalvo',
    words: 'keySaveSalvo',
    inText: true,
  },
] as const satisfies readonly KeyRow[];

export type Command = (typeof KEY_TABLE)[number]['command'];

// In the lists of XY letters and digits search the list, so nothing of Routing holds there.
export const CONTEXTS_TOGETHER: readonly (readonly Context[])[] = [
  ['anywhere'],
  ['anywhere', 'routing', 'matrix'],
  ['anywhere', 'xy'],
  ['anywhere', 'routing', 'stage'],
  ['anywhere', 'salvos'],
];
