// Reads what is at an address with places in it, and the tag by which it can be changed later: only
// as long as it is still the same.
import { refusal, type Read, type Refusal } from './ask';
import type { paths } from './description';

export type Found<Body> = { ok: true; body: Body; tag: string } | Refusal;
export type Where = {
  readonly at?: Readonly<Record<string, string | number>>;
  readonly query?: Readonly<Record<string, string>>;
};
export type Readable = {
  [P in keyof paths]: [Read<P>] extends [never] ? never : P;
}[keyof paths];

export function locate(pattern: string, { at, query }: Where): string {
  const path = pattern.replace(/\{(\w+)\}/g, (place, name: string) =>
    encodeURIComponent(at?.[name] ?? place),
  );
  const search = new URLSearchParams(query).toString();
  return search === '' ? path : `${path}?${search}`;
}

export async function read<P extends Readable>(
  pattern: P,
  where: Where,
  fetched: typeof fetch = fetch,
): Promise<Found<Read<P>>> {
  try {
    const address = locate(pattern, where);
    const response = await fetched(address, { headers: { Accept: 'application/json' } });
    if (!response.ok) return await refusal(response);
    const body = (await response.json()) as Read<P>;
    return { ok: true, body, tag: response.headers.get('ETag') ?? '' };
  } catch {
    return { ok: false, status: 0 };
  }
}
