"""What people asked of the control server, what routers did, and what the server says of both:
held against each other. Times are in seconds of the wall clock, which is the same for all."""

import collections
import dataclasses
import datetime
import threading

# Of a wish that has ended so no take has ever reached the router.
NEVER_SENT = {"notSent"}
OUTCOMES = NEVER_SENT | {"confirmed", "refused", "contradicted", "superseded", "timedOut", "unknown"}
LATENESS = 0.5  # of a line that a router's program prints, and of a clock read
AFTER_ALL = 3  # how long after a request without an answer its takes may come
UNHEARD = 10  # how long a router may show something else before the server knows, as when it is silent


@dataclasses.dataclass(frozen=True)
class Place:
    router: str
    destination: int


@dataclasses.dataclass
class Lock:
    person: str
    begun: float  # acknowledged
    ended: float = float("inf")  # its end was asked for


class Ledger:
    def __init__(self):
        self.mutex = threading.Lock()
        self.findings = []
        self.operations = {}  # that the server has acknowledged: who asked for it
        self.unanswered = []  # beginnings and ends of requests that may have been carried out or not
        self.takes = collections.defaultdict(list)  # when routers got them from clients: by (place, source)
        self.shown = collections.defaultdict(list)  # by place: times and sources, in order
        self.locks = collections.defaultdict(list)  # by place
        self.counts = collections.Counter()

    def find(self, what):
        with self.mutex:
            self.findings.append(what)

    def count(self, what):
        with self.mutex:
            self.counts[what] += 1

    def acknowledged(self, operation, person):
        with self.mutex:
            self.operations[operation] = person

    def had_no_answer(self, begun, ended):
        with self.mutex:
            self.unanswered.append((begun, ended))

    def router_shows(self, place, source, time):
        with self.mutex:
            self.shown[place].append((time, source))

    def router_took(self, place, source, time):
        with self.mutex:
            self.takes[place, source].append(time)
        self.router_shows(place, source, time)

    def locked(self, place, person, time):
        with self.mutex:
            self.locks[place].append(Lock(person, time))

    def unlocked(self, place, time):
        with self.mutex:
            for lock in self.locks[place]:
                lock.ended = min(lock.ended, time)

    def was_shown(self, place, source, begun, ended):
        """Whether the router showed the source at some moment between the two."""
        latest = None
        for time, shown in self.shown[place]:
            if time > ended + LATENESS:
                break
            if time >= begun - LATENESS and shown == source:
                return True
            if time < begun:
                latest = shown
        return latest == source

    def judge(self, answers):
        """Of all operations, with what the server says of each in the end; None: it knows none."""
        reached = collections.Counter()
        for operation, person in self.operations.items():
            told = answers.get(operation)
            if told is None:
                self.find(f"operation {operation} was acknowledged and is forgotten")
                continue
            wished = datetime.datetime.fromisoformat(told["wished"]).timestamp()
            for row in told["rows"]:
                self.judge_row(f"operation {operation}", person, wished, row, reached)
        for (place, source), times in self.takes.items():
            known = [time for time in times if not self.may_be_unanswered(time)]
            if len(known) > reached[place, source]:
                self.find(f"{place} got {len(known)} takes of {source}, {reached[place, source]} were asked for")

    def may_be_unanswered(self, time):
        return any(begun - LATENESS <= time <= ended + AFTER_ALL for begun, ended in self.unanswered)

    def judge_row(self, operation, person, wished, row, reached):
        place = Place(row["router"], row["destination"])
        source = row.get("source")  # none: an undo that does not know what to put back
        what = f"{operation}, {place} <- {source}"
        if row["outcome"] not in OUTCOMES:
            self.find(f"{what} has not ended: {row['outcome']}")
            return
        went = row["outcome"] not in NEVER_SENT and not row.get("unchanged")
        if went:
            reached[place, source] += 1
        begun = wished - (UNHEARD if row.get("unchanged") else 0)
        ended = wished + row.get("endedMs", 0) / 1000
        if row["outcome"] == "confirmed" and not self.was_shown(place, source, begun, ended):
            self.find(f"{what} was confirmed, and the router did not show it")
        if went:
            for lock in self.locks[place]:
                if lock.person != person and lock.begun < wished and ended < lock.ended:
                    self.find(f"{what} went although {lock.person} had locked it")

    def compare(self, what, ours, theirs):
        for key in sorted(set(ours) | set(theirs), key=str):
            if ours.get(key) != theirs.get(key):
                self.find(f"{what}: {key} is {ours.get(key)} here, {theirs.get(key)} there")
