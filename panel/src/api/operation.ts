// Operations: one by its id, and the next that would be undone or redone.
import { answerTo, type Answer, type Schemas } from './ask';
import type { Operation } from './types';

export function readOperation(
  id: string,
  fetched: typeof fetch = fetch,
): Promise<Answer<Operation>> {
  return answerTo(fetched(`/api/v1/operations/${encodeURIComponent(id)}`));
}

export function nextStep(
  back: 'undo' | 'redo',
  fetched: typeof fetch = fetch,
): Promise<Answer<Schemas['NextStep']>> {
  return answerTo(fetched(`/api/v1/${back}?rule=rest`));
}
