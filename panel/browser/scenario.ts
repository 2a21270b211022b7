// A router that answers no such requests once it is told "on deaf".
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

export function deafTo(requests: readonly string[], folder: string): readonly string[] {
  const file = join(folder, 'scenario.json');
  const steps = requests.map((request) => ({ name: 'deaf', off: true, request, fault: 'lose' }));
  writeFileSync(file, JSON.stringify({ steps }));
  return ['--scenario', file];
}
