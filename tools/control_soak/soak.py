"""Runs the control server with routers and people that misbehave, kills it now and then, and holds
what routers, people and server say against each other. scripts/soak --control starts it."""

import argparse
import http.client
import json
import pathlib
import random
import shutil
import sys
import tempfile
import time

from house import PATIENCE, Client, Router, Server
from ledger import Ledger
from people import API, Follower, Person

SIZE = 32
ROUTERS = ("r1", "r2", "r3")
PEOPLE = 6
WARM_UP = 20  # seconds after which memory is looked at
KEPT_KIB_EACH = 3  # of an operation and its first answer, until the server's bounds are reached:
KEPT_KIB = 96 * 1024  # 10 000 operations, and 64 MiB of first answers
GROWTH_KIB = 32 * 1024  # beyond that
MORE_DESCRIPTORS = 40


def first_administrator(server):
    """The token of a program that may do everything."""
    connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=PATIENCE)
    headers = {"Content-Type": "application/json", "Origin": f"http://127.0.0.1:{server.port}"}

    def ask(path, body):
        connection.request("POST", API + path, json.dumps(body), headers)
        answer = connection.getresponse()
        text = answer.read()
        if answer.status >= 300:
            raise RuntimeError(f"{path} was answered {answer.status}: {text}")
        if "Set-Cookie" in answer.headers:
            headers["Cookie"] = answer.headers["Set-Cookie"].split(";")[0]
        return json.loads(text)

    ask("/first-administrator", {"code": server.code, "id": "ana", "name": "Ana K.",
                                 "password": "correct horse battery staple"})

    def token(name, usual):
        return ask("/tokens", {"id": name, "name": name, "kind": "api",
                               "rights": {"usual": usual, "exceptions": {}}})["secret"]
    return token


def until(what, done, ledger):
    end = time.monotonic() + PATIENCE
    while not done():
        if time.monotonic() > end:
            ledger.find(f"never: {what}")
            return
        time.sleep(0.1)


def is_quiet(client):
    status, _, answer = client.ask("GET", API + "/routers")
    return status == 200 and all(each["link"]["state"] == "ready" for each in answer["routers"])


def served_routes(client, router):
    routes = client.ask("GET", f"{API}/routers/{router}/routes")[2]["routes"]
    return {each["destination"]: -1 if each.get("source") is None else each["source"] for each in routes}


def check_strangers(server, viewer, ledger):
    for token, expected in ((None, 401), (viewer, 403)):
        status = Client(server, token).ask("PUT", f"{API}/routers/r1/destinations/0/route", {"source": 1})[0]
        if status != expected:
            ledger.find(f"a take by who may not was answered {status}, not {expected}")


def settle(routers, followers, client, ledger):
    """Nobody asks for anything any more: all must come to agree."""
    for router in routers:
        router.tell("off trouble")
    until("all routers are ready", lambda: is_quiet(client), ledger)
    time.sleep(8)  # what is under way ends, and every destination has been asked for
    for router in routers:
        shown = {place.destination: events[-1][1] for place, events in ledger.shown.items()
                 if place.router == router.name}
        until(f"what {router.name} shows is served",
              lambda: served_routes(client, router.name) == shown, ledger)
        ledger.compare(f"routes of {router.name}, router and server", shown,
                       served_routes(client, router.name))
    for follower in followers:
        until(f"a follower of {follower.router} has its routes",
              lambda: follower.routes == served_routes(client, follower.router), ledger)


def all_operations(client, ledger):
    answers = {}
    for operation in list(ledger.operations):
        status, _, answer = client.ask("GET", f"{API}/operations/{operation}?wait=60000")
        answers[operation] = answer if status == 200 else None
    return answers


def cost_of(server):
    return server.resident_kib(), server.descriptors()


def judge_program(ledger, early, late, status):
    kept = min(len(ledger.operations) * KEPT_KIB_EACH, KEPT_KIB)
    if late[0] > early[0] + kept + GROWTH_KIB:
        ledger.find(f"memory grew from {early[0]} to {late[0]} KiB")
    if late[1] > early[1] + MORE_DESCRIPTORS:
        ledger.find(f"{late[1]} descriptors are open, {early[1]} were")
    if status != 0:
        ledger.find(f"the server ended with {status}")


def show_progress(server, ledger, begun):
    with ledger.mutex:
        print(f"{time.monotonic() - begun:5.0f} s  {len(ledger.operations)} operations, "
              f"{sum(map(len, ledger.takes.values()))} takes, {server.resident_kib() / 1024:.0f} MiB, "
              f"{len(ledger.findings)} findings", flush=True)


def run(options, folder):
    ledger = Ledger()
    server = Server(options.server, folder)
    routers = []
    try:
        play(options, server, routers, ledger)
    finally:
        for router in routers:
            router.end()
        server.process.kill()
    return ledger


def play(options, server, routers, ledger):
    token = first_administrator(server)
    administrator = Client(server, token("soak", "administer"))
    viewer = token("viewer", "view")
    scenario = str(pathlib.Path(__file__).with_name("scenario.json"))
    routers += [Router(options.simulator, name, SIZE, scenario, options.seed + i, ledger)
                for i, name in enumerate(ROUTERS)]
    for router in routers:
        status = administrator.ask("POST", API + "/routers", {
            "id": router.name, "name": router.name, "address": "127.0.0.1", "port": router.port})[0]
        if status != 201:
            raise RuntimeError(f"adding {router.name} was answered {status}")
    until("all routers are ready", lambda: is_quiet(administrator), ledger)
    people = [Person(server, ledger, f"person{i}", token(f"person{i}", "operate"), ROUTERS, SIZE,
                     options.seed * 100 + i) for i in range(PEOPLE)]
    followers = [Follower(server, ledger, token(f"follower{i}", "view"), name)
                 for i, name in enumerate(ROUTERS)]
    for each in people + followers:
        each.start()
    dice = random.Random(options.seed)
    begun = time.monotonic()
    next_kill = begun + dice.uniform(10, 20)
    early = None
    while time.monotonic() - begun < options.seconds:
        time.sleep(5)
        check_strangers(server, viewer, ledger)
        show_progress(server, ledger, begun)
        if early is None and time.monotonic() - begun > WARM_UP:
            early = cost_of(server)
        if time.monotonic() > next_kill:
            server.kill()
            server.start()
            ledger.count("kills")
            next_kill = time.monotonic() + dice.uniform(20, 60)
    for person in people:
        person.stopping.set()
    for person in people:
        person.join(PATIENCE)
    settle(routers, followers, administrator, ledger)
    ledger.judge(all_operations(administrator, ledger))
    late = cost_of(server)
    for follower in followers:
        follower.stopping = True
    judge_program(ledger, early, late, server.end())


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--seconds", type=int, required=True)
    parser.add_argument("--seed", type=int, required=True)
    parser.add_argument("--server", required=True, help="the program router_control")
    parser.add_argument("--simulator", required=True, help="the program router_simulator")
    options = parser.parse_args()
    folder = tempfile.mkdtemp(prefix="control_soak.")
    ledger = run(options, folder + "/data")
    for what, count in sorted(ledger.counts.items()):
        print(f"{count:8} {what}")
    for finding in ledger.findings:
        print("found:", finding)
    if ledger.findings:
        print(f"Kept: {folder}")
        sys.exit(1)
    shutil.rmtree(folder)
    print("Nothing was lost, invented or late.")


if __name__ == "__main__":
    main()
