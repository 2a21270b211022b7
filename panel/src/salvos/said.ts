// What came of editing a salvo, in words.
import { refusalWords } from '../api/refusal';
import type { Say, Speech } from '../texts/speech';
import type { Draft } from './draft';
import type { Said } from './keeper';

export function saidWords({ say }: Speech, said: Said): string {
  switch (said.is) {
    case 'nothing':
      return '';
    case 'reading':
      return say('reading');
    case 'asking':
      return say('oneMoment');
    case 'saved':
      return say('saved');
    case 'meanwhile':
      return say('savedMeanwhile');
    case 'version':
      return say('versionShown', { version: said.version });
    case 'refused':
      return said.refusal.code === 'nameTaken'
        ? say('salvoTaken', { salvo: said.name })
        : refusalWords(say, said.refusal);
  }
}

// Why it cannot be saved as it is; empty when it can.
export function unsavable(say: Say, { name, rows }: Draft): string {
  if (name.trim() === '') return say('nameFirst');
  return rows.length === 0 ? say('rowsFirst') : '';
}
