import { describe, expect, test } from 'vitest';

import type { Lock, RouterData, StageRow } from '../api/types';
import { ANA, BEN, problemOf, routerData, stageOf, TIME, wishOf } from '../live/history';
import { beginRouter } from '../live/router_topic';
import { english } from '../texts/english';
import { speechOf } from '../texts/speech';
import { destinationShown } from './destination';
import type { Circumstances } from './fact';
import { mayRoute } from './guards';
import { headerMark, MARKS, type Mark } from './marks';

const NOW = Date.parse(TIME) + 400;
const usual: Circumstances = {
  speech: speechOf(english, 'en', 'UTC'),
  now: NOW,
  me: ANA.id,
  oldSince: undefined,
};
const DESTINATION = 2;
const lockOf = (more: Partial<Lock> = {}): Lock => ({
  router: 'r1',
  destination: DESTINATION,
  destinationName: 'MON 3',
  mode: 'lock',
  owner: BEN,
  reason: '',
  since: TIME,
  ...more,
});
const rowOf = (changed = false): StageRow | undefined =>
  stageOf('r1', [DESTINATION]).rows.map((row) => ({ ...row, changed }))[0];

function shown(
  change: (data: RouterData) => void = () => undefined,
  row?: StageRow,
  more: Partial<Circumstances> = {},
) {
  const data = routerData();
  change(data);
  return destinationShown(beginRouter(data), row, DESTINATION, { ...usual, ...more });
}
const wished = (wish: ReturnType<typeof wishOf>) => (data: RouterData) => {
  data.wishes = [{ kind: 'wish', destination: DESTINATION, wish }];
};
const wrong = (problem: ReturnType<typeof problemOf>) => (data: RouterData) => {
  data.problems = [{ kind: 'problem', destination: DESTINATION, problem }];
};
const down = (data: RouterData) => {
  data.router = { ...data.router, link: { state: 'down', since: TIME }, staleSince: TIME };
};

describe('facts', () => {
  test('what the router says now stands without a word', () => {
    expect(shown().fact).toEqual({
      source: 2,
      sourceName: 'CAM 3',
      mark: 'fact',
      words: '',
      since: 0,
      by: '',
    });
  });

  test.each([
    ['a lost link', down, {}, '0:42'],
    [
      'a fact from before the present link',
      (data: RouterData) => {
        data.routes.stale = [DESTINATION];
        data.router = { ...data.router, staleSince: TIME };
      },
      {},
      '0:42',
    ],
    [
      'a link that is being read',
      (data: RouterData) => {
        data.router = { ...data.router, link: { state: 'reading', since: TIME } };
      },
      {},
      '0:42',
    ],
    ['a server that is not heard', () => undefined, { oldSince: Date.parse(TIME) + 2000 }, '0:40'],
    ['both, since the older', down, { oldSince: Date.parse(TIME) + 2000 }, '0:42'],
  ])('%s makes it stale, with its age', (_why, change, more, age) => {
    const { fact } = shown(change, undefined, { now: Date.parse(TIME) + 42_000, ...more });
    expect(fact).toMatchObject({ mark: 'stale', words: `Stale · ${age}`, source: 2 });
  });

  test.each([
    [-2, 'unknown', 'Unknown', 'Unknown'],
    [-1, 'fact', 'No source', 'No source'],
  ])('source %d', (source, mark, words, sourceName) => {
    const { fact } = shown((data) => (data.routes.sources[DESTINATION] = source));
    expect(fact).toMatchObject({ mark, words, sourceName });
  });

  test('what is not known stays unknown when the link is down', () => {
    expect(
      shown((data) => {
        down(data);
        data.routes.sources[DESTINATION] = -2;
      }).fact.mark,
    ).toBe('unknown');
  });

  test.each([
    [{ 2: BEN }, 'Ben L.'],
    [{ 2: null }, 'at the router, not from this server'],
    [{ 1: BEN }, ''],
  ])('whose wish it was: %j', (by, who) => {
    expect(shown((data) => (data.routes.by = by)).fact.by).toBe(who);
  });
});

describe('wishes', () => {
  test('one whose link is lost has timed out at once', () => {
    const { wishes, isProblem } = shown((data) => {
      wished(wishOf(6))(data);
      down(data);
    });
    expect(wishes).toMatchObject([{ source: 6, mark: 'timedOut', words: 'Timed out: link lost' }]);
    expect(isProblem).toBe(true);
  });

  test.each([
    ['queued', 'queued', 'Queued'],
    ['held', 'queued', 'Queued'],
    ['sent', 'sent', 'Sent 0.4 s'],
  ] as const)('a wish that is %s', (state, mark, words) => {
    const { wishes, header } = shown(wished({ ...wishOf(6), state }));
    expect(wishes).toEqual([{ source: 6, sourceName: 'CAM 7', mark, words, by: 'Ben L.' }]);
    expect(header).toBe(mark);
  });

  test('the name that came with a wish counts', () => {
    const wish = { ...wishOf(6), sourceName: 'CAM 7 Jib' };
    expect(shown(wished(wish)).wishes[0]?.sourceName).toBe('CAM 7 Jib');
  });

  test('time never counts below zero', () => {
    expect(shown(wished(wishOf(6)), undefined, { now: NOW - 5000 }).wishes[0]?.words).toBe(
      'Sent 0.0 s',
    );
  });

  test('a wish for no source', () => {
    expect(shown(wished(wishOf(null))).wishes[0]).toMatchObject({
      source: -1,
      sourceName: 'No source',
    });
  });

  test.each([
    [
      'contradicted',
      'contradicted',
      'the router still shows SAT 36',
      'Contradicted: the router still shows SAT 36',
    ],
    ['timedOut', 'timedOut', '', 'Timed out'],
    ['timedOut', 'timedOut', 'link lost', 'Timed out: link lost'],
    ['notSent', 'notSent', 'MON 3 is locked by ben', 'Not sent: MON 3 is locked by ben'],
    ['refused', 'notSent', 'code 3', 'Refused by the router: code 3'],
    ['superseded', 'notSent', '', 'Not sent: a newer take of this destination took its place'],
    ['unknown', 'outcomeUnknown', 'the server was restarted', 'Unknown: the server was restarted'],
  ] as const)('a wish that ended as %s', (outcome, mark, detail, words) => {
    const { wishes, header, isProblem } = shown(wrong(problemOf(outcome, detail)));
    expect(wishes).toEqual([{ source: 3, sourceName: 'CAM 4', mark, words, by: 'Ben L.' }]);
    expect([header, isProblem]).toEqual([mark, true]);
  });

  test.each(['open', 'confirmed'] as const)('%s is no problem', (outcome) => {
    expect(shown(wrong(problemOf(outcome)))).toMatchObject({ wishes: [], isProblem: false });
  });

  test.each([
    [false, 'staged', 'Staged', false],
    [true, 'changed', 'Changed', true],
  ])('a staged row, changed: %s', (changed, mark, words, isProblem) => {
    expect(shown(undefined, rowOf(changed))).toMatchObject({
      fact: { mark: 'fact', source: 2 },
      wishes: [{ source: 1, sourceName: 'CAM 2', mark, words, by: '' }],
      header: mark,
      isProblem,
    });
  });

  test('the gravest comes first', () => {
    const all = (data: RouterData) => {
      wrong(problemOf('timedOut'))(data);
      wished(wishOf(6))(data);
    };
    expect(shown(all, rowOf()).wishes.map(({ mark }) => mark)).toEqual([
      'timedOut',
      'sent',
      'staged',
    ]);
    expect(shown(all, rowOf(true)).wishes.map(({ mark }) => mark)).toEqual([
      'timedOut',
      'changed',
      'sent',
    ]);
  });
});

describe('others', () => {
  test.each([
    [lockOf(), 'locked', 'Locked by Ben L.', true],
    [lockOf({ until: '2026-11-22T18:00:00.000Z' }), 'locked', 'Locked by Ben L. until 18:00', true],
    [
      lockOf({ until: '2026-11-23T18:00:00.000Z' }),
      'locked',
      'Locked by Ben L. until Nov 23, 18:00',
      true,
    ],
    [lockOf({ owner: ANA }), 'locked', 'Locked by Ana K.', true],
    [lockOf({ mode: 'protect' }), 'protectedByOther', 'Protected by Ben L.', true],
    [lockOf({ mode: 'protect', owner: ANA }), 'protectedByMe', 'Protected by you', false],
  ])('a lock or protect %#', (lock, mark, words, isHatched) => {
    const found = shown((data) => (data.locks = [lock]));
    expect(found).toMatchObject({
      lock: { mark, words },
      header: mark,
      isHatched,
      isProblem: false,
    });
    expect(mayRoute(lock, ANA.id)).toBe(!isHatched);
  });

  test('what somebody else has staged stands in the header, my own does not', () => {
    const staged = (data: RouterData) => {
      data.stages = [
        { person: BEN, destinations: [DESTINATION] },
        { person: ANA, destinations: [DESTINATION] },
        { person: { id: 'eva', name: 'Eva' }, destinations: [0] },
      ];
    };
    const found = shown(staged);
    expect(found.stagedBy).toEqual([{ mark: 'stagedByOther', words: 'Ben L. has this staged' }]);
    expect(found).toMatchObject({ header: 'stagedByOther', wishes: [] });
  });
});

describe('the header', () => {
  const order: readonly Mark[] = [
    'timedOut',
    'changed',
    'staged',
    'locked',
    'protectedByMe',
    'protectedByOther',
    'unknown',
  ];

  test('shows red, then violet, amber, padlock, shield, unknown', () => {
    order.forEach((mark, i) => {
      expect(headerMark([...order.slice(i)].reverse())).toBe(mark);
    });
    expect(headerMark(['fact', 'stale', 'confirmed'])).toBeUndefined();
  });

  test('no two states look alike', () => {
    const looks = Object.values(MARKS).map(({ glyph, colour }) => `${glyph} ${colour}`);
    expect(new Set(looks).size).toBe(looks.length);
  });
});

test('numbers stand in for names that have not been read', () => {
  const found = shown((data) => {
    data.destinations = [];
    data.sources = [];
  });
  expect([found.name, found.fact.sourceName]).toEqual(['3', '3']);
});
