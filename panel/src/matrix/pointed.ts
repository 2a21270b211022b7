// On which lines of the axes the pointer is.
import type { Pointed } from './grid';

export function pointedLines(pointed: Pointed): { destination?: number; source?: number } {
  switch (pointed.area) {
    case 'crosspoint':
      return { destination: pointed.destination, source: pointed.source };
    case 'noSource':
    case 'destination':
      return { destination: pointed.line };
    case 'source':
      return { source: pointed.line };
    case 'noSourceHead':
    case 'corner':
    case 'outside':
      return {};
  }
}
