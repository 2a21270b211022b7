// The shapes of what the server tells of salvos, operators, a person's own things and itself.
import { person } from './records';
import { absentOr, count, figure, flag, index, listOf, nullOr, record, text, time } from './shape';

export const salvo = record({
  id: text,
  name: text,
  note: text,
  rule: text,
  version: count,
  author: person,
  saved: time,
  rowCount: count,
  routers: listOf(text),
  deleted: absentOr(time),
});

export const operator = record({
  person,
  connections: count,
  screen: text,
  router: absentOr(text),
  staged: count,
  lastAction: absentOr(record({ time, text })),
});

export const settings = record({
  theme: text,
  density: text,
  view: text,
  swapAxes: flag,
  cellSize: text,
  headerWidth: count,
  hotMinutes: count,
  sourceFirst: flag,
  sound: flag,
  volume: count,
  singleKeys: flag,
  language: text,
  hintsSeen: flag,
  lastRouter: absentOr(text),
  pins: listOf(record({ router: text, side: text, positions: listOf(index) })),
  folds: listOf(record({ router: text, side: text, groups: listOf(text) })),
  starredSalvos: listOf(text),
});

export const notice = record({
  id: text,
  time,
  code: text,
  text,
  router: absentOr(text),
  destination: absentOr(index),
  by: absentOr(person),
});

export const server = record({
  version: text,
  instance: text,
  started: time,
  time,
  timeZone: text,
  operators: count,
  liveClients: count,
  database: record({
    bytes: count,
    waiting: count,
    failures: count,
    lost: absentOr(count),
    refused: absentOr(count),
    backup: absentOr(time),
  }),
  warnings: listOf(record({ severity: text, router: absentOr(text), since: time, text })),
});

export const frame = record({
  number: count,
  time,
  direction: text,
  meaning: text,
  destination: absentOr(count),
  destinationName: absentOr(text),
  source: absentOr(nullOr(count)),
  sourceName: absentOr(text),
  code: absentOr(figure),
  text,
  raw: text,
});
