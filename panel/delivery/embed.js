// Makes what the assembler and the compiler put into the server of a built page:
//   node embed.js DIST FOLDER
// writes FOLDER/files/*, the files as they are sent, FOLDER/panel_files.S, their bytes, and
// FOLDER/panel_files.cpp, the table of them (server/web/panel_file.h). The same page gives the same
// bytes, whenever and wherever it is built.
import { createHash } from 'node:crypto';
import { mkdirSync, readdirSync, readFileSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { join, sep } from 'node:path';
import { pathToFileURL } from 'node:url';
import { brotliCompressSync, constants, gzipSync } from 'node:zlib';

const WORTH_IT = 0.9; // of the length; fonts and pictures are compressed already

/** @typedef {{ suffix: string, bytes: Buffer }} Form how a file can be sent */

/** @param {Buffer} bytes @returns {Form[]} in the table's order */
export function formsOf(bytes) {
  const gzip = gzipSync(bytes, { level: 9 });
  const plain = { suffix: 'plain', bytes };
  if (gzip.length > bytes.length * WORTH_IT) return [plain];
  const brotli = brotliCompressSync(bytes, {
    params: {
      [constants.BROTLI_PARAM_QUALITY]: constants.BROTLI_MAX_QUALITY,
      [constants.BROTLI_PARAM_SIZE_HINT]: bytes.length,
    },
  });
  return [plain, { suffix: 'gzip', bytes: gzip }, { suffix: 'brotli', bytes: brotli }];
}

/** @param {Buffer} bytes */
export function tagOf(bytes) {
  return createHash('sha256').update(bytes).digest('hex').slice(0, 24);
}

/** @param {string} folder @returns {string[]} of all files below it, with "/", sorted */
function pathsBelow(folder) {
  return readdirSync(folder, { recursive: true, encoding: 'utf8' })
    .filter((path) => statSync(join(folder, path)).isFile())
    .map((path) => path.split(sep).join('/'))
    .sort();
}

/** @param {string} dist @param {string} folder */
export function embed(dist, folder) {
  const assembly = ['    .section .rodata'];
  const declared = [];
  const rows = [];
  rmSync(join(folder, 'files'), { recursive: true, force: true });
  mkdirSync(join(folder, 'files'), { recursive: true });
  for (const [index, path] of pathsBelow(dist).entries()) {
    const bytes = readFileSync(join(dist, path));
    const views = [];
    for (const form of formsOf(bytes)) {
      const name = `panel_${index}_${form.suffix}`;
      const file = join(folder, 'files', name);
      writeFileSync(file, form.bytes);
      assembly.push(`    .global ${name}`, `${name}:`, `    .incbin ${JSON.stringify(file)}`);
      declared.push(`extern "C" const char ${name}[];`);
      views.push(`{${name}, ${form.bytes.length}}`);
    }
    while (views.length < 3) views.push('{}');
    rows.push(`    {${JSON.stringify(path)}, "${tagOf(bytes)}", ${views.join(', ')}},`);
  }
  assembly.push('    .section .note.GNU-stack, "", @progbits', '');
  writeFileSync(join(folder, 'panel_files.S'), assembly.join('\n'));
  const table = [
    '#include "server/web/panel_file.h"',
    '',
    ...declared,
    'namespace {',
    'const web::panel_file FILES[] = {',
    ...rows,
    '};',
    '}',
    'std::span<const web::panel_file> web::panel_files()',
    '{',
    '    return FILES;',
    '}',
    '',
  ];
  writeFileSync(join(folder, 'panel_files.cpp'), table.join('\n'));
}

const [, self, dist, folder] = process.argv;
if (self !== undefined && import.meta.url === pathToFileURL(self).href) {
  if (dist === undefined || folder === undefined) throw new Error('embed.js DIST FOLDER');
  embed(dist, folder);
}
