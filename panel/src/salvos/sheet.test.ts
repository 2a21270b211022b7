import { expect, test } from 'vitest';

import { nameOf, routerData, routerOf } from '../live/history';
import { beginRouter } from '../live/router_topic';
import { csv, pasted } from './sheet';

const here = beginRouter({
  ...routerData(),
  sources: [nameOf(0), nameOf(1, 'SAT "A", east'), { ...nameOf(2, '1'), routerName: 'IN 3' }],
});
const there = beginRouter({
  ...routerData(),
  router: { ...routerOf(1), id: 'r2', name: 'STUDIO B' },
});
const paste = (text: string) => pasted(text, [here, there], 'No source');
const short = (text: string) =>
  paste(text).rows.map(({ router, destination, source }) => [router, destination, source]);

test.each([
  ['MON 2\tcam 1', [['r1', 1, 0]]],
  [
    'MON 2;CAM 1\r\nmon 3;no source\r\n',
    [
      ['r1', 1, 0],
      ['r1', 2, null],
    ],
  ],
  ['3, 2', [['r1', 2, 1]]],
  ['mon 1;in 3', [['r1', 0, 2]]],
  ['Studio B,MON 4,CAM 7', [['r2', 3, 6]]],
  ['"MON 1","SAT ""A"", east"', [['r1', 0, 1]]],
])('%j is read', (text, rows) => {
  expect(short(text)).toEqual(rows);
});

test('a name counts before a number', () => {
  expect(short('2;1')).toEqual([['r1', 1, 2]]);
});

test.each(['MON 2', 'MON 99;CAM 1', 'MON 2;CAM 99', 'STUDIO C;MON 2;CAM 1', '"MON 2;CAM 1'])(
  '%j says nothing here',
  (line) => {
    expect(paste(`MON 1;CAM 1\n${line}`)).toMatchObject({
      rows: [{ destination: 0 }],
      wrong: [line],
    });
  },
);

test('what is exported can be pasted', () => {
  const { rows } = paste('MON 2\tSAT "A", east\nMON 3;No source\nSTUDIO B;MON 4;CAM 7');
  const routers = new Map([
    ['r1', 'STUDIO A'],
    ['r2', 'STUDIO B'],
  ]);
  const text = csv(rows, routers, 'No source');
  expect(text).toBe(
    '"STUDIO A","MON 2","SAT ""A"", east"\r\n"STUDIO A","MON 3","No source"\r\n"STUDIO B","MON 4","CAM 7"\r\n',
  );
  expect(paste(text)).toEqual({ rows, wrong: [] });
});
