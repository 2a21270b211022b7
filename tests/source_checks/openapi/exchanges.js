// The exchanges that the description's examples make up (rules.js), in the document's order.
"use strict";

const METHODS = ["get", "put", "post", "delete", "patch"];

const follow = (root, node) =>
    node?.$ref
        ? node.$ref.slice(2).split("/").reduce((at, key) => at?.[key.replace("~1", "/")], root)
        : node;

// The example of this name; else, of what is required, the first; else nothing.
const example_of = (root, holder, name, required) => {
    const examples = holder.examples ?? {};
    const chosen = examples[name] ?? (required ? Object.values(examples)[0] : undefined);
    return chosen === undefined ? undefined : follow(root, chosen).value;
};

function request_of(root, path, method, parameters, body, name) {
    const request = { method: method.toUpperCase(), path, query: [], headers: {}, body: undefined };
    for (const one of parameters) {
        const value = example_of(root, one, name, one.required ?? false);
        if (value === undefined) continue;
        const text = Array.isArray(value) ? value.join(",") : String(value);
        if (one.in === "path") request.path = request.path.replace(`{${one.name}}`, encodeURIComponent(text));
        if (one.in === "query") request.query.push([one.name, text]);
        if (one.in === "header") request.headers[one.name.toLowerCase()] = text;
    }
    const [type, media] = Object.entries(body?.content ?? {})[0] ?? [];
    if (media) {
        request.body = example_of(root, media, name, body.required ?? false);
        if (request.body !== undefined) request.headers["content-type"] = type;
    }
    return request;
}

function* of_operation(root, path, item, method) {
    const operation = item[method];
    const given = [...(operation.parameters ?? []), ...(item.parameters ?? [])].map((one) => follow(root, one));
    const parameters = given.filter((one, at) =>
        given.findIndex((other) => other.name === one.name && other.in === one.in) === at);
    const body = follow(root, operation.requestBody);
    const holders = [...parameters, ...Object.values(body?.content ?? {})];
    for (const [status, told] of Object.entries(operation.responses)) {
        const response = follow(root, told);
        const [type, media] = Object.entries(response.content ?? {})[0] ?? [];
        const named = [...Object.entries(media?.examples ?? {}),
                       ...(response["x-exchanges"] ?? []).map((name) => [name, {}])];
        for (const [name, reference] of named) {
            const example = follow(root, reference);
            // What many operations share shows what such an answer looks like.
            const asked = holders.some((one) => one.examples?.[name]);
            const not_replayed = response["x-not-replayed"] ?? example["x-not-replayed"];
            if ((told.$ref && !asked) || not_replayed || example["x-from"]) continue;
            yield { operation: operation.operationId, name, status, type, schema: media?.schema,
                    request: request_of(root, path, method, parameters, body, name),
                    answer: example.value };
        }
    }
}

function* exchanges(root) {
    for (const [path, item] of Object.entries(root.paths))
        for (const method of Object.keys(item))
            if (METHODS.includes(method)) yield* of_operation(root, path, item, method);
}

// The messages of the one live connection, in order.
const conversation = (root) =>
    Object.values(follow(root, root.paths["/api/v1/live"].get.responses[101]).content["application/json"].examples)
        .filter((example) => !example["x-not-replayed"])
        .map((example) => ({ from: example["x-from"], message: example.value }));

module.exports = { conversation, exchanges };
