// Plays a test again when the machine has starved it: a backend that gets no time for seconds runs
// past its own deadlines and loses a connection that nothing has harmed.
#pragma once

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

constexpr int MOST_PLAYS = 5;

// Whether the first line that none of the accepted logs explains tells of a deadline.
bool departs_by_deadline(const std::vector<std::string>& lines,
                         const std::vector<std::vector<std::string>>& accepted);

// Each play is a fixture of its own, so with new programs. Only the last one is judged: the first
// that is not starved, or the one behind which there is no other, so that a backend that always
// times out is found.
template <typename Play, typename Param>
void play_unstarved(const Param& param)
{
    for (int plays = 1;; ++plays) {
        Play play(param);
        play.run();
        if (plays == MOST_PLAYS || !play.is_starved() || testing::Test::HasFailure())
            return play.judge();
        std::printf("Play %d has run past a deadline of the backend\n", plays);
    }
}
