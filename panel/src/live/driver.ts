// Carries out what the reader of live messages wants: one socket at a time, a clock that ticks. What
// a socket says that was replaced is dropped. It owns the socket and the present record.
import type { Doing } from './connection';
import { start, step, type Event, type Live, type Presence } from './live';

export const SUBPROTOCOL = 'router-control.v1';
export const TICK = 250; // ms

export type Socket = {
  readonly send: (text: string) => void;
  readonly close: () => void;
};
// What becomes of a socket.
export type Fate = {
  readonly opened: () => void;
  readonly said: (text: string) => void;
  readonly closed: () => void;
};
export type World = {
  readonly open: (fate: Fate) => Socket;
  readonly now: () => number; // ms since 1970, never going back
  readonly chance: () => number; // from 0 to 1
  readonly every: (ms: number, act: () => void) => () => void; // gives what ends it
};
export type Driver = {
  readonly follow: (topics: readonly string[]) => void;
  readonly leave: (topics: readonly string[]) => void;
  readonly show: (presence: Presence) => void;
  readonly tryNow: () => void;
  readonly end: () => void; // nothing is told after it
};

// `tell` is called with each new record, and the moment that it is of.
export function drive(
  topics: readonly string[],
  world: World,
  tell: (live: Live, now: number) => void,
): Driver {
  const begun = start(topics, world.now());
  let live = begun.live;
  let socket: Socket | undefined;
  let opened = 0; // sockets

  function open(): void {
    drop();
    opened += 1;
    const mine = opened;
    const ifPresent = (event: Event) => {
      if (socket !== undefined && mine === opened) happen(event);
    };
    socket = world.open({
      opened: () => {
        ifPresent({ what: 'opened' });
      },
      said: (said) => {
        ifPresent({ what: 'heard', said });
      },
      closed: () => {
        ifPresent({ what: 'lost' });
      },
    });
  }

  function drop(): void {
    const dropped = socket;
    socket = undefined; // before it can say that it was closed
    dropped?.close();
  }

  function carryOut(doing: Doing): void {
    switch (doing.do) {
      case 'open':
        open();
        return;
      case 'close':
        drop();
        return;
      case 'send':
        socket?.send(JSON.stringify(doing.message));
    }
  }

  function happen(event: Event): void {
    const now = world.now();
    const next = step(live, event, now, world.chance());
    live = next.live;
    next.doing.forEach(carryOut);
    tell(live, now);
  }

  begun.doing.forEach(carryOut);
  tell(live, world.now());
  const stopClock = world.every(TICK, () => {
    happen({ what: 'tick' });
  });
  return {
    follow: (names) => {
      happen({ what: 'follow', topics: names });
    },
    leave: (names) => {
      happen({ what: 'leave', topics: names });
    },
    show: (presence) => {
      happen({ what: 'show', presence });
    },
    tryNow: () => {
      happen({ what: 'tryNow' });
    },
    end: () => {
      stopClock();
      drop();
    },
  };
}
