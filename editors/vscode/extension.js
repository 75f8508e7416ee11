// Starts `marl-lab serve` for the marl programs of a window. Without the client library or the
// server, highlighting goes on alone.
const vscode = require("vscode");

let client;

exports.activate = async function () {
  let library;
  try {
    library = require("vscode-languageclient/node");
  } catch {
    return; // `npm install` in this folder brings it
  }
  const command = vscode.workspace.getConfiguration("marl").get("server");
  const server = { command, args: ["serve"] };
  const selector = { documentSelector: [{ language: "marl" }] };
  client = new library.LanguageClient("marl", "marl", server, selector);
  try {
    await client.start();
  } catch (fault) {
    vscode.window.showWarningMessage(`marl: ${command} can't be started (${fault.message})`);
  }
};

exports.deactivate = () => client?.stop();
