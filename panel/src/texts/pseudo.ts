// A language for tests: 40 % longer than English, in letters that English lacks, so that what is cut
// off, glued together or not in the catalogue shows.
import { english } from './english';
import type { Catalogue, TextKey } from './speech';
import type { Template } from './template';

export const LONGER = 1.4;

const PLAIN = 'aceinouyACEINOUY';
const CHANGED = 'áçéîñöüýÁÇÉÎÑÖÜÝ';

function changeLetters(text: string): string {
  return text.replace(/[aceinouy]/gi, (each) => CHANGED.charAt(PLAIN.indexOf(each)));
}

export function pseudo(text: string): string {
  const changed = text
    .split(/(\{\w+\})/)
    .map((part) => (part.startsWith('{') ? part : changeLetters(part)))
    .join('');
  const letters = text.replace(/\{\w+\}/g, '').length;
  const missing = Math.max(2, Math.ceil(letters * (LONGER - 1)));
  return `[${changed}${'~'.repeat(missing - 2)}]`;
}

function pseudoTemplate(template: Template): Template {
  if (typeof template === 'string') return pseudo(template);
  const forms = Object.entries(template).map(([form, text]) => [form, pseudo(text)]);
  return Object.fromEntries(forms) as Template;
}

export const pseudoLanguage = Object.fromEntries(
  Object.entries(english).map(([key, template]) => [key, pseudoTemplate(template)]),
) as Record<TextKey, Template> satisfies Catalogue;
