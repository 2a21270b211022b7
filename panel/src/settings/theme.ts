// The theme. The light colours stand in one rule of the style sheet, for those whose system wants
// them: a theme that somebody has chosen decides when that rule counts.
import type { Settings } from '../api/types';

export type Theme = Settings['theme'];
type Media = { mediaText: string };
type Sheet = { readonly cssRules: Iterable<object> };

const BY_SYSTEM = '(prefers-color-scheme: light)';
const WHEN = { system: BY_SYSTEM, dark: 'not all', light: 'all' } as const;

// Found before a theme is applied, which changes what they say.
export function lightRules(sheets: Iterable<Sheet>): readonly Media[] {
  const rules = [...sheets].flatMap(({ cssRules }) => [...cssRules]);
  return rules.flatMap((rule) => {
    const { media } = rule as { media?: Media };
    return media?.mediaText === BY_SYSTEM ? [media] : [];
  });
}

export function applyTheme(theme: Theme, rules: readonly Media[]): void {
  for (const rule of rules) rule.mediaText = WHEN[theme];
}
