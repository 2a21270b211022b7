// When to connect, speak and give up. All moments are ms of one steady clock of this panel; what is
// to be done is given back, and done by the caller.

export type Connection = {
  readonly state: 'connecting' | 'open' | 'waiting';
  readonly since: number; // of this state
  readonly attempts: number; // in vain, since the server was heard last
  readonly retryAt: number; // while waiting
  readonly heardAt: number | undefined; // anything from the server
  readonly beatAt: number; // our last heartbeat
  readonly awaitsBeat: boolean; // it has not been answered
  readonly delayMs: number | undefined; // there and back, of the last heartbeat
  readonly clockAheadMs: number; // the server's clock of 1970 minus this one
  readonly serverVersion: string | undefined;
  readonly firstVersion: string | undefined; // of the server that this page came from
};
export type Doing =
  { readonly do: 'open' | 'close' } | { readonly do: 'send'; readonly message: object };
export type Next = { readonly connection: Connection; readonly doing: readonly Doing[] };

export const HEARTBEAT = 10_000;
export const LONGEST_SILENCE = 30_000;
export const LATE = 15_000; // a heartbeat is overdue: what is shown may be old
export const LONGEST_OPENING = 10_000;
const DELAYS = [500, 1000, 2000]; // before the first attempts, then LONGEST_DELAY
export const LONGEST_DELAY = 3000;
export const SPREAD = 0.25; // of the delay at most, so that not all panels come at once

export function connect(now: number): Next {
  const connection: Connection = {
    state: 'connecting',
    since: now,
    attempts: 0,
    retryAt: now,
    heardAt: undefined,
    beatAt: now,
    awaitsBeat: false,
    delayMs: undefined,
    clockAheadMs: 0,
    serverVersion: undefined,
    firstVersion: undefined,
  };
  return { connection, doing: [{ do: 'open' }] };
}

function reconnect(connection: Connection, now: number): Next {
  return {
    connection: { ...connection, state: 'connecting', since: now },
    doing: [{ do: 'open' }],
  };
}

// `chance` from 0 to 1 spreads the attempts of many panels.
export function lost(connection: Connection, now: number, chance: number): Connection {
  const delay = DELAYS[connection.attempts] ?? LONGEST_DELAY;
  return {
    ...connection,
    state: 'waiting',
    since: now,
    attempts: connection.attempts + 1,
    retryAt: now + delay * (1 + SPREAD * chance),
    awaitsBeat: false,
  };
}

function beat(connection: Connection, now: number): Next {
  const message = {
    type: 'heartbeat',
    time: new Date(now + connection.clockAheadMs).toISOString(),
  };
  return {
    connection: { ...connection, beatAt: now, awaitsBeat: true },
    doing: [{ do: 'send', message }],
  };
}

export function opened(connection: Connection, now: number): Next {
  return beat({ ...connection, state: 'open', since: now }, now);
}

export function heard(connection: Connection, now: number): Connection {
  return { ...connection, heardAt: now, attempts: 0 };
}

export function heardBeat(
  connection: Connection,
  time: string,
  version: string | undefined,
  now: number,
): Connection {
  const { awaitsBeat, beatAt, delayMs, serverVersion, firstVersion } = connection;
  return {
    ...connection,
    awaitsBeat: false,
    delayMs: awaitsBeat ? now - beatAt : delayMs,
    clockAheadMs: Date.parse(time) - now,
    serverVersion: version ?? serverVersion,
    firstVersion: firstVersion ?? version,
  };
}

function quietSince(connection: Connection): number {
  return Math.max(connection.since, connection.heardAt ?? connection.since);
}

export function tick(connection: Connection, now: number, chance: number): Next {
  const { state, since, retryAt, beatAt } = connection;
  const tooSlow =
    (state === 'connecting' && now - since >= LONGEST_OPENING) ||
    (state === 'open' && now - quietSince(connection) >= LONGEST_SILENCE);
  if (tooSlow) return { connection: lost(connection, now, chance), doing: [{ do: 'close' }] };
  if (state === 'waiting' && now >= retryAt) return reconnect(connection, now);
  if (state === 'open' && now - beatAt >= HEARTBEAT) return beat(connection, now);
  return { connection, doing: [] };
}

export function tryNow(connection: Connection, now: number): Next {
  return connection.state === 'waiting' ? reconnect(connection, now) : { connection, doing: [] };
}

// Since when what is shown may be old; none while the server is heard.
export function oldSince(connection: Connection, now: number): number | undefined {
  const { state, heardAt } = connection;
  if (heardAt === undefined) return undefined; // nothing is shown yet
  return state === 'open' && now - heardAt < LATE ? undefined : heardAt;
}
