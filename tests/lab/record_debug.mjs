// Records debug_session.jsonl: the messages that Microsoft's own client of the protocol exchanges with
// `marl-lab debug --dap` in a session on a real pipe, each in its order.
//
//     npm install @vscode/debugadapter-testsupport
//     node record_debug.mjs MARL_LAB PROGRAM > debug_session.jsonl
import { spawn } from "node:child_process";
import fs from "node:fs";
import { createRequire } from "node:module";
import path from "node:path";

const require = createRequire(path.join(process.cwd(), "client"));
const { DebugClient } = require("@vscode/debugadapter-testsupport");
const { version } = require("@vscode/debugadapter-testsupport/package.json");

const [lab, program] = process.argv.slice(2);
fs.writeFileSync(program, "a\\fact 3,\n\nfact\\n\\(n=0)1(n*fact(n-1))\n");
const write = (line) => console.log(JSON.stringify(line).replaceAll(program, "$PROGRAM"));
write({
  about: `Recorded by record_debug.mjs: DebugClient of @vscode/debugadapter-testsupport ${version}, no VS Code itself`,
});

class Recorded extends DebugClient {
  doSend(command, args, receive) {
    const given = args && Object.keys(args).length > 0 ? { arguments: args } : {};
    write({ from: "client", message: { type: "request", seq: this.sequence, command, ...given } });
    super.doSend(command, args, receive);
  }
  dispatch(text) {
    write({ from: "adapter", message: JSON.parse(text) });
    super.dispatch(text);
  }
}

const adapter = spawn(lab, ["debug", "--dap"], { stdio: ["pipe", "pipe", "inherit"] });
const client = new Recorded("", "", "marl");
client.connect(adapter.stdout, adapter.stdin);
const threadId = 1;
const source = { path: program };
/// Where a request that moves has stopped.
async function move(request) {
  const reason = /ontinue$/.test(request) ? "breakpoint" : "step";
  const stopped = client.assertStoppedLocation(reason, {});
  await client[`${request}Request`]({ threadId });
  return (await stopped).body.stackFrames;
}

const lines = [3, 2];
await Promise.all([
  client
    .waitForEvent("initialized")
    .then(() => client.setBreakpointsRequest({ source, lines, breakpoints: lines.map((line) => ({ line })) }))
    .then(() => client.configurationDone()),
  client.launch({ program, stopOnEntry: true }),
  client.assertStoppedLocation("entry", { path: program, line: 3 }),
]);
await client.threadsRequest();
const [inner, outer] = await move("continue");
const { body } = await client.scopesRequest({ frameId: inner.id });
await client.variablesRequest({ variablesReference: body.scopes[0].variablesReference });
await client.evaluateRequest({ expression: "n", frameId: outer.id, context: "hover" });
for (const request of ["stepBack", "stepIn", "stepOut", "reverseContinue", "next"]) await move(request);
await client.setBreakpointsRequest({ source, lines: [], breakpoints: [] });
await Promise.all([client.waitForEvent("terminated"), client.continueRequest({ threadId })]);
await client.disconnectRequest();
