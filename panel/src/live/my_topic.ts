// What is told to a person alone: stages, settings, steps to undo, notices.
import type { Change, MyData, Notice, Settings, Stage } from '../api/types';
import { byId } from './house_topics';
import { withEntry } from './router_topic';

export type MyState = {
  readonly kind: 'me';
  readonly stages: ReadonlyMap<string, Stage>; // by router; those with rows
  readonly settings: Settings;
  readonly undo: number; // steps
  readonly redo: number;
  readonly notices: ReadonlyMap<string, Notice>;
};

export function beginMine(data: MyData): MyState {
  const { settings, undo, redo } = data;
  const stages = new Map(data.stages.map((stage) => [stage.router, stage]));
  return { kind: 'me', stages, settings, undo, redo, notices: byId(data.notices) };
}

const KINDS = ['stage', 'settings', 'undo', 'notice', 'noticeDismissed'] as const;
type MyChange = Extract<Change, { kind: (typeof KINDS)[number] }>;

function isMine(change: Change): change is MyChange {
  return KINDS.some((kind) => kind === change.kind);
}

// Changes of other topics, and of kinds that are not known here, change nothing.
export function changeMine(state: MyState, change: Change): MyState {
  if (!isMine(change)) return state;
  switch (change.kind) {
    case 'stage': {
      const stage = change.stage.rows.length === 0 ? null : change.stage;
      return { ...state, stages: withEntry(state.stages, change.stage.router, stage) };
    }
    case 'settings':
      return { ...state, settings: change.settings };
    case 'undo':
      return { ...state, undo: change.undo, redo: change.redo };
    case 'notice':
      return { ...state, notices: withEntry(state.notices, change.notice.id, change.notice) };
    case 'noticeDismissed':
      return { ...state, notices: withEntry(state.notices, change.id, null) };
  }
}
