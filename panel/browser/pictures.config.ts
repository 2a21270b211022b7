import { defineConfig } from 'vitest/config';

export default defineConfig({
  test: { include: ['browser/pictures.ts'], testTimeout: 900_000, hookTimeout: 300_000 },
});
