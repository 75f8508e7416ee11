#!/usr/bin/env python3
"""An interrupt ends the run at once in every call that blocks, and `shut` is run.

    blocking_test.py MARL
"""
import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

SECONDS = 30  # for a run; the calls themselves would wait for longer
PAUSE = 0.2  # from the word of the program to the signal, so that the call has begun

# CALL waits. Its port is one that takes no more connections.
PROGRAM = r"""
a\m{malloc 64}p{address(refk a,malloc 16)}
  say[waiting]; done(CALL); say[not reached]; 0,

shut\say[shut],

address\t\p\refm(p,2); refm(p+2,htons(atoi t)); refn(p+4,htonl 2130706433); p,
any\p\refm(p+2,0); p,
stream\socket(2,1,0),
listening\p\s{stream}done(bind(s,any p,16)); done(listen(s,1)); s,
bound\p\s{socket(2,2,0)}done(bind(s,any p,16)); s,

done\x\I,
say\t\done(puts(init t)+fflush(stdout))
"""

CALLS = {
    "getchar": "getchar",
    "fgets": "fgets(m,64,fdopen(0,init[r]))",
    "fread": "fread(m,1,64,fdopen(0,init[r]))",
    "read": "read(0,m,64)",
    "recv": "recv(bound p,m,64,0)",
    "recvfrom": "recvfrom(bound p,m,64,0,0,0)",
    "accept": "accept(listening p,0,0)",
    "connect": "connect(stream,p,16)",
    "system": "system(init[exec sleep 100])",
}


def crowded_listener():
    """A listener whose queue is full, and the sockets that fill it."""
    listener = socket.create_server(("127.0.0.1", 0), backlog=0)
    sockets = [listener]
    while True:
        sockets.append(socket.socket())
        sockets[-1].settimeout(0.3)
        try:
            sockets[-1].connect(listener.getsockname())
        except TimeoutError:
            return sockets


class Blocking(unittest.TestCase):
    def interrupted(self, call, send):
        """Runs the program, interrupts it, and checks that it ended in good order."""
        sockets = crowded_listener() if "connect" in call else [socket.create_server(("", 0))]
        with tempfile.TemporaryDirectory() as folder:
            source = pathlib.Path(folder, "blocked.marl")
            source.write_text(PROGRAM.replace("CALL", call), encoding="ascii")
            environment = dict(os.environ, ASAN_OPTIONS="detect_leaks=0")
            process = subprocess.Popen(
                [MARL, source, str(sockets[0].getsockname()[1])], stdin=subprocess.PIPE,
                stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment,
                start_new_session=True)
            self.assertEqual(process.stdout.readline(), b"waiting\n")
            time.sleep(PAUSE)
            send(process.pid, signal.SIGINT)
            try:
                process.wait(SECONDS)  # with standard input still open
            finally:
                process.kill()
                output, errors = process.communicate()
        for each in sockets:
            each.close()
        self.assertEqual((output, errors, process.returncode), (b"shut\n", b"\n", 1))

    def test_of_the_process_alone(self):
        for name, call in CALLS.items():
            with self.subTest(name):
                self.interrupted(call, os.kill)

    def test_of_the_whole_group_as_from_a_keyboard(self):
        for name in ("getchar", "system"):
            with self.subTest(name):
                self.interrupted(CALLS[name], os.killpg)


if __name__ == "__main__":
    MARL = sys.argv.pop(1)
    unittest.main()
