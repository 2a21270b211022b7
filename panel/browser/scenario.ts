// A router that is deaf to takes and to questions for routes once it is told "on deaf".
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

const STEPS = ['TI', 'QI'].map((request) => ({ name: 'deaf', off: true, request, fault: 'lose' }));

export function writeScenario(folder: string): string {
  const file = join(folder, 'scenario.json');
  writeFileSync(file, JSON.stringify({ steps: STEPS }));
  return file;
}
