// Runs one of the client scripts here against an editor of its own: node run.mjs <work folder> <agent-host> <script>.
// The packages are installed into the work folder, once for each state of the lock file. Exits with 77, for "skipped",
// only when the package registry cannot be reached; anything else that goes wrong is a failure.

import { spawn, spawnSync } from "node:child_process";
import { createHash } from "node:crypto";
import { copyFileSync, existsSync, mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { createInterface } from "node:readline";
import { fileURLToPath } from "node:url";

const skipped = 77;
const here = dirname(fileURLToPath(import.meta.url));
const [workFolder, hostProgram, script] = process.argv.slice(2);

function install() {
  const lock = readFileSync(join(here, "package-lock.json"));
  const state = createHash("sha256").update(lock).digest("hex");
  const stamp = join(workFolder, "installed");
  mkdirSync(workFolder, { recursive: true });
  for (const file of ["package.json", "package-lock.json", "sdk-client.mjs", "conformance.mjs", "file-global.cjs"])
    copyFileSync(join(here, file), join(workFolder, file));
  if (existsSync(stamp) && readFileSync(stamp, "utf8") === state) return;
  const npm = spawnSync("npm", ["ci", "--ignore-scripts", "--no-audit", "--no-fund"], {
    cwd: workFolder,
    encoding: "utf8",
  });
  if (npm.status !== 0) {
    const output = `${npm.error ?? ""}${npm.stdout ?? ""}${npm.stderr ?? ""}`;
    const unreachable = /ENOTFOUND|EAI_AGAIN|ECONNREFUSED|ECONNRESET|ETIMEDOUT|ENETUNREACH/.test(output);
    console.log(`${unreachable ? "SKIPPED: the package registry cannot be reached" : "npm ci failed"}\n${output}`);
    process.exit(unreachable ? skipped : 1);
  }
  writeFileSync(stamp, state);
}

// The host prints one line "port <n>" as soon as the server listens and a take is open.
function startHost() {
  const host = spawn(hostProgram, { stdio: ["pipe", "pipe", "inherit"] });
  return new Promise((resolve, reject) => {
    host.on("error", reject);
    host.on("exit", (code) => reject(new Error(`the host ended with ${code}`)));
    createInterface({ input: host.stdout }).on("line", (line) => {
      const port = /^port (\d+)$/.exec(line);
      if (port) resolve({ host, port: port[1] });
    });
  });
}

install();
const { host, port } = await startHost();
host.removeAllListeners("exit");
const client = spawn(process.execPath, [join(workFolder, script), port], { cwd: workFolder, stdio: "inherit" });
client.on("exit", (code) => {
  // The host ends with its standard input, also when this script should die.
  host.stdin.end();
  host.on("exit", (hostCode) => process.exit(code === 0 && hostCode === 0 ? 0 : 1));
});
