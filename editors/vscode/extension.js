// Starts `marl-lab serve` for the marl programs of a window. Without the client library or the
// server, highlighting goes on alone.
const vscode = require("vscode");

let client;

function makeClient() {
  const { LanguageClient } = require("vscode-languageclient/node");
  const command = vscode.workspace.getConfiguration("marl").get("server");
  const server = { command, args: ["serve"] };
  return new LanguageClient("marl", "marl", server, { documentSelector: [{ language: "marl" }] });
}

async function start() {
  try {
    client = makeClient();
    await client.start();
  } catch (fault) {
    client = undefined;
    vscode.window.showWarningMessage(`marl: the language server can't be started (${fault.message})`);
  }
}

async function restart() {
  const old = client;
  client = undefined;
  await old?.stop().catch(() => {}); // a server that is gone can't be stopped
  await start();
}

/// The program of the active editor, when a launch names none.
const configurations = {
  resolveDebugConfiguration(_folder, given) {
    if (given.type) return given;
    if (vscode.window.activeTextEditor?.document.languageId !== "marl") return given;
    return { type: "marl", request: "launch", name: "marl", program: "${file}", stopOnEntry: true };
  },
};

const adapters = {
  createDebugAdapterDescriptor() {
    const command = vscode.workspace.getConfiguration("marl").get("server");
    return new vscode.DebugAdapterExecutable(command, ["debug", "--dap"]);
  },
};

exports.activate = async (context) => {
  context.subscriptions.push(
    vscode.debug.registerDebugConfigurationProvider("marl", configurations),
    vscode.debug.registerDebugAdapterDescriptorFactory("marl", adapters),
  );
  context.subscriptions.push(vscode.commands.registerCommand("marl.restart", restart));
  await start();
};

exports.deactivate = () => client?.stop();
