// The address of each screen, as can be sent to somebody else, and back.

export type View = 'matrix' | 'xy' | 'list';
export const VIEWS: readonly View[] = ['matrix', 'xy', 'list'];
export const TABS = ['link', 'names', 'groups', 'locks', 'limits', 'traffic'] as const;
export const SETTINGS_TABS = ['me', 'people', 'tokens'] as const;
export const HISTORY_FILTERS = [
  'time',
  'from',
  'to',
  'who',
  'router',
  'dest',
  'source',
  'why',
  'result',
  'take',
  'text',
] as const;

export type Tab = (typeof TABS)[number];
export type SettingsTab = (typeof SETTINGS_TABS)[number];
export type HistoryFilters = Readonly<Partial<Record<(typeof HISTORY_FILTERS)[number], string>>>;
export type Address =
  | { readonly screen: 'routing'; readonly router?: string; readonly view?: View }
  | { readonly screen: 'wall'; readonly router: string; readonly view?: View }
  | { readonly screen: 'salvos'; readonly salvo?: string }
  | { readonly screen: 'history'; readonly filters: HistoryFilters }
  | { readonly screen: 'routers'; readonly router?: string; readonly tab?: Tab }
  | { readonly screen: 'settings'; readonly tab?: SettingsTab }
  | { readonly screen: 'health' };

function oneOf<T extends string>(words: readonly T[], word: string | null): T | undefined {
  return words.find((each) => each === word);
}

// Without the members that are not there.
function present<T extends object>(members: T): { [K in keyof T]?: NonNullable<T[K]> } {
  return Object.fromEntries(Object.entries(members).filter(([, value]) => value !== undefined)) as {
    [K in keyof T]?: NonNullable<T[K]>;
  };
}

function parts(path: string): readonly string[] | undefined {
  try {
    return path
      .split('/')
      .filter((part) => part !== '')
      .map(decodeURIComponent);
  } catch {
    return undefined; // "%" that means nothing
  }
}

function filtersIn(query: URLSearchParams): HistoryFilters {
  return Object.fromEntries(
    HISTORY_FILTERS.flatMap((name) => {
      const value = query.get(name);
      return value === null || value === '' ? [] : [[name, value]];
    }),
  );
}

// None where there is no such screen. What a screen does not know of the query is passed over.
export function readAddress(path: string, search: string): Address | undefined {
  const [screen, subject, ...more] = parts(path) ?? ['?'];
  const query = new URLSearchParams(search);
  if (more.length > 0) return undefined;
  const view = oneOf(VIEWS, query.get('view'));
  switch (screen) {
    case undefined:
      return { screen: 'routing' };
    case 'routing':
      return { screen, ...present({ router: subject, view }) };
    case 'wall':
      return subject === undefined ? undefined : { screen, router: subject, ...present({ view }) };
    case 'salvos':
      return { screen, ...present({ salvo: subject }) };
    case 'routers':
      return { screen, ...present({ router: subject, tab: oneOf(TABS, query.get('tab')) }) };
    case 'history':
      return subject === undefined ? { screen, filters: filtersIn(query) } : undefined;
    case 'server': // "/health" is the server's own answer to whoever watches over it
      return subject === undefined ? { screen: 'health' } : undefined;
    case 'settings':
      return subject === undefined
        ? { screen, ...present({ tab: oneOf(SETTINGS_TABS, query.get('tab')) }) }
        : undefined;
    default:
      return undefined;
  }
}

function address(
  path: readonly (string | undefined)[],
  query: Readonly<Record<string, string | undefined>>,
): string {
  const text = new URLSearchParams(present(query) as Record<string, string>).toString();
  const steps = path.filter((part) => part !== undefined).map(encodeURIComponent);
  return `/${steps.join('/')}${text === '' ? '' : `?${text}`}`;
}

export function writeAddress(to: Address): string {
  switch (to.screen) {
    case 'routing':
    case 'wall':
      return address([to.screen, to.router], { view: to.view });
    case 'salvos':
      return address([to.screen, to.salvo], {});
    case 'routers':
      return address([to.screen, to.router], { tab: to.tab });
    case 'history':
      return address([to.screen], to.filters);
    case 'health':
      return address(['server'], {});
    case 'settings':
      return address([to.screen], { tab: to.tab });
  }
}
