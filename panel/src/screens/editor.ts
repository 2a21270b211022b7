// The screen Salvos, as the frame around it sees it.
export type Editor = {
  readonly hasUnsaved: () => boolean;
  readonly leaving: (go: () => void) => void; // goes at once, or when it was asked
};
