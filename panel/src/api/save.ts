// Saves over what was read, unless somebody else has changed it meanwhile. A tag also changes with
// what is not edited here, such as routes: then what is edited is compared, and it is tried again.
import type { Answer, Refusal } from './ask';
import type { Found } from './read';

export type Basis<T> = { readonly value: T; readonly tag: string };
export type Saved<T, R> =
  | { readonly is: 'saved'; readonly body: R }
  | { readonly is: 'changed'; readonly found: Basis<T> }
  | { readonly is: 'refused'; readonly refusal: Refusal };

const ATTEMPTS = 5;
const CHANGED_MEANWHILE = 412;

export async function save<T, R>(
  basis: Basis<T>,
  isSame: (a: T, b: T) => boolean,
  read: () => Promise<Found<T>>,
  write: (tag: string) => Promise<Answer<R>>,
): Promise<Saved<T, R>> {
  let { tag } = basis;
  for (let attempt = 1; ; attempt += 1) {
    const answer = await write(tag);
    if (answer.ok) return { is: 'saved', body: answer.body };
    if (answer.status !== CHANGED_MEANWHILE || attempt === ATTEMPTS)
      return { is: 'refused', refusal: answer };
    const found = await read();
    if (!found.ok) return { is: 'refused', refusal: found };
    if (!isSame(basis.value, found.body))
      return { is: 'changed', found: { value: found.body, tag: found.tag } };
    tag = found.tag;
  }
}
