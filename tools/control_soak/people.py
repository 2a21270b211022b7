"""People and programs at the control server, who do whatever they may, at random."""

import http.client
import json
import random
import threading
import time

from house import PATIENCE, Client, Unreachable
from ledger import Place

API = "/api/v1"
# Answers that speak against nothing: what was asked for cannot be, or not now.
FINE = {200, 201, 202, 204, 304, 404, 409, 412, 422, 429, 502, 503, 504}


class Person(threading.Thread):
    def __init__(self, server, ledger, name, token, routers, size, seed):
        super().__init__(daemon=True)
        self.ledger = ledger
        self.name = name
        self.client = Client(server, token)
        self.routers = routers
        self.size = size
        self.random = random.Random(seed)
        self.stopping = threading.Event()
        self.keys = 0

    def run(self):
        doings = [self.take] * 8 + [self.take_many] * 3 + [
            self.stage, self.salvo, self.undo, self.lock, self.look]
        while not self.stopping.is_set():
            try:
                self.random.choice(doings)()
            except Unreachable:
                self.ledger.count("unanswered")
            except Exception as error:  # a judge that dies in silence finds nothing
                self.ledger.find(f"{self.name}: {error!r}")
            self.stopping.wait(self.random.expovariate(20))

    def place(self):
        return Place(self.random.choice(self.routers), self.random.randrange(self.size))

    def ask(self, method, path, body=None, headers=None):
        begun = time.time()
        status, told, answer = self.client.ask(method, API + path, body, headers)
        self.ledger.count(f"{method} {status}")
        if status not in FINE:
            self.ledger.find(f"{self.name}: {method} {path} was answered {status}: {answer}")
        if told.get("Journal-Kept") == "false":  # it may be forgotten, whatever was done
            self.ledger.count("not kept")
            self.ledger.had_no_answer(begun, time.time())
            return 503, answer
        if isinstance(answer, dict):
            operation = answer.get("operation") if status >= 400 else answer.get("id")
            if operation and (status >= 400 or "counts" in answer):
                self.ledger.acknowledged(operation, self.name)
        return status, answer

    def command(self, method, path, body):
        """As a program does that may have had no answer: again, with the same key, once."""
        self.keys += 1
        headers = {"Idempotency-Key": f"{self.name}-{self.keys}"}
        begun = time.time()
        try:
            return self.ask(method, path, body, headers)
        except Unreachable:
            self.ledger.had_no_answer(begun, time.time())
        return self.ask(method, path, body, headers)

    def take(self):
        place = self.place()
        wait = self.random.choice((0, 500, 5000))
        self.command("PUT", f"/routers/{place.router}/destinations/{place.destination}/route?wait={wait}",
                     {"source": self.random.randrange(self.size)})

    def rows(self):
        destinations = self.random.sample(range(self.size), self.random.randint(1, 6))
        return [{"destination": each, "source": self.random.randrange(self.size)} for each in destinations]

    def take_many(self):
        self.command("PATCH", f"/routers/{self.place().router}/routes?wait=0",
                     {"rows": self.rows(), "rule": self.random.choice(("all", "rest"))})

    def stage(self):
        router = self.place().router
        self.ask("PATCH", f"/routers/{router}/stage", {"rows": self.rows()})
        self.command("POST", f"/routers/{router}/stage/take?wait=0", {"rule": "rest"})

    def salvo(self):
        rows = [{"router": self.routers[0], **row} for row in self.rows()]
        name = f"{self.name} {self.random.randrange(5)}"
        status, answer = self.ask("POST", "/salvos", {"name": name, "rows": rows})
        if status == 201:
            self.command("POST", f"/salvos/{answer['id']}/take?wait=0", {"rule": "rest"})
            self.ask("DELETE", f"/salvos/{answer['id']}")

    def undo(self):
        self.command("POST", f"/{self.random.choice(('undo', 'redo'))}?wait=0", {"rule": "rest"})

    def lock(self):
        place = self.place()
        path = f"/routers/{place.router}/destinations/{place.destination}/lock"
        status, _ = self.ask("PUT", path, {"mode": "protect", "reason": "soak"})
        if status in (200, 201):
            self.ledger.locked(place, self.name, time.time())
        self.take()
        # What it comes to is not known any more once it has been asked for.
        self.ledger.unlocked(place, time.time())
        self.ask("DELETE", path)

    def look(self):
        router = self.place().router
        self.ask("GET", self.random.choice((
            f"/routers/{router}/routes", f"/routers/{router}/statistics", "/routers", "/salvos",
            "/history?limit=20", f"/routers/{router}/stages", "/undo", "/server", "/operators")))


class Follower(threading.Thread):
    """Keeps what it is told of a router's routes by server-sent events."""

    def __init__(self, server, ledger, token, router):
        super().__init__(daemon=True)
        self.server = server
        self.ledger = ledger
        self.router = router
        self.client = Client(server, token)
        self.routes = {}
        self.stopping = False

    def run(self):
        while not self.stopping:
            try:
                self.follow()
            except Exception as error:
                if not isinstance(error, (OSError, Unreachable, ValueError)):
                    self.ledger.find(f"follower of {self.router}: {error!r}")
            time.sleep(0.1)

    def follow(self):
        self.server.up.wait(PATIENCE)
        connection = http.client.HTTPConnection("127.0.0.1", self.server.port, timeout=30)
        connection.request("GET", f"{API}/events?topics=routers/{self.router}", headers=self.client.headers)
        answer = connection.getresponse()
        for line in answer:
            if line.startswith(b"data: "):
                self.hear(json.loads(line[len("data: "):]))
        connection.close()

    def hear(self, message):
        self.ledger.count("heard " + message["type"])
        if message["type"] == "snapshot":
            self.routes = dict(enumerate(message["data"]["routes"]["sources"]))
        if message["type"] == "change":
            for change in message["data"]:
                if change["kind"] == "routes":
                    for route in change["routes"]:
                        self.routes[route[0]] = route[1]
