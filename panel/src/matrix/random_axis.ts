// For tests: axes of any make.
import { below, type Chance } from '../live/history';
import { layOut, type Axis, type Group } from './axis';

export function randomAxis(chance: Chance): Axis {
  let next = 0;
  const groups = Array.from({ length: 1 + below(chance, 8) }, (_, i): Group => {
    const members = Array.from({ length: 1 + below(chance, 20) }, () => next++);
    return {
      name: `G ${i}`,
      members: members.filter(() => chance() < 0.8),
      folded: chance() < 0.25,
    };
  });
  const member = [12, 24, 32, 44][below(chance, 4)] ?? 32;
  return layOut([...groups, { name: 'last', members: [next], folded: false }], {
    band: chance() < 0.5 ? 0 : 24,
    member,
    folded: 24,
  });
}
