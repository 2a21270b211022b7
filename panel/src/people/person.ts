// A person, as administrators edit one.
import type { Schemas } from '../api/ask';
import { areSameRights, type Rights } from './rights';

export type PersonForm = {
  name: string;
  rights: Rights;
  disabled: boolean;
};

export function personForm({ name, rights, disabled }: Schemas['PersonRecord']): PersonForm {
  return { name, rights, disabled };
}

// What is different; none when nothing is.
export function personChange(from: PersonForm, to: PersonForm): Partial<PersonForm> | undefined {
  const change = {
    ...(from.name === to.name ? {} : { name: to.name }),
    ...(areSameRights(from.rights, to.rights) ? {} : { rights: to.rights }),
    ...(from.disabled === to.disabled ? {} : { disabled: to.disabled }),
  };
  return Object.keys(change).length === 0 ? undefined : change;
}

// When somebody else has changed it meanwhile: what was written stays, all else is as it was found.
export function merged(from: PersonForm, written: PersonForm, found: PersonForm): PersonForm {
  return { ...found, ...personChange(from, written) };
}
