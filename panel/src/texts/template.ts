// Texts with places for values: "{name}" stands for one. A counted text has a form for each plural
// that its language knows, chosen by its value `n`.

export type Counted = { readonly other: string } & Readonly<
  Partial<Record<Intl.LDMLPluralRule, string>>
>;
export type Template = string | Counted;

type PlacesIn<T extends string> = T extends `${string}{${infer Name}}${infer Rest}`
  ? Name | PlacesIn<Rest>
  : never;

export type Places<T extends Template> = T extends string
  ? PlacesIn<T>
  : 'n' | PlacesIn<Extract<T[keyof T], string>>;

// `n` is a number, as it chooses the form.
export type Values<T extends Template> = {
  readonly [Name in Places<T>]: Name extends 'n' ? number : string | number;
};

export function fill(
  template: Template,
  values: Readonly<Record<string, string | number>>,
  plurals: Intl.PluralRules,
): string {
  const form =
    typeof template === 'string'
      ? template
      : (template[plurals.select(Number(values.n))] ?? template.other);
  return form.replace(/\{(\w+)\}/g, (place, name: string) => String(values[name] ?? place));
}
