// One operation, read by its id.
import { answerTo, type Answer } from './ask';
import type { Operation } from './types';

export function ask(id: string, fetched: typeof fetch = fetch): Promise<Answer<Operation>> {
  return answerTo(fetched(`/api/v1/operations/${encodeURIComponent(id)}`));
}
