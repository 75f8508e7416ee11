# fileserver -q -r ROOT -c N PORT: serves the files of a folder over HTTP to N connections, one after the other.
import functools
import http.server
import sys

root, count, port = sys.argv[3], int(sys.argv[5]), int(sys.argv[6])


class Handler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


with http.server.HTTPServer(("127.0.0.1", port), functools.partial(Handler, directory=root)) as server:
    print(f"serving {root} at 127.0.0.1:{port}", flush=True)
    for _ in range(count):
        server.handle_request()
