import { svelte } from '@sveltejs/vite-plugin-svelte';
import { defineConfig } from 'vitest/config';

export default defineConfig({
  plugins: [svelte()],
  build: {
    target: 'es2022',
    assetsInlineLimit: 0, // nothing comes from "data:", which the page may not use
    modulePreload: { polyfill: false },
    reportCompressedSize: false,
  },
  test: { include: ['src/**/*.test.ts', 'delivery/**/*.test.js'], passWithNoTests: false },
});
