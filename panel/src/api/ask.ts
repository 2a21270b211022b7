// Questions to the server, with the types of its own description.
import type { components, paths } from './description';

export type Schemas = components['schemas'];

// The addresses that can be read without anything filled in.
export type Address = {
  [P in keyof paths]: P extends `${string}{${string}` ? never : Read<P> extends never ? never : P;
}[keyof paths];

export type Read<P extends keyof paths> = paths[P] extends {
  get: { responses: { 200: { content: { 'application/json': infer Body } } } };
}
  ? Body
  : never;

// `sentence` is for a person; `status` is 0 when no answer came.
export type Answer<Body> =
  { ok: true; body: Body } | { ok: false; status: number; sentence: string };

// The addresses that something can be made at.
export type Target = {
  [P in keyof paths]: P extends `${string}{${string}` ? never : Sent<P> extends never ? never : P;
}[keyof paths];

export type Sent<P extends keyof paths> = paths[P] extends {
  post: { requestBody: { content: { 'application/json': infer Body } } };
}
  ? Body
  : never;

export type Made<P extends keyof paths> = paths[P] extends {
  post: { responses: infer Responses };
}
  ? JsonOf<Responses[keyof Responses & (200 | 201)]>
  : never;

type JsonOf<Given> = Given extends { content: { 'application/json': infer Body } } ? Body : never;

export function ask<P extends Address>(
  address: P,
  fetched: typeof fetch = fetch,
): Promise<Answer<Read<P>>> {
  return answerTo(fetched(address, { headers: { Accept: 'application/json' } }));
}

export function send<P extends Target>(
  address: P,
  body: Sent<P>,
  fetched: typeof fetch = fetch,
): Promise<Answer<Made<P>>> {
  const headers = { 'Content-Type': 'application/json' };
  return answerTo(fetched(address, { method: 'POST', headers, body: JSON.stringify(body) }));
}

async function answerTo<Body>(asked: Promise<Response>): Promise<Answer<Body>> {
  try {
    const response = await asked;
    if (response.ok) return { ok: true, body: (await response.json()) as Body };
    return { ok: false, status: response.status, sentence: await refusal(response) };
  } catch {
    return { ok: false, status: 0, sentence: 'The server does not answer.' };
  }
}

// What stands in front of the server may refuse in words of its own.
async function refusal(response: Response): Promise<string> {
  if (response.headers.get('Content-Type') !== 'application/problem+json')
    return `The server answered with status ${response.status}.`;
  return ((await response.json()) as Schemas['Problem']).detail;
}
