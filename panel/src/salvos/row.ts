// One row of a salvo: where it goes, from what, and what is there now.
import { type RouterState } from '../live/router_topic';
import { factShown, type Circumstances } from '../routes/fact';
import { lockShown, type Guard } from '../routes/guards';
import type { SalvoRow } from './draft';

export type RowShown = {
  readonly destination: string;
  readonly source: string;
  readonly now: string;
  readonly isOld: boolean; // what is there now is not known on the present link
  readonly guard: Guard | undefined;
  readonly trouble: string; // empty when the router has what the row names
};

// `state`: none as long as the router has not been heard.
export function rowShown(
  row: SalvoRow,
  state: RouterState | undefined,
  circumstances: Circumstances,
): RowShown {
  const { say } = circumstances.speech;
  const { destinationName, source, sourceName, gone } = row;
  const shown = {
    source: source === null ? say('noSource') : (sourceName ?? String(source)),
    guard: undefined,
    isOld: false,
  };
  if (gone === 'noSuchDestination' || gone === 'noSuchRouter')
    return {
      ...shown,
      destination: say('goneRow', { destination: destinationName }),
      now: '–',
      trouble: say('notOnRouter'),
    };
  const trouble = gone === undefined ? '' : say('noSuchSource');
  if (state === undefined)
    return { ...shown, destination: destinationName, now: '–', isOld: true, trouble };
  const fact = factShown(state, row.destination, circumstances);
  return {
    ...shown,
    destination: destinationName,
    now: fact.sourceName,
    isOld: fact.mark !== 'fact',
    guard: lockShown(state.locks.get(row.destination), circumstances),
    trouble,
  };
}
