// Changes one's own password. It is sent once: a second time the old one would be wrong.
import { answerTo, type Answer, type Schemas } from '../api/ask';

export function changePassword(
  change: Schemas['PasswordChange'],
  fetched: typeof fetch = fetch,
): Promise<Answer<undefined>> {
  const headers = { 'Content-Type': 'application/json' };
  const body = JSON.stringify(change);
  return answerTo(fetched('/api/v1/people/me/password', { method: 'PUT', headers, body }));
}
