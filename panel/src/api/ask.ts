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

// `sentence` is the server's own, if it has said one, and `code` tells it from others; `status` is 0
// when no answer came; `wait`: s, before it would listen again.
export type Refusal = {
  ok: false;
  status: number;
  sentence?: string;
  code?: string;
  wait?: number;
};
export type Answer<Body> = { ok: true; body: Body } | Refusal;

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

// The addresses that something can be ended at, which gives nothing back.
export type Endable = {
  [P in keyof paths]: P extends `${string}{${string}`
    ? never
    : paths[P] extends { delete: { responses: { 204: unknown } } }
      ? P
      : never;
}[keyof paths];

export async function end(
  address: Endable,
  fetched: typeof fetch = fetch,
): Promise<Answer<undefined>> {
  try {
    const response = await fetched(address, { method: 'DELETE' });
    return response.ok ? { ok: true, body: undefined } : await refusal(response);
  } catch {
    return { ok: false, status: 0 };
  }
}

export async function answerTo<Body>(asked: Promise<Response>): Promise<Answer<Body>> {
  try {
    const response = await asked;
    if (response.status === 204) return { ok: true, body: undefined as Body };
    if (response.ok) return { ok: true, body: (await response.json()) as Body };
    return await refusal(response);
  } catch {
    return { ok: false, status: 0 };
  }
}

// What stands in front of the server may refuse in words of its own: those are not for people.
export async function refusal(response: Response): Promise<Refusal> {
  const { status } = response;
  if (response.headers.get('Content-Type') !== 'application/problem+json')
    return { ok: false, status };
  const { detail, code } = (await response.json()) as Partial<Schemas['Problem']>;
  const wait = Number(response.headers.get('Retry-After') ?? 0);
  return {
    ok: false,
    status,
    ...(detail === undefined ? {} : { sentence: detail }),
    ...(code === undefined ? {} : { code }),
    ...(wait > 0 ? { wait } : {}),
  };
}
