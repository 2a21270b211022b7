// The browser's socket and clock, for the driver.
import { SUBPROTOCOL, type World } from './driver';

export const browser: World = {
  open: ({ opened, said, closed }) => {
    const address = new URL('/api/v1/live', location.href);
    address.protocol = address.protocol === 'https:' ? 'wss:' : 'ws:';
    const socket = new WebSocket(address, SUBPROTOCOL);
    socket.onopen = opened;
    socket.onmessage = ({ data }) => {
      said(String(data));
    };
    socket.onclose = closed;
    return {
      send: (text) => {
        socket.send(text);
      },
      close: () => {
        socket.close();
      },
    };
  },
  now: () => performance.timeOrigin + performance.now(), // the wall clock may be set back
  chance: Math.random,
  every: (ms, act) => {
    const timer = setInterval(act, ms);
    return () => {
      clearInterval(timer);
    };
  },
};
