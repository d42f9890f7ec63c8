// Calls every tool of the server on the given port with the protocol's own client: node sdk-client.mjs <port>.

import assert from "node:assert/strict";
import { statSync } from "node:fs";
import { Client } from "@modelcontextprotocol/sdk/client/index.js";
import { StreamableHTTPClientTransport } from "@modelcontextprotocol/sdk/client/streamableHttp.js";

const url = new URL(`http://127.0.0.1:${process.argv[2]}/mcp`);
const client = new Client({ name: "kelmo-editor-tests", version: "1" });
const problems = [];
client.onerror = (error) => problems.push(error);
await client.connect(new StreamableHTTPClientTransport(url));

const called = new Set();
async function call(name, args = {}) {
  called.add(name);
  const result = await client.callTool({ name, arguments: args });
  assert.ok(!result.isError, `${name}: ${result.content[0].text}`);
  return result.content;
}
async function documentOf(name, args) {
  const content = await call(name, args);
  assert.deepEqual(content.map((item) => item.type), ["text"], name);
  return JSON.parse(content[0].text);
}

assert.equal(client.getServerVersion().name, "kelmo-editor");
assert.match(client.getInstructions(), /Call get_transcript first\.$/);
assert.deepEqual(client.getServerCapabilities(), { tools: {} });
await client.ping();
const { tools } = await client.listTools();
assert.equal(tools.length, 10);

const transcript = await documentOf("get_transcript");
assert.equal(transcript.take, "talk");
assert.equal(transcript.words.length, 8);
assert.equal(transcript.sourceDurationMs, 10000);

const cut = await documentOf("cut_ranges", { ranges: [{ startMs: 1200, endMs: 1850 }, [3000, 3500]], wordIndices: [6] });
assert.equal(cut.applied.length, 3);
assert.equal(cut.cuts.length, 3);
assert.deepEqual((await documentOf("undo")).cuts, []);
assert.match((await documentOf("cut_fillers")).status, /^Cut 2 fillers/);
assert.match((await documentOf("tighten_pauses")).status, /0\.15 s$/);
assert.equal((await documentOf("trim", { startWord: 1, endWord: 6 })).trim.trimmed, true);
assert.equal((await documentOf("trim", { clear: true })).trim.trimmed, false);

const frame = await call("get_frame", { timeMs: 500, maxWidth: 80 });
assert.deepEqual(frame.map((item) => item.type), ["image", "text"]);
assert.equal(frame[0].mimeType, "image/png");
assert.deepEqual([...Buffer.from(frame[0].data, "base64").subarray(0, 4)], [0x89, 0x50, 0x4e, 0x47]);

const [exported, meanwhile] = await Promise.all([
  documentOf("export", { codec: "h264", height: 0, fps: 30, engine: "writer" }),
  documentOf("get_transcript"),
]);
assert.ok(statSync(exported.path).size > 1000);
assert.equal(meanwhile.take, "talk");

assert.deepEqual(await documentOf("share", { wait: true }), { status: "playing", url: "https://example.com/v/1" });
assert.deepEqual(await documentOf("open_take"), { opened: "talk", words: 8 });

await assert.rejects(client.callTool({ name: "nonsense", arguments: {} }), { code: -32602 });
await assert.rejects(client.callTool({ name: "get_frame", arguments: {} }), { code: -32602 });
await assert.rejects(client.listResources(), /Method not found|does not support/);

assert.deepEqual([...called].sort(), tools.map((tool) => tool.name).sort(), "every tool is called");
await client.close();
assert.deepEqual(problems, []);
console.log(`${called.size} tools answered the protocol's own client`);
