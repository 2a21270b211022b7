// The reader of live messages: a fold over what happens to its connection. It owns what the panel
// knows of the server; it does no I/O, and no message can make it throw. Moments are ms since 1970 by
// this panel's own clock, which must not go back. Events of a connection that was replaced are not for
// it.
import * as link from './connection';
import type { Connection, Doing } from './connection';
import { readMessage } from './messages';
import { doubt, follow, outdate, overdue, tell, type Topics } from './topics';

export type Live = {
  readonly connection: Connection;
  readonly topics: Topics;
  readonly instance: string | undefined; // of the server that spoke last
  readonly restarts: number; // of the server, that were noticed
  readonly trouble: string | undefined; // where the last message could not be read
  readonly presence: Presence | undefined; // said anew to each connection
};
// What this screen shows, for the list of operators.
export type Presence = { readonly screen: string; readonly router?: string };
export type LiveNext = { readonly live: Live; readonly doing: readonly Doing[] };

export type Event =
  | { readonly what: 'opened' | 'tick' | 'tryNow' | 'lost' }
  | { readonly what: 'heard'; readonly said: string }
  | { readonly what: 'follow' | 'leave'; readonly topics: readonly string[] }
  | { readonly what: 'show'; readonly presence: Presence };

function subscription(topics: readonly string[]): readonly Doing[] {
  return topics.length === 0 ? [] : [{ do: 'send', message: { type: 'subscribe', topics } }];
}

function telling(presence: Presence | undefined): readonly Doing[] {
  return presence === undefined ? [] : [{ do: 'send', message: { type: 'presence', ...presence } }];
}

export function start(topics: readonly string[], now: number): LiveNext {
  const { connection, doing } = link.connect(now);
  const followed = topics.reduce<Topics>((all, name) => follow(all, name, now), new Map());
  const live: Live = {
    connection,
    topics: followed,
    instance: undefined,
    restarts: 0,
    trouble: undefined,
    presence: undefined,
  };
  return { live, doing };
}

function ask(live: Live, names: readonly string[], now: number): LiveNext {
  const topics = names.reduce((all, name) => follow(all, name, now), live.topics);
  const isOpen = live.connection.state === 'open';
  return { live: { ...live, topics }, doing: isOpen ? subscription(names) : [] };
}

function hear(live: Live, said: string, now: number): LiveNext {
  const connection = link.heard(live.connection, now);
  const read = readMessage(said);
  if ('wrong' in read) {
    const doubted = {
      ...live,
      connection,
      trouble: read.wrong,
      topics: doubt(live.topics, read.topic),
    };
    return { live: doubted, doing: [] };
  }
  const { message } = read;
  if (message === 'unknown') return { live: { ...live, connection }, doing: [] };
  if (message.type === 'heartbeat') {
    const { time, version } = message;
    return {
      live: { ...live, connection: link.heardBeat(connection, time, version, now) },
      doing: [],
    };
  }
  const topics = tell(live.topics, message);
  if (message.type !== 'snapshot') return { live: { ...live, connection, topics }, doing: [] };
  const { instance } = message;
  const isNew = live.instance !== undefined && live.instance !== instance;
  return {
    live: { ...live, connection, topics, instance, restarts: live.restarts + Number(isNew) },
    doing: [],
  };
}

function leave(live: Live, names: readonly string[]): LiveNext {
  const topics = new Map(live.topics);
  for (const name of names) topics.delete(name);
  const isOpen = live.connection.state === 'open';
  const message = { type: 'unsubscribe', topics: names };
  return { live: { ...live, topics }, doing: isOpen ? [{ do: 'send', message }] : [] };
}

// With the topics doubted meanwhile: asked for at once, and again when nothing has come.
function look(live: Live, now: number, chance: number): LiveNext {
  const { connection, doing } = link.tick(live.connection, now, chance);
  const topics = connection.state === 'open' ? live.topics : outdate(live.topics);
  const ticked = { ...live, connection, topics };
  if (connection.state !== 'open') return { live: ticked, doing };
  const asked = ask(ticked, overdue(topics, now), now);
  return { live: asked.live, doing: [...doing, ...asked.doing] };
}

function turn(live: Live, next: link.Next): LiveNext {
  return { live: { ...live, connection: next.connection }, doing: next.doing };
}

export function step(live: Live, event: Event, now: number, chance: number): LiveNext {
  switch (event.what) {
    case 'opened': {
      const begun = turn(live, link.opened(live.connection, now));
      const asked = ask(begun.live, [...live.topics.keys()], now);
      return {
        live: asked.live,
        doing: [...asked.doing, ...telling(live.presence), ...begun.doing],
      };
    }
    case 'heard': {
      const heard = hear(live, event.said, now);
      const asked = ask(heard.live, overdue(heard.live.topics, now), now);
      return { live: asked.live, doing: [...heard.doing, ...asked.doing] };
    }
    case 'lost': {
      if (live.connection.state === 'waiting') return { live, doing: [] }; // given up before
      const connection = link.lost(live.connection, now, chance);
      return { live: { ...live, connection, topics: outdate(live.topics) }, doing: [] };
    }
    case 'tick':
      return look(live, now, chance);
    case 'tryNow':
      return turn(live, link.tryNow(live.connection, now));
    case 'follow':
      return ask(live, event.topics, now);
    case 'leave':
      return leave(live, event.topics);
    case 'show': {
      const { presence } = event;
      const isOpen = live.connection.state === 'open';
      return { live: { ...live, presence }, doing: isOpen ? telling(presence) : [] };
    }
  }
}

// The server's panel is another than this one.
export function isOutdated({ connection }: Live): boolean {
  return connection.serverVersion !== connection.firstVersion;
}
