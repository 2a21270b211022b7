// Plays a test again when the machine has starved it: a backend that gets no time for seconds runs
// past its own deadlines and loses a connection that nothing has harmed.
#pragma once

#include <chrono>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

constexpr int MOST_PLAYS = 5;

// The backend's deadlines are two seconds and more, of which a play by itself uses half at most:
// one that was starved for less has another reason to run past them.
constexpr std::chrono::milliseconds LEAST_STARVATION(500);

// Whether the first line that none of the accepted logs explains tells of a deadline.
bool departs_by_deadline(const std::vector<std::string>& lines,
                         const std::vector<std::vector<std::string>>& accepted);

// Each play is a fixture of its own, so with new programs. Only the last one is judged: the first
// that has not run past a deadline, or not by the machine's fault, or the one behind which there is
// no other, so that a backend that always times out is found.
template <typename Play, typename Param>
void play_unstarved(const Param& param)
{
    for (int plays = 1;; ++plays) {
        Play play(param);
        play.run();
        const std::chrono::milliseconds starved = play.starved_for();
        if (plays == MOST_PLAYS || !play.has_departed() || starved < LEAST_STARVATION ||
            testing::Test::HasFailure())
            return play.judge();
        std::printf("Play %d has run past a deadline of the backend, starved for %d ms\n", plays,
                    static_cast<int>(starved.count()));
    }
}
