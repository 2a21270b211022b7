// The width of the row headers, in CSS pixels, as people drag it.
export const HEADER = { least: 200, most: 480, usual: 292 } as const;
const BY_KEY = 16;

export function headerWidth(wanted: number): number {
  return Math.round(Math.max(HEADER.least, Math.min(wanted, HEADER.most)));
}

// None where the key is not for it.
export function widthByKey(width: number, key: string): number | undefined {
  if (key === 'ArrowLeft') return headerWidth(width - BY_KEY);
  return key === 'ArrowRight' ? headerWidth(width + BY_KEY) : undefined;
}
