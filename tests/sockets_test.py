#!/usr/bin/env python3
"""A marl server and a marl client talk to each other over loopback, by TCP and by UDP.

    sockets_test.py MARL

The programs are in sockets/. The port is one that was free a moment ago.
"""
import os
import pathlib
import socket
import subprocess
import sys
import unittest

PROGRAMS = pathlib.Path(__file__).resolve().parent / "sockets"
SECONDS = 20


def free_port(kind):
    with socket.socket(socket.AF_INET, kind) as probe:
        probe.bind(("127.0.0.1", 0))
        return str(probe.getsockname()[1])


class Sockets(unittest.TestCase):
    def talk(self, protocol, kind):
        """What the client printed, and the server's exit status."""
        port = free_port(kind)
        environment = dict(os.environ, ASAN_OPTIONS="detect_leaks=0")
        server = subprocess.Popen([MARL, PROGRAMS / f"{protocol}_server.marl", port],
                                  stdout=subprocess.PIPE, env=environment)
        try:
            self.assertEqual(server.stdout.readline(), b"ready\n")
            client = subprocess.run([MARL, PROGRAMS / f"{protocol}_client.marl", port],
                                    capture_output=True, timeout=SECONDS, check=False,
                                    env=environment)
            self.assertEqual((client.returncode, client.stderr), (0, b""))
            return client.stdout.decode().replace(port, "PORT"), server.wait(SECONDS)
        finally:
            server.kill()
            server.communicate()

    def test_a_stream_carries_both_ways_until_one_side_is_shut(self):
        output, received = self.talk("tcp", socket.SOCK_STREAM)
        self.assertEqual(output, "127.0.0.1 port PORT\nFIRST WORDS\n[IN BRACKETS]\n0\n")
        self.assertEqual(received, 24)

    def test_each_datagram_is_answered_to_its_sender(self):
        output, received = self.talk("udp", socket.SOCK_DGRAM)
        self.assertEqual(output, "4\n10\n")
        self.assertEqual(received, 2)


if __name__ == "__main__":
    MARL = sys.argv.pop(1)
    unittest.main()
