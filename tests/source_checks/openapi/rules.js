// What a generic linter does not know of docs/openapi.yaml.
//
// An exchange is one request and its answer: the examples of one name in an operation's parameters,
// body and responses; of a response without a body x-exchanges lists them. A parameter or body without
// an example of that name is given its first one when it is required, and left out otherwise. The
// exchanges are replayed in the document's order against a new demonstration, but those with
// x-not-replayed (why); an identifier stands for what the server gave in its place when it answered
// with it first. Examples with x-from (client, server) are the messages of one connection.
"use strict";

const RIGHTS = ["none", "view", "operate", "engineer", "administer"];
const METHODS = ["get", "put", "post", "delete", "patch"];
// Also the secret of a token.
const IDENTIFIER = /\b(?:[0-7][0-9A-HJKMNP-TV-Z]{25}|rc_[0-9A-Za-z_-]{43})(?![0-9A-Za-z_-])/g;
const PROBLEM = "application/problem+json";

const Right = () => ({
    Operation(operation, { report, location }) {
        if (!RIGHTS.includes(operation["x-right"]))
            report({ message: `x-right must be one of ${RIGHTS.join(", ")}`, location });
    },
});

const type_of = (code) =>
    `/problems/${code.replace(/[A-Z]/g, (letter) => `-${letter.toLowerCase()}`)}`;
const fits = (status, told) => status === "default" || status === String(told);

// The simple form answers people's button surfaces with a line of text, whatever happens.
const Problems = () => ({
    Operation(operation, { report, location, resolve }) {
        const answers = Object.entries(operation.responses ?? {});
        if (!answers.some(([status]) => /^(101|[23]..)$/.test(status)))
            report({ message: "an operation needs an answer that is no error", location });
        if (!operation.responses?.default)
            report({ message: "an operation needs the default answer", location });
        if (operation.requestBody && !operation.responses?.[422])
            report({ message: "an operation with a body needs the answer 422", location });
        for (const [status, answer] of answers) {
            if (/^[123]/.test(status) || operation["x-text-answers"]) continue;
            const { node } = answer.$ref ? resolve(answer) : { node: answer };
            const types = Object.keys(node?.content ?? {});
            if (types.length !== 1 || types[0] !== PROBLEM)
                report({ message: `${status} must be ${PROBLEM}`, location });
            for (const { value } of Object.values(node?.content?.[PROBLEM]?.examples ?? {}))
                if (value.type !== type_of(value.code) || !fits(status, value.status))
                    report({ message: `${value.code} has the wrong type or status`, location });
        }
    },
});

const Examples = () => ({
    MediaType(media, { report, location }) {
        if (Object.keys(media.examples ?? {}).length === 0)
            report({ message: "there must be named examples", location });
    },
});

const Closed = () => ({
    RequestBody: {
        Schema(schema, { report, location }) {
            if (schema.type === "object" && schema.additionalProperties === undefined)
                report({ message: "an object in a request must say additionalProperties", location });
        },
    },
});

const follow = (root, node) =>
    node?.$ref
        ? node.$ref.slice(2).split("/").reduce((at, key) => at?.[key.replace("~1", "/")], root)
        : node;

const named_examples = (holders) => holders.flatMap((holder) => Object.entries(holder?.examples ?? {}));

// What is sent, by its names, and what is answered: the status and everything in it.
function read_operation(root, path, operation) {
    const given = [...(operation.parameters ?? []), ...(path.parameters ?? [])]
        .map((parameter) => follow(root, parameter));
    const parameters = given.filter((one, at) =>
        given.findIndex((other) => other.name === one.name && other.in === one.in) === at);
    const bodies = Object.values(follow(root, operation.requestBody)?.content ?? {});
    // What is for several operations need not be answered by each.
    const requests = named_examples([...(operation.parameters ?? []), ...bodies]);
    const answers = Object.entries(operation.responses ?? {}).flatMap(([status, response]) => {
        const answer = follow(root, response);
        const headers = Object.values(answer.headers ?? {}).map((header) => follow(root, header));
        const bodiless = (answer["x-exchanges"] ?? []).map((name) => [name, answer]);
        return [...named_examples(Object.values(answer.content ?? {})), ...bodiless]
            .map(([name, example]) => ({ name, status, example: follow(root, example), headers,
                                         shared: "$ref" in response }))
            .filter(({ example }) => !example["x-from"]);
    });
    return { parameters, bodies, requests, answers };
}

function check_operation(root, path, operation, known, complain) {
    const { parameters, bodies, requests, answers } = read_operation(root, path, operation);
    const sent = new Set(requests.map(([name]) => name));
    const own = (name) => [...parameters, ...bodies].some((one) => one.examples?.[name]);
    for (const { name, status, example, headers, shared } of answers) {
        if (shared && !own(name)) continue; // shows what such an answer looks like
        if (!shared && answers.filter((other) => other.name === name && !other.shared).length > 1)
            complain(`there are several answers to ${name}`);
        sent.delete(name);
        if (example["x-not-replayed"]) continue;
        const request = JSON.stringify([...parameters, ...bodies].map((one) =>
            follow(root, one.examples?.[name] ??
                         (one.in && !one.required ? {} : Object.values(one.examples ?? {})[0]))));
        for (const [identifier] of request.matchAll(IDENTIFIER))
            if (!["401", "404"].includes(status) && !known.has(identifier))
                complain(`${name} asks for ${identifier}, which no answer before has given`);
        for (const [identifier] of JSON.stringify([example, headers]).matchAll(IDENTIFIER))
            known.add(identifier);
    }
    for (const name of sent) complain(`nothing answers ${name}`);
}

const Exchanges = () => ({
    Root: {
        leave(root, { report, location }) {
            const known = new Set();
            for (const [name, path] of Object.entries(root.paths ?? {}))
                for (const [method, operation] of Object.entries(path))
                    if (METHODS.includes(method))
                        check_operation(root, path, operation, known, (message) => report({
                            message, location: location.child(["paths", name, method]) }));
        },
    },
});

module.exports = () => ({
    id: "server",
    rules: {
        oas3: { right: Right, problems: Problems, examples: Examples, closed: Closed,
                exchanges: Exchanges },
    },
});
