import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { brotliDecompressSync, gunzipSync } from 'node:zlib';

import { afterEach, beforeEach, expect, test } from 'vitest';

import { embed, formsOf, tagOf } from './embed.js';

let folder = '';

beforeEach(() => {
  folder = mkdtempSync(join(tmpdir(), 'embed-'));
  mkdirSync(join(folder, 'dist/assets'), { recursive: true });
  writeFileSync(join(folder, 'dist/index.html'), 'text '.repeat(100));
  writeFileSync(join(folder, 'dist/assets/a.woff2'), 'short');
});

afterEach(() => {
  rmSync(folder, { recursive: true });
});

/** @param {string} name */
const written = (name) => readFileSync(join(folder, 'out', name));

test('compresses what is worth it', () => {
  const bytes = Buffer.from('text '.repeat(100));
  const [plain, gzip, brotli] = formsOf(bytes).map((form) => form.bytes);
  expect(plain).toEqual(bytes);
  expect(gunzipSync(gzip ?? '')).toEqual(bytes);
  expect(brotliDecompressSync(brotli ?? '')).toEqual(bytes);
  expect(formsOf(Buffer.from('short')).map((form) => form.suffix)).toEqual(['plain']);
});

test('tags differ when contents do', () => {
  expect(tagOf(Buffer.from('a'))).toMatch(/^[0-9a-f]{24}$/);
  expect(tagOf(Buffer.from('a'))).not.toBe(tagOf(Buffer.from('b')));
});

test('writes a table of all files with the lengths of their forms', () => {
  embed(join(folder, 'dist'), join(folder, 'out'));
  const rows = written('panel_files.cpp')
    .toString()
    .split('\n')
    .filter((line) => line.startsWith('    {"'));
  const length = (/** @type {string} */ name) => written(`files/${name}`).length;
  expect(rows).toEqual([
    `    {"assets/a.woff2", "${tagOf(Buffer.from('short'))}", {panel_0_plain, 5}, {}, {}},`,
    `    {"index.html", "${tagOf(Buffer.from('text '.repeat(100)))}", {panel_1_plain, 500}, ` +
      `{panel_1_gzip, ${length('panel_1_gzip')}}, {panel_1_brotli, ${length('panel_1_brotli')}}},`,
  ]);
  expect(written('panel_files.S').toString()).toContain(
    `panel_1_brotli:\n    .incbin "${join(folder, 'out/files/panel_1_brotli')}"\n`,
  );
});

test('the same page gives the same bytes', () => {
  embed(join(folder, 'dist'), join(folder, 'out'));
  const names = ['panel_files.S', 'panel_files.cpp', 'files/panel_1_gzip', 'files/panel_1_brotli'];
  const first = names.map(written);
  rmSync(join(folder, 'out'), { recursive: true });
  embed(join(folder, 'dist'), join(folder, 'out'));
  expect(names.map(written)).toEqual(first);
});
