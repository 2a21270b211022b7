// Whether an answer is like the example of it: the same but for what differs from run to run. Members
// may be added; of a list the example may show some, in their order.
"use strict";

const IDENTIFIER = /(?:[0-7][0-9A-HJKMNP-TV-Z]{25}|rc_[0-9A-Za-z_-]{43})(?![0-9A-Za-z_-])/g;
const TIME = /\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z/g;
const DIFFERENT_NUMBERS = /^(.*Ms|revision|previous|port|times|retryAfter|uptimeSeconds|.*(B|b)ytes|sent|received|number)$/;
const DIFFERENT_LISTS = /^warnings$/;
const DIFFERENT_TEXTS = /^(version|next|timeZone)$/;

// What identifiers of the examples stand for here.
class Names {
    constructor() { this.real = new Map(); }
    // The first meeting decides.
    same(example, real) {
        if (!this.real.has(example)) this.real.set(example, real);
        return this.real.get(example) === real;
    }
    // The example's text with what they stand for.
    filled(text) { return text.replace(IDENTIFIER, (one) => this.real.get(one) ?? one); }
}

const parts = (text, pattern) => text.match(pattern) ?? [];
const PORT = /(?<=127\.0\.0\.1:)\d+/g;
const rest = (text) => text.replace(IDENTIFIER, "ID").replace(TIME, "TIME").replace(PORT, "PORT");

function text_differs(example, real, names) {
    if (rest(example) !== rest(real)) return true;
    const ours = parts(real, IDENTIFIER);
    return parts(example, IDENTIFIER).some((one, at) => !names.same(one, ours[at]));
}

// A sentence about the first difference; undefined when there is none.
function difference(example, real, names, where = "") {
    const name = where.slice(where.lastIndexOf("/") + 1);
    const told = () => `${where || "the body"} is ${JSON.stringify(real)}, not ${JSON.stringify(example)}`;
    if (example === null || typeof example === "boolean") return example === real ? undefined : told();
    if (typeof example !== typeof real || real === null || Array.isArray(example) !== Array.isArray(real))
        return told();
    if (typeof example === "number")
        return DIFFERENT_NUMBERS.test(name) || example === real || example > 1e12 ? undefined : told();
    if (typeof example === "string")
        return DIFFERENT_TEXTS.test(name) || !text_differs(example, real, names) ? undefined : told();
    if (Array.isArray(example) && DIFFERENT_LISTS.test(name)) return undefined;
    if (Array.isArray(example)) return list_difference(example, real, names, where);
    for (const [key, value] of Object.entries(example)) {
        if (!(key in real)) return `${where}/${key} is missing`;
        const found = difference(value, real[key], names, `${where}/${key}`);
        if (found) return found;
    }
    return undefined;
}

function list_difference(example, real, names, where) {
    let at = 0;
    for (const [index, one] of example.entries()) {
        let first;
        for (; at < real.length; ++at) {
            const tried = Object.assign(new Names(), { real: new Map(names.real) });
            const found = difference(one, real[at], tried, `${where}/${index}`);
            if (!found) { names.real = tried.real; break; }
            first ??= found;
        }
        if (at++ === real.length) return first ?? `${where}/${index} is missing`;
    }
    return example.length === 0 && real.length > 0 ? `${where} is not empty: ${JSON.stringify(real)}` : undefined;
}

module.exports = { Names, difference };
