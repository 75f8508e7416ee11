// What a page can't give a program: sockets and other processes. The calls fail as on a system that
// forbids them, with errno, and reach nothing outside of the module. And what the module tells a page
// while it is at work.

const sockets = ["socket", "bind", "listen", "accept4", "connect", "getpeername", "recvfrom", "sendto"];
const forbidden = function () {
  return -Number("{{{ cDefine('EACCES') }}}");
};
const unknown = function () {
  return Number("{{{ cDefine('EAI_FAIL') }}}");
};

mergeInto(LibraryManager.library, {
  ...Object.fromEntries(
    sockets.flatMap((name) => [
      [`__syscall_${name}`, forbidden],
      [`__syscall_${name}__deps`, []],
    ]),
  ),
  getaddrinfo: unknown,
  getaddrinfo__deps: [],
  getnameinfo: unknown,
  getnameinfo__deps: [],
  // How far a run is that the laboratory watches, for whoever waits for it.
  marl_progress: function (state) {
    if (Module["onProgress"]) Module["onProgress"](state);
  },
  // Asked only whether there is a shell.
  system: function () {
    return 0;
  },
});
