// Runs the scenarios of the protocol's conformance suite that this server is meant for: node conformance.mjs <port>.

import { spawnSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { join } from "node:path";

const applicable = ["server-initialize", "ping", "tools-list", "dns-rebinding-protection"];

// Every other server scenario, and why it cannot apply. One that is in neither list is an error, so that a newer suite
// does not pass with scenarios that were not looked at.
const needsTheSuitesOwnTools = "calls a tool, resource or prompt with a name and an answer that the suite lays down";
const noLogging = "the server offers no logging";
const noCompletion = "the server offers no completion";
const noResources = "the server has tools only, no resources";
const noPrompts = "the server has tools only, no prompts";
const noStream = "the server has no session and no event stream";
const leftOut = {
  "logging-set-level": noLogging,
  "completion-complete": noCompletion,
  "tools-call-simple-text": needsTheSuitesOwnTools,
  "tools-call-image": needsTheSuitesOwnTools,
  "tools-call-audio": needsTheSuitesOwnTools,
  "tools-call-embedded-resource": needsTheSuitesOwnTools,
  "tools-call-mixed-content": needsTheSuitesOwnTools,
  "tools-call-with-logging": needsTheSuitesOwnTools,
  "tools-call-error": needsTheSuitesOwnTools,
  "tools-call-with-progress": needsTheSuitesOwnTools,
  "tools-call-sampling": noStream,
  "tools-call-elicitation": noStream,
  "json-schema-2020-12": needsTheSuitesOwnTools,
  "elicitation-sep1034-defaults": noStream,
  "elicitation-sep1330-enums": noStream,
  "server-sse-polling": noStream,
  "server-sse-multiple-streams": noStream,
  "resources-list": noResources,
  "resources-read-text": noResources,
  "resources-read-binary": noResources,
  "resources-templates-read": noResources,
  "resources-subscribe": noResources,
  "resources-unsubscribe": noResources,
  "prompts-list": noPrompts,
  "prompts-get-simple": noPrompts,
  "prompts-get-with-args": noPrompts,
  "prompts-get-embedded-resource": noPrompts,
  "prompts-get-with-image": noPrompts,
};

const packageFolder = join("node_modules", "@modelcontextprotocol", "conformance");
const { bin } = JSON.parse(readFileSync(join(packageFolder, "package.json"), "utf8"));

function conformance(...args) {
  const program = join(packageFolder, bin.conformance);
  const run = spawnSync(process.execPath, ["--require", "./file-global.cjs", program, ...args], { encoding: "utf8" });
  return { passed: run.status === 0, output: `${run.stdout}${run.stderr}` };
}

const list = conformance("list");
const serverPart = list.output.split("Client scenarios")[0];
const known = [...serverPart.matchAll(/^ +- (\S+)/gm)].map((match) => match[1]);
let failures = 0;
for (const scenario of known.filter((name) => !applicable.includes(name) && !(name in leftOut))) {
  console.log(`UNKNOWN ${scenario}: neither run nor left out for a reason`);
  ++failures;
}
for (const scenario of applicable) {
  const url = `http://127.0.0.1:${process.argv[2]}/mcp`;
  const { passed, output } = conformance("server", "--url", url, "--scenario", scenario);
  // Passed means that checks were made and none failed; a suite that checks nothing must not count.
  const checked = passed && known.includes(scenario) && /Passed: [1-9]/.test(output);
  console.log(`${checked ? "passed" : "FAILED"} ${scenario}`);
  if (!checked) {
    console.log(output);
    ++failures;
  }
}
process.exit(failures === 0 ? 0 : 1);
