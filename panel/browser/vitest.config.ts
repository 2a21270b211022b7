import { defineConfig } from 'vitest/config';

export default defineConfig({
  test: {
    include: ['browser/**/*.test.ts'],
    testTimeout: 900_000, // only a hang lasts that long
    hookTimeout: 300_000,
    teardownTimeout: 60_000,
    maxWorkers: 2, // a browser each
    minWorkers: 1,
  },
});
