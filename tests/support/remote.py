"""Somebody's server, which pages must not ask for anything."""

import http.server
import socketserver
import threading


class Remote(socketserver.ThreadingTCPServer):
    """Counts the connections to it."""

    daemon_threads = True

    def __init__(self):
        super().__init__(("127.0.0.1", 0), http.server.BaseHTTPRequestHandler)
        self.connections = 0
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def verify_request(self, _request, _address):
        self.connections += 1
        return False
