import { expect, test } from 'vitest';

import { merged, personChange, personForm, type PersonForm } from './person';

const ben: PersonForm = {
  name: 'Ben L.',
  rights: { usual: 'view', exceptions: { r1: 'operate' } },
  disabled: false,
};
const engineer = { usual: 'engineer', exceptions: {} } as const;

test('a record is edited without what cannot be set', () => {
  const record = { ...ben, id: 'ben', created: '2026-11-22T14:05:31.447Z' };
  expect(personForm(record)).toEqual(ben);
});

test('only what is different is sent', () => {
  expect(personChange(ben, { ...ben, rights: { ...ben.rights } })).toBeUndefined();
  expect(personChange(ben, { ...ben, name: 'Ben' })).toEqual({ name: 'Ben' });
  expect(personChange(ben, { ...ben, rights: engineer, disabled: true })).toEqual({
    rights: engineer,
    disabled: true,
  });
});

test('what was written outlives the change of somebody else', () => {
  const found = { ...ben, name: 'Benjamin L.', disabled: true };
  expect(merged(ben, { ...ben, rights: engineer }, found)).toEqual({ ...found, rights: engineer });
});
