// A router that is larger and livelier than any: between the server and a page, what is told of the
// demonstration's first router becomes what is told of this one.
import type { Page, WebSocketRoute } from 'playwright-core';

export type Stress = {
  // One source routed. Gives when it was said, in ms since 1970.
  readonly route: (destination: number, source: number) => number;
  // Some source or other at some destination or other, so many times a second.
  readonly begin: (perSecond: number) => void;
  readonly end: () => void;
  readonly shown: () => readonly number[]; // the source of each destination
};

type Told = {
  type: string;
  topic?: string;
  revision?: number;
  previous?: number;
  data?: unknown;
};
const TOPIC = 'routers/r1';
const TURN = 20; // ms: what changes within it is told in one message

const names = (kind: string, size: number) =>
  Array.from({ length: size }, (_, index) => ({
    index,
    number: index + 1,
    name: `${kind} ${index + 1}`,
    alias: '',
    group: `Group ${Math.floor(index / 32) + 1}`,
    routable: true,
  }));

function enlarged(data: { router: object }, size: number): object {
  return {
    ...data,
    router: { ...data.router, sources: size, destinations: size },
    sources: names('CAM', size),
    destinations: names('MON', size),
    routes: {
      sources: names('', size).map(({ index }) => index),
      times: names('', size).map(() => 1_700_000_000_000),
      stale: [],
      by: {},
    },
  };
}

export async function enlarge(page: Page, size: number): Promise<Stress> {
  const sources = Array.from({ length: size }, (_, index) => index);
  let revision = 0;
  let panel: WebSocketRoute | undefined;
  const tell = (told: Told) => {
    const previous = revision;
    revision += 1;
    panel?.send(JSON.stringify({ ...told, topic: TOPIC, previous, revision }));
  };
  await page.routeWebSocket(/\/api\/v1\/live/, (socket) => {
    panel = socket;
    socket.connectToServer().onMessage((message) => {
      const told = JSON.parse(String(message)) as Told;
      if (told.topic !== TOPIC) socket.send(message);
      else if (told.type !== 'snapshot') tell(told);
      else tell({ ...told, data: enlarged(told.data as { router: object }, size) });
    });
  });
  const route = (...routes: readonly (readonly [destination: number, source: number])[]) => {
    const since = performance.timeOrigin + performance.now();
    for (const [destination, source] of routes) sources[destination] = source;
    const tuples = routes.map((each) => [...each, Math.floor(since), null]);
    tell({ type: 'change', data: [{ kind: 'routes', routes: tuples }] });
    return since;
  };
  let clock: NodeJS.Timeout | undefined;
  return {
    route: (destination, source) => route([destination, source]),
    begin: (perSecond) => {
      const begun = performance.now();
      let said = 0;
      clock = setInterval(() => {
        const due = ((performance.now() - begun) * perSecond) / 1000;
        const routes: [number, number][] = [];
        for (; said < due; said += 1)
          routes.push([(said * 7) % size, Math.floor(Math.random() * size)]);
        route(...routes);
      }, TURN);
    },
    end: () => {
      clearInterval(clock);
    },
    shown: () => sources,
  };
}
