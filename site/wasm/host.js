// What a page can't give a program: sockets, other processes, timers. The calls fail as on a system
// that forbids them, with errno, and reach nothing outside of the module.

mergeInto(LibraryManager.library, {
  __syscall_socket__deps: [],
  __syscall_socket: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_bind__deps: [],
  __syscall_bind: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_listen__deps: [],
  __syscall_listen: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_accept4__deps: [],
  __syscall_accept4: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_connect__deps: [],
  __syscall_connect: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_shutdown__deps: [],
  __syscall_shutdown: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_getsockname__deps: [],
  __syscall_getsockname: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_getpeername__deps: [],
  __syscall_getpeername: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_getsockopt__deps: [],
  __syscall_getsockopt: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_setsockopt__deps: [],
  __syscall_setsockopt: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_recvfrom__deps: [],
  __syscall_recvfrom: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_sendto__deps: [],
  __syscall_sendto: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_recvmsg__deps: [],
  __syscall_recvmsg: function() { return -{{{ cDefine('EACCES') }}}; },
  __syscall_sendmsg__deps: [],
  __syscall_sendmsg: function() { return -{{{ cDefine('EACCES') }}}; },

  getaddrinfo__deps: [],
  getaddrinfo: function() {
    return {{{ cDefine('EAI_FAIL') }}};
  },
  getnameinfo__deps: [],
  getnameinfo: function() {
    return {{{ cDefine('EAI_FAIL') }}};
  },

  // No shell.
  system__deps: ['$setErrNo'],
  system: function(command) {
    if (!command) return 0;
    setErrNo({{{ cDefine('ENOSYS') }}});
    return -1;
  },

  // A module is not interrupted between two calls, so nothing would ever see the bell.
  alarm__deps: [],
  alarm: function() {
    return 0;
  },
});
