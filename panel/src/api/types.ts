// Short names for the records of the API, as its description has them.
import type { components } from './description';

type Schemas = components['schemas'];

export type Change = Schemas['LiveChange'];
export type Counts = Schemas['Counts'];
export type Destination = Schemas['Destination'];
export type DryRun = Schemas['DryRun'];
export type DryRunRow = Schemas['DryRunRow'];
export type Link = Schemas['Link'];
export type LiveMessage = Schemas['LiveMessage'];
export type Lock = Schemas['Lock'];
export type MyData = Schemas['MyData'];
export type Notice = Schemas['Notice'];
export type OpenWish = Schemas['OpenWish'];
export type Operation = Schemas['Operation'];
export type OperationRow = Schemas['OperationRow'];
export type Operator = Schemas['Operator'];
export type Outcome = Schemas['Outcome'];
export type Person = Schemas['Person'];
export type Reason = Schemas['Reason'];
export type RouteProblem = Schemas['RouteProblem'];
export type Router = Schemas['Router'];
export type RouterData = Schemas['RouterData'];
export type RouteTuple = Schemas['RouteTuple'];
export type SalvoSummary = Schemas['SalvoSummary'];
export type Server = Schemas['Server'];
export type Settings = Schemas['Settings'];
export type Side = Schemas['Side'];
export type Source = Schemas['Source'];
export type Stage = Schemas['Stage'];
export type StagedBy = Schemas['StagedBy'];
export type StageRow = Schemas['StageRow'];
