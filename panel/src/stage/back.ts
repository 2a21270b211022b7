// What the server is asked for an undo, redo or rollback: what it would do, and to do it.
import type { Answer } from '../api/ask';
import { command, newKey } from '../api/command';
import { nextStep } from '../api/operation';
import type { Back, NextStep } from './undo';

const ROLLBACK = '/api/v1/operations/{operation}/rollback';

export async function askBack(
  back: Back,
  fetched: typeof fetch = fetch,
): Promise<Answer<NextStep>> {
  if (typeof back === 'string') return nextStep(back, fetched);
  const { id, kind, wished } = back.rollback;
  const body = { rule: 'rest', dryRun: true } as const;
  const wanted = { at: { operation: id }, body, key: newKey() };
  const answer = await command('post', ROLLBACK, wanted, fetched);
  if (!answer.ok) return answer;
  const of = { operation: id, kind, wished };
  return {
    ok: true,
    body: { steps: 1, of, ...('checked' in answer.body ? { dryRun: answer.body } : {}) },
  };
}

// `of`: the operation that was shown; when another one is the next by now, it is refused.
export function goBack(
  back: Back,
  of: string | undefined,
  key: string,
  fetched: typeof fetch = fetch,
): Promise<Answer<unknown>> {
  const body = { rule: 'rest' } as const;
  if (typeof back === 'string')
    return command(
      'post',
      `/api/v1/${back}`,
      { at: {}, body: of === undefined ? body : { ...body, of }, key },
      fetched,
    );
  const wanted = { at: { operation: back.rollback.id }, body: { ...body, dryRun: false }, key };
  return command('post', ROLLBACK, wanted, fetched);
}
