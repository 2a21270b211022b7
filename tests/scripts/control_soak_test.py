"""The judges of scripts/soak --control: each thing that they can find is put there once."""

import sys
import unittest
from unittest import mock

from sandbox import PROJECT, SandboxTest

sys.path.insert(0, str(PROJECT / "tools/control_soak"))
import people  # noqa: E402
import soak  # noqa: E402
from ledger import Ledger, Place  # noqa: E402

PLACE = Place("r1", 3)


def row(outcome="confirmed", source=5, **more):
    return {"router": "r1", "destination": 3, "source": source, "outcome": outcome, "endedMs": 1000, **more}


class LedgerTest(unittest.TestCase):
    """A take of 5 at 100 s, carried out at 100.2 s, ended at 101 s."""

    def setUp(self):
        self.ledger = Ledger()
        self.ledger.acknowledged("one", "ana")
        self.ledger.router_shows(PLACE, 2, 50)

    def judge(self, *rows):
        self.ledger.judge({"one": {"wished": "1970-01-01T00:01:40.000Z", "rows": rows}})
        return self.ledger.findings

    def expect(self, words, *rows):
        findings = self.judge(*rows)
        self.assertEqual(len(findings), 1, findings)
        self.assertIn(words, findings[0])

    def test_nothing_is_wrong(self):
        self.ledger.router_took(PLACE, 5, 100.2)
        self.assertEqual(self.judge(row()), [])

    def test_what_went_wrong_is_told(self):
        for outcome in ("refused", "contradicted", "superseded", "timedOut", "unknown", "notSent"):
            self.assertEqual(self.judge(row(outcome)), [])

    def test_forgotten(self):
        self.ledger.judge({"one": None})
        self.assertIn("forgotten", self.ledger.findings[0])

    def test_without_end(self):
        self.expect("has not ended: open", row("open"))

    def test_sent_although_told_otherwise(self):
        self.ledger.router_took(PLACE, 5, 100.2)
        self.expect("got 1 takes of 5, 0 were asked for", row("notSent"))

    def test_sent_for_a_request_without_an_answer(self):
        self.ledger.router_took(PLACE, 5, 100.2)
        self.ledger.had_no_answer(99, 100.1)
        self.assertEqual(self.judge(row("notSent")), [])

    def test_sent_twice(self):
        self.ledger.router_took(PLACE, 5, 100.2)
        self.ledger.router_took(PLACE, 5, 100.4)
        self.expect("got 2 takes of 5, 1 were asked for", row())

    def test_sent_although_shown_already(self):
        self.ledger.router_took(PLACE, 2, 100.2)
        self.expect("got 1 takes of 2, 0 were asked for", row(source=2, unchanged=True))

    def test_confirmed_and_never_shown(self):
        self.expect("was confirmed, and the router did not show it", row())

    def test_confirmed_and_shown_before_and_after_alone(self):
        self.ledger.router_shows(PLACE, 5, 60)
        self.ledger.router_shows(PLACE, 2, 70)
        self.ledger.router_shows(PLACE, 5, 110)
        self.expect("was confirmed, and the router did not show it", row())

    def test_confirmed_as_shown_already(self):
        self.assertEqual(self.judge(row(source=2, unchanged=True)), [])

    def test_shown_until_a_moment_before(self):
        self.ledger.router_shows(PLACE, 6, 95)
        self.assertEqual(self.judge(row(source=2, unchanged=True)), [])

    def test_locked(self):
        self.ledger.router_took(PLACE, 5, 100.2)
        self.ledger.locked(PLACE, "ben", 99)
        self.expect("went although ben had locked it", row())

    def test_locks_of_others_bind_only_while_they_last(self):
        self.ledger.router_took(PLACE, 5, 100.2)
        self.ledger.locked(PLACE, "ana", 99)
        self.ledger.locked(PLACE, "ben", 90)
        self.ledger.unlocked(PLACE, 99)
        self.ledger.locked(PLACE, "ben", 100.1)
        self.assertEqual(self.judge(row()), [])

    def test_differences(self):
        self.ledger.compare("routes", {1: 2, 3: 4}, {1: 2, 3: 5, 6: 7})
        self.assertEqual(self.ledger.findings, ["routes: 3 is 4 here, 5 there", "routes: 6 is None here, 7 there"])


class ServerTest(unittest.TestCase):
    def setUp(self):
        self.ledger = Ledger()
        self.server = mock.Mock(port=1)

    def person(self, status, answer, headers=()):
        person = people.Person(self.server, self.ledger, "ana", "t", ("r1",), 4, 1)
        person.client.ask = mock.Mock(return_value=(status, dict(headers), answer))
        return person

    def test_failure(self):
        self.person(500, {"code": "broken"}).take()
        self.assertIn("was answered 500", self.ledger.findings[0])

    def test_operations_are_kept_in_mind(self):
        self.person(202, {"id": "one", "counts": {}}).take()
        self.person(409, {"operation": "two"}).take()
        self.assertEqual(set(self.ledger.operations), {"one", "two"})
        self.assertEqual(self.ledger.findings, [])

    def test_what_is_not_kept_may_be_forgotten(self):
        self.person(202, {"id": "one", "counts": {}}, {"Journal-Kept": "false"}).take()
        self.assertEqual(self.ledger.operations, {})
        self.assertEqual(len(self.ledger.unanswered), 1)

    def test_strangers(self):
        with mock.patch.object(soak, "Client") as client:
            client.return_value.ask.return_value = (200, {}, {})
            soak.check_strangers(self.server, "viewer", self.ledger)
        self.assertEqual([each[-3:] for each in self.ledger.findings], ["401", "403"])

    def test_what_never_comes(self):
        with mock.patch.object(soak, "PATIENCE", 0):
            soak.until("it is so", lambda: False, self.ledger)
        self.assertEqual(self.ledger.findings, ["never: it is so"])

    def test_growth_and_end(self):
        soak.judge_program(self.ledger, (1000, 20), (2000, 30), 0)
        self.assertEqual(self.ledger.findings, [])
        soak.judge_program(self.ledger, (1000, 20), (100000, 90), 1)
        self.assertEqual(len(self.ledger.findings), 3)

    def test_growth_beyond_what_is_kept(self):
        self.ledger.operations = dict.fromkeys(range(100_000))
        bound = 1000 + soak.KEPT_KIB + soak.GROWTH_KIB
        soak.judge_program(self.ledger, (1000, 20), (bound, 20), 0)
        self.assertEqual(self.ledger.findings, [])
        soak.judge_program(self.ledger, (1000, 20), (bound + 1, 20), 0)
        self.ledger.operations.clear()
        soak.judge_program(self.ledger, (1000, 20), (1001 + soak.GROWTH_KIB, 20), 0)
        self.assertEqual(len(self.ledger.findings), 2)

    def test_follower_keeps_what_it_is_told(self):
        follower = people.Follower(self.server, self.ledger, "t", "r1")
        follower.hear({"type": "snapshot", "data": {"routes": {"sources": [4, -1]}}})
        follower.hear({"type": "change", "data": [{"kind": "router"}, {"kind": "routes", "routes": [[1, 3, 0, None]]}]})
        self.assertEqual(follower.routes, {0: 4, 1: 3})


class CommandTest(SandboxTest):
    def test_is_started_with_duration_and_seed(self):
        self.path("tools/control_soak/soak.py").write_text("import sys; print(sys.argv[1:5]); sys.exit(3)\n")
        status, output = self.run_command("scripts/soak", "--control", "90", "--seed", "7")
        self.assertEqual(status, 3)
        self.assertIn("['--seconds', '90', '--seed', '7']", output)


if __name__ == "__main__":
    unittest.main()
