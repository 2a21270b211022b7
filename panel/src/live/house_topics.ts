// What is told of the whole house: the routers, operations, salvos, operators, the server, frames.
import type { components } from '../api/description';
import type { Change, Operation, Operator, Router, SalvoSummary, Server } from '../api/types';
import { withEntry } from './router_topic';

type Schemas = components['schemas'];
export type Frame = Schemas['Frame'];

export type RoutersState = {
  readonly kind: 'routers';
  readonly routers: ReadonlyMap<string, Router>;
};
export type OperationsState = {
  readonly kind: 'operations';
  readonly operations: ReadonlyMap<string, Operation>; // oldest first
};
export type SalvosState = {
  readonly kind: 'salvos';
  readonly salvos: ReadonlyMap<string, SalvoSummary>;
};
export type OperatorsState = {
  readonly kind: 'operators';
  readonly operators: readonly Operator[];
};
export type ServerState = { readonly kind: 'server'; readonly server: Server };
export type TraceState = { readonly kind: 'trace'; readonly frames: readonly Frame[] };
export type HouseState =
  RoutersState | OperationsState | SalvosState | OperatorsState | ServerState | TraceState;

export const OPERATIONS_KEPT = 200; // it is not told when one is no longer of the last minute
export const FRAMES_KEPT = 1000;

export function byId<T extends { readonly id: string }>(
  things: readonly T[],
): ReadonlyMap<string, T> {
  return new Map(things.map((each) => [each.id, each]));
}

function withOperation(state: OperationsState, operation: Operation): OperationsState {
  const operations = new Map(state.operations).set(operation.id, operation);
  for (const id of operations.keys()) {
    if (operations.size <= OPERATIONS_KEPT) break;
    operations.delete(id);
  }
  return { ...state, operations };
}

function withRows(state: OperationsState, change: Schemas['RowsChange']): OperationsState {
  const operation = state.operations.get(change.operation);
  if (operation === undefined) return state;
  const rows = [...operation.rows];
  for (const { row, result } of change.rows) if (row < rows.length) rows[row] = result;
  return withOperation(state, { ...operation, state: change.state, counts: change.counts, rows });
}

export function changeHouse(state: HouseState, change: Change): HouseState {
  switch (state.kind) {
    case 'routers':
      if (change.kind === 'router')
        return { ...state, routers: withEntry(state.routers, change.router.id, change.router) };
      if (change.kind === 'routerRemoved')
        return { ...state, routers: withEntry(state.routers, change.id, null) };
      return state;
    case 'operations':
      if (change.kind === 'operation') return withOperation(state, change.operation);
      return change.kind === 'rows' ? withRows(state, change) : state;
    case 'salvos':
      if (change.kind === 'salvo')
        return { ...state, salvos: withEntry(state.salvos, change.salvo.id, change.salvo) };
      if (change.kind === 'salvoDeleted')
        return { ...state, salvos: withEntry(state.salvos, change.id, null) };
      return state;
    case 'operators':
      return change.kind === 'operators' ? { ...state, operators: change.operators } : state;
    case 'server':
      return change.kind === 'server' ? { ...state, server: change.server } : state;
    case 'trace':
      if (change.kind !== 'frames') return state;
      return { ...state, frames: [...state.frames, ...change.frames].slice(-FRAMES_KEPT) };
  }
}
