import { expect, test } from 'vitest';

import { headerWidth, widthByKey } from './header';

test('the header is neither too narrow nor too wide, and whole pixels', () => {
  expect([120, 200, 300.4, 480, 700].map(headerWidth)).toEqual([200, 200, 300, 480, 480]);
});

test('arrows make it narrower and wider, other keys nothing', () => {
  expect(widthByKey(300, 'ArrowLeft')).toBe(284);
  expect(widthByKey(300, 'ArrowRight')).toBe(316);
  expect(widthByKey(476, 'ArrowRight')).toBe(480);
  expect(widthByKey(300, 'Enter')).toBeUndefined();
});
