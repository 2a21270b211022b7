// The topics that the panel follows: each a snapshot, then changes that fit it. What does not fit, or
// cannot be read, is never half applied: the topic counts as old until a new snapshot has come.
import type { components } from '../api/description';
import type { Change, MyData, RouterData } from '../api/types';
import { byId, changeHouse, type HouseState } from './house_topics';
import { kindOf, type Message } from './messages';
import { beginMine, changeMine, type MyState } from './my_topic';
import { beginRouter, changeRouter, type RouterState } from './router_topic';

type Schemas = components['schemas'];
export type TopicState = RouterState | HouseState | MyState;

export type Topic = {
  readonly revision: number;
  readonly state: TopicState | undefined; // none before the first snapshot, or when it has ended
  readonly current: boolean; // nothing that was told on this connection is missing
  readonly askedAt: number; // ms, when a snapshot was asked for last
  readonly ended: string | undefined; // the server's sentence: it will tell no more of it
};
export type Topics = ReadonlyMap<string, Topic>;

export const ASK_AGAIN = 3000; // ms between two questions for the same snapshot

export function follow(topics: Topics, name: string, now: number): Topics {
  const known = topics.get(name);
  const topic: Topic = {
    revision: known?.revision ?? 0,
    state: known?.state,
    current: false,
    askedAt: now,
    ended: undefined,
  };
  return new Map(topics).set(name, topic);
}

// Of all of them, as when the connection was lost.
export function outdate(topics: Topics): Topics {
  return new Map([...topics].map(([name, topic]) => [name, { ...topic, current: false }]));
}

// Those whose snapshots have not come in time.
export function overdue(topics: Topics, now: number): readonly string[] {
  return [...topics]
    .filter(([, { current, ended, askedAt }]) => !current && !ended && now - askedAt >= ASK_AGAIN)
    .map(([name]) => name);
}

function begin(topic: string, data: Schemas['Snapshot']['data']): TopicState | undefined {
  const kind = kindOf(topic);
  switch (kind) {
    case 'router':
      return beginRouter(data as RouterData);
    case 'me':
      return beginMine(data as MyData);
    case 'routers':
      return { kind, routers: byId((data as Schemas['RoutersData']).routers) };
    case 'operations':
      return { kind, operations: byId((data as Schemas['OperationsData']).operations) };
    case 'salvos':
      return { kind, salvos: byId((data as Schemas['SalvosData']).salvos) };
    case 'operators':
      return { kind, operators: (data as Schemas['Operators']).operators };
    case 'server':
      return { kind, server: (data as Schemas['ServerData']).server };
    case 'trace':
      return { kind, frames: (data as Schemas['TraceData']).frames };
    case undefined:
      return undefined;
  }
}

function changed(state: TopicState, change: Change): TopicState {
  if (state.kind === 'router') return changeRouter(state, change);
  if (state.kind === 'me') return changeMine(state, change);
  return changeHouse(state, change);
}

function take(topic: Topic, message: Exclude<Message, Schemas['Heartbeat']>): Topic {
  if (message.type === 'error')
    return { ...topic, state: undefined, current: false, ended: message.detail };
  if (message.type === 'snapshot') {
    const state = begin(message.topic, message.data);
    return { ...topic, revision: message.revision, state, current: true, ended: undefined };
  }
  if (!topic.current || topic.state === undefined) return topic; // a snapshot is on its way
  if (message.previous !== topic.revision) return { ...topic, current: false };
  const state = message.data.reduce(changed, topic.state);
  return { ...topic, revision: message.revision, state };
}

export function tell(topics: Topics, message: Exclude<Message, Schemas['Heartbeat']>): Topics {
  const topic = message.topic === undefined ? undefined : topics.get(message.topic);
  if (message.topic === undefined || topic === undefined) return topics;
  return new Map(topics).set(message.topic, take(topic, message));
}

export function doubt(topics: Topics, name: string | undefined): Topics {
  const topic = name === undefined ? undefined : topics.get(name);
  if (name === undefined || topic === undefined) return topics;
  return new Map(topics).set(name, { ...topic, current: false });
}
