// Replays the examples of the API's description against a new demonstration of the server:
//
//   node replay.js ROUTER_CONTROL DESCRIPTION
//
// Each answer must have its status, fit its schema and be like its example (likeness.js). Prints what
// is different; status 1 then.
"use strict";

const { spawn } = require("node:child_process");
const fs = require("node:fs");
const http = require("node:http");
const Ajv = require("ajv/dist/2020");
const yaml = require("js-yaml");
const WebSocket = require("ws");
const { conversation, exchanges } = require("./exchanges.js");
const { Names, difference } = require("./likeness.js");

const PATIENCE_MS = 300_000; // only a hang lasts that long
const THE_LAST_TAG = '"1711"'; // in the examples: the one that the address gave last

const [program, description] = process.argv.slice(2);
const root = yaml.load(fs.readFileSync(description, "utf8"), { schema: yaml.JSON_SCHEMA });
const names = new Names();
const tags = new Map(); // by address
const revisions = new Map(); // that a GET of the path gave last
let base;
let cookie;
let failures = 0;

const complain = (where, what) => {
    failures += 1;
    console.log(`${where}: ${what}`);
};

// The answer's status, headers and text; of an endless one the first event.
const ask = ({ method, target, headers, body }) => new Promise((resolve, reject) => {
    const request = http.request(new URL(target, base), { method, headers }, (answer) => {
        let text = "";
        const done = () => resolve({ status: answer.statusCode, headers: answer.headers, text });
        answer.setEncoding("utf8").on("data", (piece) => {
            text += piece;
            if (answer.headers["content-type"] !== "text/event-stream" || !text.includes("\n\n")) return;
            answer.destroy();
            done();
        }).on("end", done);
    }).on("error", reject);
    request.end(body);
});

const validators = new Map();
function schema_error(schema, value) {
    const key = JSON.stringify(schema);
    if (!validators.has(key)) {
        const ajv = new Ajv({ strict: false, allErrors: false, validateFormats: false });
        validators.set(key, ajv.compile({ ...schema, components: root.components }));
    }
    const validate = validators.get(key);
    if (validate(value)) return undefined;
    const [first] = validate.errors;
    return `does not fit its schema: ${first.instancePath} ${first.message}`;
}

// Of a text the example may show the beginning; an export has durations as well, an event its message.
function text_error(example, text) {
    const lines = example.split(/\r?\n/).filter((line) => line !== "");
    const real = text.split(/\r?\n/);
    for (const [at, line] of lines.entries()) {
        const same = (one) => one?.startsWith("data: ")
            ? JSON.parse(one.slice("data: ".length))
            : one?.replace(/\b\d+\.\d+\b/g, "N").replace(/^id: .*/, "id");
        const found = difference(same(line), same(real[at]) ?? null, names, `line ${at + 1}`);
        if (found) return found;
    }
    return undefined;
}

function answer_error(exchange, answer) {
    const { status, type, schema } = exchange;
    const wanted = status === "default" ? exchange.answer?.status : Number(status);
    if (wanted !== undefined && answer.status !== wanted)
        return `answered ${answer.status}, not ${wanted}: ${answer.text.slice(0, 300)}`;
    if (type === undefined) return answer.text === "" ? undefined : `has a body: ${answer.text.slice(0, 300)}`;
    if (answer.headers["content-type"]?.split(";")[0] !== type)
        return `is ${answer.headers["content-type"]}, not ${type}`;
    if (!type.endsWith("json")) return text_error(exchange.answer, answer.text);
    const value = JSON.parse(answer.text);
    return schema_error(schema, value) ?? difference(exchange.answer, value, names);
}

async function replay(exchange) {
    const { method, path, query, headers: given, body } = exchange.request;
    const fill = (text) => names.filled(text);
    const given_now = ([name, value]) => name === "since" ? revisions.get(path) ?? value : fill(value);
    const search = query.map((one) => `${one[0]}=${encodeURIComponent(given_now(one))}`).join("&");
    const target = fill(path) + (search && `?${search}`);
    const headers = { ...given };
    if (cookie) headers.cookie = cookie;
    if (method !== "GET" && cookie) headers.origin = base.origin;
    for (const name of ["if-match", "if-none-match"])
        if (headers[name] === THE_LAST_TAG) headers[name] = tags.get(target) ?? '"none"';
    const text = body === undefined ? undefined : fill(JSON.stringify(body));
    const answer = await ask({ method, target, headers, body: text });
    if (answer.headers.etag) tags.set(target, answer.headers.etag);
    const set = answer.headers["set-cookie"]?.[0];
    if (set) cookie = set.split(";")[0];
    const told = answer.headers["content-type"]?.endsWith("json") ? JSON.parse(answer.text) : {};
    if (method === "GET" && told.revision) revisions.set(path, told.revision);
    if (answer.status === 202 && told.id) await until_ended(told.id);
    const wrong = answer_error(exchange, answer);
    if (wrong) complain(`${exchange.operation} ${exchange.name} (${method} ${target})`, wrong);
}

// What comes next is asked of what the operation has left.
async function until_ended(operation) {
    const target = `/api/v1/operations/${operation}?wait=60000`;
    await ask({ method: "GET", target, headers: cookie ? { cookie } : {} });
}

// Both routers must have been read.
async function until_ready() {
    for (;;) {
        const { text } = await ask({ method: "GET", target: "/api/v1/routers", headers: {} });
        const { routers } = JSON.parse(text);
        if (routers.every((router) => router.link.state === "ready")) return;
        await new Promise((resolve) => { setTimeout(resolve, 50); });
    }
}

// What the server says in between, such as heartbeats and changes, is passed over.
async function converse() {
    const socket = new WebSocket(new URL("/api/v1/live", base), "router-control.v1",
                                 { headers: { cookie, origin: base.origin } });
    const heard = [];
    let wake = () => {};
    socket.on("message", (data) => { heard.push(JSON.parse(data)); wake(); });
    await new Promise((resolve, reject) => { socket.on("open", resolve).on("error", reject); });
    for (const { from, message } of conversation(root)) {
        if (from === "client") {
            socket.send(names.filled(JSON.stringify(message)));
            continue;
        }
        const fits = (one) => one.type === message.type && one.topic === message.topic;
        while (!heard.some(fits)) await new Promise((resolve) => { wake = resolve; });
        const [one] = heard.splice(heard.findIndex(fits), 1);
        const wrong = schema_error({ $ref: "#/components/schemas/LiveMessage" }, one) ??
            difference(message, one, names);
        if (wrong) complain(`live ${message.type} ${message.topic ?? ""}`, wrong);
    }
    socket.close();
}

async function main() {
    const server = spawn(program, ["--demo", "--port", "0"], { stdio: ["ignore", "pipe", "inherit"] });
    process.on("exit", () => { server.kill("SIGKILL"); });
    const end = setTimeout(() => {
        console.log("it hangs");
        process.exit(1);
    }, PATIENCE_MS);
    let printed = "";
    for await (const piece of server.stdout.setEncoding("utf8")) {
        printed += piece;
        const address = /Router control is at (\S+)/.exec(printed);
        if (address) { base = new URL(address[1]); break; }
    }
    if (!base) throw new Error("the server did not start");
    await until_ready();
    let count = 0;
    for (const exchange of exchanges(root)) {
        await replay(exchange);
        count += 1;
    }
    await converse();
    server.kill("SIGTERM");
    const status = await new Promise((resolve) => { server.on("exit", resolve); });
    if (status !== 0) complain("the server", `ended with ${status}`);
    clearTimeout(end);
    console.log(`${count} exchanges, ${failures} different`);
    process.exit(failures === 0 ? 0 : 1);
}

main().catch((error) => {
    console.log(error.stack);
    process.exit(1);
});
