import { defineConfig } from 'vitest/config';

export default defineConfig({
  test: {
    include: ['browser/bench.ts'],
    testTimeout: 900_000,
    hookTimeout: 300_000,
    disableConsoleIntercept: true, // what is printed is what it is for
    reporters: ['dot'],
  },
});
