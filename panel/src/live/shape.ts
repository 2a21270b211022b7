// Says of a value from outside whether it has the shape that is expected: undefined when it has, else
// where it has not, as a path such as ".rows[3].destination". Members that are not named are passed
// over, as a newer server may have added them.

export type Shape = (value: unknown) => string | undefined;

const when =
  (holds: (value: unknown) => boolean): Shape =>
  (value) =>
    holds(value) ? undefined : '';

export const text = when((value) => typeof value === 'string');
export const flag = when((value) => typeof value === 'boolean');
export const figure = when((value) => typeof value === 'number' && Number.isFinite(value));
export const count = when((value) => Number.isSafeInteger(value) && Number(value) >= 0);
export const time = when((value) => typeof value === 'string' && !Number.isNaN(Date.parse(value)));
export const index = when(
  (value) => Number.isInteger(value) && Number(value) >= 0 && Number(value) < 1024,
);

export const exactly = (wanted: unknown): Shape => when((value) => value === wanted);

export const either =
  (...shapes: readonly Shape[]): Shape =>
  (value) =>
    shapes.some((shape) => shape(value) === undefined) ? undefined : '';

export const nullOr =
  (shape: Shape): Shape =>
  (value) =>
    value === null ? undefined : shape(value);

export const absentOr =
  (shape: Shape): Shape =>
  (value) =>
    value === undefined ? undefined : shape(value);

export const listOf =
  (shape: Shape): Shape =>
  (value) => {
    if (!Array.isArray(value)) return '';
    for (const [i, each] of value.entries()) {
      const wrong = shape(each);
      if (wrong !== undefined) return `[${i}]${wrong}`;
    }
    return undefined;
  };

// A list with one place for each shape, and no others.
export const row =
  (...shapes: readonly Shape[]): Shape =>
  (value) => {
    if (!Array.isArray(value) || value.length !== shapes.length) return '';
    for (const [i, shape] of shapes.entries()) {
      const wrong = shape(value[i]);
      if (wrong !== undefined) return `[${i}]${wrong}`;
    }
    return undefined;
  };

function isRecord(value: unknown): value is Record<string, unknown> {
  return typeof value === 'object' && value !== null && !Array.isArray(value);
}

export const record =
  (members: Readonly<Record<string, Shape>>): Shape =>
  (value) => {
    if (!isRecord(value)) return '';
    for (const [name, shape] of Object.entries(members)) {
      const wrong = shape(Object.hasOwn(value, name) ? value[name] : undefined);
      if (wrong !== undefined) return `.${name}${wrong}`;
    }
    return undefined;
  };

export const eachMember =
  (shape: Shape): Shape =>
  (value) => {
    if (!isRecord(value)) return '';
    for (const [name, each] of Object.entries(value)) {
      const wrong = shape(each);
      if (wrong !== undefined) return `.${name}${wrong}`;
    }
    return undefined;
  };
