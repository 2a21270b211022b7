// The link from the server to a router, in words.
import type { Schemas } from '../api/ask';

export interface LinkWords {
  glyph: '●' | '◌';
  words: string;
}

export function describeLink(link: Schemas['Link']): LinkWords {
  switch (link.state) {
    case 'ready':
      return { glyph: '●', words: 'Link up' };
    case 'off':
      return { glyph: '◌', words: 'Link off' };
    case 'connecting':
      return { glyph: '◌', words: 'Connecting…' };
    case 'reading':
      return { glyph: '◌', words: `Reading${progressOf(link)}…` };
    case 'down':
    case 'failing':
      return { glyph: '◌', words: `Link down${reasonOf(link)}` };
  }
}

function progressOf({ progress }: Schemas['Link']): string {
  if (progress === undefined) return '';
  const { namesRead, names, routesRead, routes } = progress;
  return ` names ${namesRead} of ${names}, routes ${routesRead} of ${routes}`;
}

function reasonOf({ reason }: Schemas['Link']): string {
  return reason === undefined ? '' : `: ${reason}`;
}
