import { vitePreprocess } from '@sveltejs/vite-plugin-svelte';

export default {
  preprocess: vitePreprocess(),
  // Elements are made one by one: the browser lets nothing make them from text.
  compilerOptions: { runes: true, fragments: 'tree' },
};
