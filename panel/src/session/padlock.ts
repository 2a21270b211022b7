// The padlock of this screen: a press locks; held for a while, it opens.
export const HOLD = 1000; // ms

export type Padlock = {
  readonly down: () => void;
  readonly up: () => void;
  readonly click: () => void; // what a browser makes of the two
};

// `refuse`: it was pressed while locked, and not held.
export function padlock(
  isLocked: () => boolean,
  set: (isLocked: boolean) => void,
  refuse: () => void,
): Padlock {
  let timer: ReturnType<typeof setTimeout> | undefined;
  let hasOpened = false; // in this press: its click locks nothing again

  return {
    down: () => {
      hasOpened = false;
      if (!isLocked()) return;
      timer = setTimeout(() => {
        hasOpened = true;
        set(false);
      }, HOLD);
    },
    up: () => {
      clearTimeout(timer);
    },
    click: () => {
      if (hasOpened) return;
      if (isLocked()) refuse();
      else set(true);
    },
  };
}
