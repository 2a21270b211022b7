// Commands that change something. By its key the server knows one again: it carries it out once,
// however often it is sent, and answers it each time alike. Where passwords pass there are no keys.
import { answerTo, type Answer } from './ask';
import type { paths } from './description';
import { locate } from './read';

export type Method = 'post' | 'put' | 'patch' | 'delete';
type JsonOf<Given> = Given extends { content: { 'application/json': infer Body } } ? Body : never;

// The addresses at which this can be done.
export type Commanded<M extends Method> = {
  [P in keyof paths]: paths[P] extends Record<M, { responses: unknown }> ? P : never;
}[keyof paths];

export type Wanted<M extends Method, P extends keyof paths> =
  paths[P] extends Record<M, { requestBody: infer Given }> ? JsonOf<Given> : undefined;

export type Result<M extends Method, P extends keyof paths> =
  paths[P] extends Record<M, { responses: infer Responses }>
    ? JsonOf<Responses[keyof Responses & (200 | 201 | 202)]>
    : never;

export type Command<M extends Method, P extends keyof paths> = {
  readonly at: Readonly<Record<string, string | number>>; // what stands in the address
  readonly query?: Readonly<Record<string, string>>;
  readonly body: Wanted<M, P>;
  readonly key?: string;
  readonly tag?: string; // only while what is there is what came with it
};

export const newKey = (): string => {
  const bytes = crypto.getRandomValues(new Uint8Array(16));
  return [...bytes].map((byte) => byte.toString(16).padStart(2, '0')).join('');
};

const ATTEMPTS = 2;

// With a key, sent once more when no answer has come: the first may have been carried out.
export async function command<M extends Method, P extends Commanded<M>>(
  method: M,
  pattern: P,
  wanted: Command<M, P>,
  fetched: typeof fetch = fetch,
): Promise<Answer<Result<M, P>>> {
  const address = locate(pattern, wanted);
  const { body, key, tag }: { body: unknown; key?: string; tag?: string } = wanted;
  const request: RequestInit = {
    method: method.toUpperCase(),
    headers: {
      ...(key === undefined ? {} : { 'Idempotency-Key': key }),
      ...(tag === undefined ? {} : { 'If-Match': tag }),
      ...(body === undefined ? {} : { 'Content-Type': 'application/json' }),
    },
    ...(body === undefined ? {} : { body: JSON.stringify(body) }),
  };
  const attempts = key === undefined ? 1 : ATTEMPTS;
  for (let attempt = 1; ; attempt += 1) {
    const answer = await answerTo<Result<M, P>>(fetched(address, request));
    if (answer.ok || answer.status !== 0 || attempt === attempts) return answer;
  }
}
