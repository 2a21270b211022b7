import { expect, test } from 'vitest';

import type { Answer, Schemas } from '../api/ask';
import { visitOf } from './session';

const version = (demonstration: boolean): Answer<Schemas['Version']> => ({
  ok: true,
  body: {
    version: '1.0.0',
    api: 'v1',
    instance: 'A',
    started: '2026-11-22T14:00:00Z',
    demonstration,
  },
});
const body: Schemas['Session'] = {
  person: { id: 'ana', name: 'Ana K.' },
  origin: 'panel',
  rights: { usual: 'view', exceptions: {} },
  demonstration: false,
};
const expires = '2026-11-23T02:00:00Z';
const refused = { ok: false, status: 401, sentence: 'Sign in first.' } as const;
const silent = { ok: false, status: 0 } as const;

test('somebody is whoever has a session', () => {
  const session = { ...body, expires };
  expect(visitOf(version(false), { ok: true, body: session })).toEqual({ is: 'somebody', session });
  expect(visitOf(version(true), { ok: true, body: session })).toEqual({ is: 'somebody', session });
});

test('nobody is signed in: the password is asked for where there are some', () => {
  expect(visitOf(version(false), refused)).toEqual({ is: 'nobody', needsPassword: true });
  expect(visitOf(version(true), refused)).toEqual({ is: 'nobody', needsPassword: false });
});

test('the guest of a demonstration is asked for a name', () => {
  expect(visitOf(version(true), { ok: true, body })).toEqual({
    is: 'nobody',
    needsPassword: false,
  });
});

test('a server that is away does not count as signed out', () => {
  expect(visitOf(silent, refused)).toEqual({ is: 'away', refusal: silent });
  expect(visitOf(version(false), silent)).toEqual({ is: 'away', refusal: silent });
});
