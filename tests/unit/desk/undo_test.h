// Takes from beginning to end, and their undoing.
#pragma once

#include "server/desk/undo.h"
#include "unit/desk/desk_test.h"

namespace desk {

class UndoTest : public DeskTest {
  protected:
    take_answer undo_all(const actor& actor)
    {
        return undo(desk, now, actor, how(batch_rule::all));
    }

    // What stands against undoing anna's only take of MON A.
    reason why_not()
    {
        const take_answer dry = undo(desk, now, anna, how(batch_rule::all, true));
        const take_answer real = undo_all(anna);
        EXPECT_EQ(dry.rows.at(0).why, real.rows.at(0).why);
        detail = real.rows.at(0).detail;
        return real.rows.at(0).why;
    }

    // The router shows it, and the backend reports it.
    void show(int destination, int source)
    {
        shows(destination, source);
        report(destination, source);
    }

    void expect_shown(int source)
    {
        EXPECT_EQ(source_shown(*find_live(desk, "main"), 0), source);
    }

    // A wish from beginning to end.
    ulid put(const actor& actor, int destination, int source)
    {
        const ulid batch = wish(actor, destination, source).batch;
        carry_out(destination, source);
        return batch;
    }

    // The only row of an undo or redo, to its end.
    void finish(const take_answer& answer)
    {
        const route row = answer.rows.at(0).wished;
        carry_out(row.destination, row.source);
        EXPECT_EQ(became(answer), "confirmed");
    }

    ulid put_two(const actor& actor)
    {
        const ulid id = wish(actor, {{"main", 0, 5}, {"main", 1, 6}}).batch;
        carry_out(0, 5);
        carry_out(1, 6);
        forget_told();
        return id;
    }

    std::string detail;
};

} // namespace desk
