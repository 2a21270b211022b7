// The salvo at hand, as it is read, edited, saved and deleted. What is edited is not lost to what comes
// meanwhile. It owns the present record.
import type { Refusal } from '../api/ask';
import type { command } from '../api/command';
import type { read } from '../api/read';
import { save, type Basis } from '../api/save';
import { draftOf, EMPTY_DRAFT, isSameDraft, wanted, type Draft, type Salvo } from './draft';

export type Said =
  | { readonly is: 'nothing' | 'reading' | 'asking' | 'saved' | 'meanwhile' }
  | { readonly is: 'version'; readonly version: number } // what is shown of older ones
  | { readonly is: 'refused'; readonly refusal: Refusal; readonly name: string };
export type Kept = {
  readonly basis: Basis<Salvo> | undefined; // none: it is not saved yet
  readonly draft: Draft;
  readonly said: Said;
};
export type Keeper = {
  readonly open: () => Promise<void>;
  readonly show: (version: number) => Promise<void>;
  readonly edit: (draft: Draft) => void;
  readonly save: () => Promise<string | undefined>; // its id
  readonly remove: () => Promise<boolean>;
};

export const NOT_READ: Kept = { basis: undefined, draft: EMPTY_DRAFT, said: { is: 'nothing' } };

export function isChanged({ basis, draft }: Kept): boolean {
  return !isSameDraft(draft, basis === undefined ? EMPTY_DRAFT : draftOf(basis.value));
}

const PATH = '/api/v1/salvos/{salvo}';

// `id`: none for a new one.
export function openKeeper(
  id: string | undefined,
  ask: typeof read,
  send: typeof command,
  newKey: () => string,
  tell: (kept: Kept) => void,
): Keeper {
  let kept = NOT_READ;
  const at = { salvo: id ?? '' };
  const reading = () => ask(PATH, { at });

  function set(change: Partial<Kept>): void {
    kept = { ...kept, ...change };
    tell(kept);
  }
  function refuse(refusal: Refusal): void {
    set({ said: { is: 'refused', refusal, name: kept.draft.name.trim() } });
  }

  async function open(): Promise<void> {
    if (id === undefined) return;
    const { said } = kept;
    if (said.is === 'nothing') set({ said: { is: 'reading' } });
    const found = await reading();
    if (!found.ok) refuse(found);
    else if (kept.basis !== undefined && isChanged(kept)) set({ said: { is: 'meanwhile' } });
    else
      set({
        basis: { value: found.body, tag: found.tag },
        draft: draftOf(found.body),
        said: { is: 'nothing' },
      });
  }

  async function show(version: number): Promise<void> {
    const found = await ask(PATH, { at, query: { version: String(version) } });
    if (!found.ok) refuse(found);
    else set({ draft: draftOf(found.body), said: { is: 'version', version } });
  }

  async function add(): Promise<string | undefined> {
    const body = wanted(kept.draft);
    const answer = await send('post', '/api/v1/salvos', { at: {}, body, key: newKey() });
    if (!answer.ok) {
      refuse(answer);
      return undefined;
    }
    return answer.body.id;
  }

  // Saved again after something came meanwhile, it is saved over that.
  async function replace(basis: Basis<Salvo>): Promise<string | undefined> {
    const { draft } = kept;
    const isSame = (a: Salvo, b: Salvo) => isSameDraft(draftOf(a), draftOf(b));
    const done = await save(basis, isSame, reading, (tag) =>
      send('put', PATH, { at, body: wanted(draft), key: newKey(), tag }),
    );
    if (done.is === 'refused') refuse(done.refusal);
    if (done.is === 'changed') set({ basis: done.found, said: { is: 'meanwhile' } });
    if (done.is !== 'saved') return undefined;
    const found = await reading();
    if (!found.ok) {
      refuse(found);
      return undefined;
    }
    set({
      basis: { value: found.body, tag: found.tag },
      draft: kept.draft === draft ? draftOf(found.body) : kept.draft, // edited while it was saved
      said: { is: 'saved' },
    });
    return id;
  }

  async function remove(): Promise<boolean> {
    const answer = await send('delete', PATH, { at, body: undefined, key: newKey() });
    if (!answer.ok) refuse(answer);
    return answer.ok;
  }

  return {
    open,
    show,
    edit: (draft) => {
      set({ draft, said: { is: 'nothing' } });
    },
    save: async () => {
      if (kept.said.is === 'asking') return undefined;
      set({ said: { is: 'asking' } });
      return kept.basis === undefined ? await add() : await replace(kept.basis);
    },
    remove,
  };
}
