"""The control server and its simulated routers as processes, and the server's API."""

import http.client
import json
import os
import pathlib
import signal
import subprocess
import threading
import time

from ledger import Place

PATIENCE = 120  # seconds; only a hang lasts as long
IDLE = 2  # seconds


class Unreachable(Exception):
    """No answer: the server was being killed, or hangs."""


class Router:
    """A simulated router, whose takes go into the ledger."""

    def __init__(self, program, name, size, scenario, seed, ledger):
        self.name = name
        self.ledger = ledger
        self.process = subprocess.Popen(
            [program, "--port", "0", "--sources", str(size), "--destinations", str(size),
             "--scenario", scenario, "--seed", str(seed), "--events", "json"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = int(self.process.stdout.readline().rsplit(":", 1)[1])
        began = time.time()
        for position in range(size):
            ledger.router_shows(Place(name, position), position, began)
        self.reader = threading.Thread(target=self.read, args=(began,), daemon=True)
        self.reader.start()

    def read(self, began):
        for line in self.process.stdout:
            if not line.startswith("{"):
                continue
            event = json.loads(line)
            if event["event"] != "take":
                continue
            place = Place(self.name, event["destination"] - 1)
            source = event["source"] - 1
            when = began + event["time"]
            if event["by"] == "client":
                self.ledger.router_took(place, source, when)
            else:
                self.ledger.router_shows(place, source, when)

    def tell(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()

    def end(self):
        self.process.kill()
        self.process.wait()
        self.reader.join()


class Server:
    """The program, which may be killed and started again on the same folder, with another port."""

    def __init__(self, program, folder):
        self.program = program
        self.folder = folder
        self.code = None
        self.process = None
        self.up = threading.Event()
        self.start()

    def start(self):
        self.process = subprocess.Popen(
            [self.program, "--data", self.folder, "--port", "0"],
            stdout=subprocess.PIPE, stderr=open(self.folder + ".log", "a", encoding="utf-8"), text=True)
        self.port = 0
        for line in self.process.stdout:
            if line.startswith("Router control is at "):
                self.port = int(line.rstrip("/\n").rsplit(":", 1)[1])
            if "/first#" in line:
                self.code = line.rsplit("/first#", 1)[1].strip()
            if self.port and self.code:
                break
        else:
            raise RuntimeError(f"the server ended with {self.process.wait()} at its start")
        self.up.set()

    def kill(self):
        self.up.clear()
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()

    def end(self):
        self.up.clear()
        self.process.send_signal(signal.SIGTERM)
        return self.process.wait()

    def resident_kib(self):
        for line in pathlib.Path(f"/proc/{self.process.pid}/status").read_text().splitlines():
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
        return 0

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.process.pid}/fd"))


class Client:
    """Asks as one person, over one connection."""

    def __init__(self, server, token=None):
        self.server = server
        self.headers = {"Content-Type": "application/json"}
        if token:
            self.headers["Authorization"] = "Bearer " + token
        self.connection = None
        self.used = 0.0

    def ask(self, method, path, body=None, headers=None):
        """Status, headers and JSON of the answer."""
        self.server.up.wait(PATIENCE)
        if time.monotonic() - self.used > IDLE:
            self.connection = None  # the server may have closed it
        self.used = time.monotonic()
        try:
            if self.connection is None:
                self.connection = http.client.HTTPConnection("127.0.0.1", self.server.port, timeout=PATIENCE)
            self.connection.request(method, path, None if body is None else json.dumps(body),
                                    {**self.headers, **(headers or {})})
            answer = self.connection.getresponse()
            text = answer.read()
        except (OSError, http.client.HTTPException) as error:
            if self.connection:
                self.connection.close()
            self.connection = None
            raise Unreachable(f"{method} {path}: {error!r}") from error
        is_json = "json" in answer.headers.get("Content-Type", "")
        return answer.status, answer.headers, json.loads(text) if is_json and text else text
