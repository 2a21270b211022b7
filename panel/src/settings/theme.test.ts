import { expect, test } from 'vitest';

import { applyTheme, lightRules } from './theme';

const light = { mediaText: '(prefers-color-scheme: light)' };
const narrow = { mediaText: '(max-width: 767px)' };
const sheets = [{ cssRules: [{}, { media: narrow }] }, { cssRules: [{ media: light }] }];

test('a theme decides when the light colours count', () => {
  const rules = lightRules(sheets);
  expect(rules).toEqual([light]);
  const after = (['dark', 'light', 'system'] as const).map((theme) => {
    applyTheme(theme, rules);
    return light.mediaText;
  });
  expect(after).toEqual(['not all', 'all', '(prefers-color-scheme: light)']);
  expect(narrow.mediaText).toBe('(max-width: 767px)');
});
