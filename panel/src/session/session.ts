// Who sits at this panel, as the server knows it.
import type { Answer, Refusal, Schemas } from '../api/ask';

export type Visit =
  | { readonly is: 'reading' }
  | { readonly is: 'away'; readonly refusal: Refusal }
  | { readonly is: 'nobody'; readonly needsPassword: boolean }
  | { readonly is: 'somebody'; readonly session: Schemas['Session'] };

// In a demonstration whoever comes may look, as a guest: a session that does not end, for there is
// none. History needs a name, so that guests are asked for theirs.
export function visitOf(
  version: Answer<Schemas['Version']>,
  session: Answer<Schemas['Session']>,
): Visit {
  if (!version.ok) return { is: 'away', refusal: version };
  if (!session.ok && session.status !== 401) return { is: 'away', refusal: session };
  const { demonstration } = version.body;
  if (!session.ok) return { is: 'nobody', needsPassword: !demonstration };
  const isGuest = demonstration && session.body.expires === undefined;
  return isGuest
    ? { is: 'nobody', needsPassword: false }
    : { is: 'somebody', session: session.body };
}
