// What somebody may do; the server judges again whatever is asked of it.
import type { Schemas } from '../api/ask';

type Right = Schemas['Right'];
const ORDER: readonly Right[] = ['none', 'view', 'operate', 'engineer', 'administer'];

// Each right includes those before it. `router`: where an exception may count.
export function may(rights: Schemas['Rights'], right: Right, router?: string): boolean {
  const exception = router === undefined ? undefined : rights.exceptions[router];
  return ORDER.indexOf(exception ?? rights.usual) >= ORDER.indexOf(right);
}
