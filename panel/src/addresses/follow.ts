// Which links this page follows by itself.
import { readAddress, type Address } from './address';

export type Press = Pick<
  MouseEvent,
  'button' | 'altKey' | 'ctrlKey' | 'metaKey' | 'shiftKey' | 'defaultPrevented'
>;

// The screen that a press on a link leads to; none where the browser has to follow it: into another
// tab or window, to another site, to what is no screen, to a place in this one.
export function screenBehind(press: Press, link: string, here: string): Address | undefined {
  const { button, altKey, ctrlKey, metaKey, shiftKey, defaultPrevented } = press;
  if (button !== 0 || altKey || ctrlKey || metaKey || shiftKey || defaultPrevented)
    return undefined;
  const to = new URL(link, here);
  if (to.origin !== new URL(here).origin || to.hash !== '') return undefined;
  return readAddress(to.pathname, to.search);
}
