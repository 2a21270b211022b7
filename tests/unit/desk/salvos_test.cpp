#include "server/desk/salvos.h"
#include "server/desk/setup.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {
class Salvos : public DeskTest {
  protected:
    const std::vector<route> rows{{"main", 0, 5}, {"back", 1, 6}};
    const actor vera{"vera", "panel", {right::operate, {{"back", right::view}}, {}}};

    salvo_answer save(const std::string& name, const std::vector<route>& some, const actor& actor)
    {
        const salvo_answer answer = save_salvo(desk, now, actor, name, some);
        EXPECT_EQ(answer.id.is_none(), answer.why != reason::none);
        EXPECT_EQ(answer.detail.empty(), answer.why == reason::none);
        return answer;
    }

    ulid save(const std::string& name)
    {
        return save(name, rows, anna).id;
    }

    salvo_answer set(const ulid& id, const wanted_salvo& wanted)
    {
        return set_salvo(desk, now, ben, id, wanted);
    }

    std::vector<std::string> kinds_told() const
    {
        std::vector<std::string> kinds;
        for (const entry& entry : desk.entries)
            kinds.emplace_back(std::holds_alternative<salvo_saved>(entry.what)       ? "saved"
                               : std::holds_alternative<salvo_renamed>(entry.what)   ? "renamed"
                               : std::holds_alternative<salvo_deleted>(entry.what)   ? "deleted"
                               : std::holds_alternative<salvo_restored>(entry.what)  ? "restored"
                               : std::holds_alternative<salvo_forgotten>(entry.what) ? "forgotten"
                                                                                     : "else");
        return kinds;
    }
};
} // namespace

TEST_F(Salvos, AreSaved)
{
    const ulid id = save("News");
    const salvo expected{"News", {{1, "anna", now.utc, rows, "", batch_rule::all}}};
    EXPECT_EQ(desk.house.salvos, (std::map<ulid, salvo>{{id, expected}}));
    ASSERT_EQ(desk.changes.size(), 1U);
    EXPECT_EQ(desk.changes.front().what, change::kind::salvo);
    EXPECT_EQ(desk.changes.front().router, "");
    EXPECT_EQ(desk.changes.front().revision, desk.revision);
    EXPECT_EQ(desk.changes.front().id, id);
}

TEST_F(Salvos, OfTheSameNameInAnyCaseAreVersions)
{
    const ulid id = save("News AZ");
    const std::vector<route> others{{"main", 3, 3}};
    EXPECT_EQ(save("nEWS az", others, ben).id, id);
    EXPECT_NE(save("News AZ 2"), id);
    const salvo& news = desk.house.salvos.at(id);
    EXPECT_EQ(news.name, "nEWS az");
    ASSERT_EQ(news.versions.size(), 2U);
    EXPECT_EQ(news.versions[0].number, 1);
    EXPECT_EQ(news.versions[1], (salvo_version{2, "ben", now.utc, others, "", batch_rule::all}));
    EXPECT_EQ(find_salvo(desk.house, "NEWS AZ"), id);
    EXPECT_EQ(find_salvo(desk.house, "NEWS"), std::nullopt);
}

TEST_F(Salvos, HaveANoteAndARule)
{
    const salvo_answer added =
        add_salvo(desk, now, anna, {"News", rows, "before\nthe show", batch_rule::rest});
    const salvo_version& first = desk.house.salvos.at(added.id).versions.back();
    EXPECT_EQ(first.note, "before the show");
    EXPECT_EQ(first.rule, batch_rule::rest);
    save("NEWS");
    const salvo_version& next = desk.house.salvos.at(added.id).versions.back();
    EXPECT_EQ(next.number, 2);
    EXPECT_EQ(next.note, "before the show") << "saved by its name, it keeps them";
    EXPECT_EQ(next.rule, batch_rule::rest);
}

TEST_F(Salvos, AreNotAddedTwice)
{
    save("Evening news");
    forget_told();
    const salvo_answer answer = add_salvo(desk, now, anna, {"evening NEWS", rows, "", {}});
    EXPECT_EQ(said(answer), "nameTaken: there is already a salvo called Evening news");
    EXPECT_TRUE(answer.id.is_none());
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(Salvos, SayWhichRowCannotBe)
{
    const auto row_of = [&](const std::vector<route>& some) {
        return add_salvo(desk, now, vera, {"a", some, "", {}}).row;
    };
    EXPECT_EQ(row_of({{"main", 0, 1}, {"main", 1, 1}, {"main", 0, 2}}), 2U);
    EXPECT_EQ(row_of({{"main", 0, 1}, {"back", 1, 1}}), 1U);
    EXPECT_EQ(row_of({}), std::nullopt);
}

TEST_F(Salvos, GetANextVersionWhenTheyAreAnother)
{
    const ulid id = save("News");
    const std::vector<route> others{{"main", 3, 3}};
    EXPECT_EQ(set(id, {"News", others, "", batch_rule::all}).id, id);
    EXPECT_EQ(set(id, {"News", others, "on air", batch_rule::all}).id, id);
    EXPECT_EQ(set(id, {"Late news", others, "on air", batch_rule::rest}).id, id);
    const salvo& salvo = desk.house.salvos.at(id);
    EXPECT_EQ(salvo.name, "Late news");
    EXPECT_EQ(salvo.versions.size(), 4U);
    EXPECT_EQ(salvo.versions.back(),
              (salvo_version{4, "ben", now.utc, others, "on air", batch_rule::rest}));
}

TEST_F(Salvos, AreRenamedWithoutAVersion)
{
    const ulid id = save("News");
    save("Black");
    forget_told();
    EXPECT_EQ(said(set(id, {"BLACK", rows, "", {}})),
              "nameTaken: there is already a salvo called Black");
    EXPECT_EQ(set(id, {"News", rows, "", {}}).id, id);
    EXPECT_THAT(desk.changes, IsEmpty()) << "nothing is another";
    EXPECT_EQ(set(id, {"NEWS", rows, "", {}}).id, id);
    EXPECT_EQ(desk.house.salvos.at(id).name, "NEWS");
    EXPECT_EQ(desk.house.salvos.at(id).versions.size(), 1U);
    EXPECT_THAT(kinds_told(), ElementsAre("renamed"));
    EXPECT_EQ(desk.changes.back().id, id);
    EXPECT_EQ(said(set({1, 1}, {"x", rows, "", {}})), "noSuchSalvo: there is no such salvo");
}

TEST_F(Salvos, NumberTheirVersionsOn)
{
    const ulid id = save("News");
    for (std::size_t i = 0; i < VERSIONS_PER_SALVO; ++i)
        save("News");
    const auto& versions = desk.house.salvos.at(id).versions;
    EXPECT_EQ(versions.size(), VERSIONS_PER_SALVO);
    EXPECT_EQ(versions.front().number, 2);
    EXPECT_EQ(versions.back().number, static_cast<int>(VERSIONS_PER_SALVO) + 1);
    EXPECT_EQ(run_salvo(desk, now, anna, id, 1, how(batch_rule::all)).why, reason::no_such_version);
}

TEST_F(Salvos, HaveNames)
{
    EXPECT_EQ(save("", rows, anna).why, reason::bad_value);
    EXPECT_EQ(save("a\nb", rows, anna).why, reason::bad_value);
    EXPECT_EQ(save(std::string(TEXT_LENGTH + 1, 'a'), rows, anna).why, reason::bad_value);
    EXPECT_THAT(desk.entries, IsEmpty());
    EXPECT_EQ(save(std::string(TEXT_LENGTH, 'a'), rows, anna).why, reason::none);
}

TEST_F(Salvos, HaveRowsThatTheirAuthorMayRoute)
{
    EXPECT_EQ(save("a", {}, anna).why, reason::bad_value);
    EXPECT_EQ(save("a", {{"main", 0, 1}, {"main", 0, 2}}, anna).why, reason::duplicate_destination);
    EXPECT_EQ(save("a", {{"gone", 0, 1}}, anna).why, reason::no_such_router);
    EXPECT_EQ(save("a", {{"main", POSITIONS_HERE, 1}}, anna).why, reason::no_such_destination);
    EXPECT_EQ(save("a", {{"main", 0, POSITIONS_HERE}}, anna).why, reason::no_such_source);
    EXPECT_EQ(save("a", rows, vera).why, reason::no_right);
    EXPECT_THAT(desk.house.salvos, IsEmpty());
    EXPECT_EQ(save("a", {{"main", 0, 1}, {"back", 0, 2}}, anna).why, reason::none);
}

TEST_F(Salvos, AreChangedByWhoMayRouteWhatIsInThem)
{
    const ulid id = save("News");
    const std::vector<route> own{{"main", 0, 1}};
    const std::string refused = "noRight: vera may not route all that is in News";
    EXPECT_EQ(said(set_salvo(desk, now, vera, id, {"Mine", own, "", batch_rule::all})), refused);
    EXPECT_EQ(said(save("news", own, vera)), refused);
    EXPECT_EQ(desk.house.salvos.at(id).versions.size(), 1U);
    EXPECT_EQ(desk.house.salvos.at(id).name, "News");
    EXPECT_EQ(save("News", own, anna).why, reason::none);
    EXPECT_EQ(save("News", {{"main", 0, 2}}, vera).why, reason::none); // none of the others now
}

TEST_F(Salvos, HaveAsManyRowsAsABatch)
{
    for (int router = 0; router * ROUTED_POSITIONS <= static_cast<int>(ROWS_PER_BATCH); ++router) {
        router_settings settings;
        settings.id = settings.name = "r" + std::to_string(router);
        set_router(desk, now, eve, settings);
    }
    std::vector<route> many;
    for (int i = 0; i <= static_cast<int>(ROWS_PER_BATCH); ++i)
        many.push_back({"r" + std::to_string(i / ROUTED_POSITIONS), i % ROUTED_POSITIONS, 0});
    EXPECT_EQ(save("many", many, anna).why, reason::bad_value);
    many.pop_back();
    EXPECT_EQ(save("many", many, anna).why, reason::none);
}

TEST_F(Salvos, AreBounded)
{
    for (std::size_t i = 0; i < SALVOS; ++i)
        save("salvo " + std::to_string(i));
    EXPECT_EQ(save("another", rows, anna).why, reason::too_many_at_once);
    EXPECT_EQ(save("salvo 0", rows, anna).why, reason::none);
}

TEST_F(Salvos, HaveBoundedRowsTogether)
{
    const ulid id = save("News");
    desk.house.salvos.at(id).versions.front().rows.resize(SALVO_ROWS - rows.size());
    EXPECT_EQ(save("black", rows, anna).why, reason::none);
    EXPECT_EQ(save("late", rows, anna).why, reason::too_many_at_once);
}

TEST_F(Salvos, AreDeletedByWhoMayRouteThem)
{
    const ulid id = save("News");
    desk.changes.clear();
    EXPECT_EQ(said(delete_salvo(desk, now, vera, id)),
              "noRight: vera may not route all that is in News");
    EXPECT_EQ(said(delete_salvo(desk, now, anna, {1, 1})), "noSuchSalvo: there is no such salvo");
    EXPECT_THAT(desk.changes, IsEmpty());
    EXPECT_EQ(said(delete_salvo(desk, now, ben, id)), "");
    EXPECT_THAT(desk.house.salvos, IsEmpty());
    ASSERT_EQ(desk.changes.size(), 1U);
    EXPECT_EQ(desk.changes.front().id, id);
}

TEST_F(Salvos, OfRemovedRoutersCanStillBeDeleted)
{
    const ulid id = save("News");
    remove_router(desk, now, eve, "back");
    EXPECT_EQ(said(delete_salvo(desk, now, vera, id)),
              "noRight: vera may not route all that is in News");
    EXPECT_EQ(said(delete_salvo(desk, now, anna, id)), "");
}

TEST_F(Salvos, ThatWereDeletedAreRestored)
{
    const ulid id = save("News");
    save("News", {{"main", 3, 3}}, anna);
    const salvo kept = desk.house.salvos.at(id);
    EXPECT_EQ(said(restore_salvo(desk, now, anna, id)), "notDeleted: News has not been deleted");
    delete_salvo(desk, now, anna, id);
    EXPECT_EQ(run_salvo(desk, now, anna, id, 0, how(batch_rule::all)).why, reason::no_such_salvo);
    EXPECT_EQ(desk.house.deleted_salvos.at(id), (deleted_salvo{kept, now.utc}));
    EXPECT_EQ(said(delete_salvo(desk, now, anna, id)), "noSuchSalvo: there is no such salvo");
    EXPECT_EQ(said(restore_salvo(desk, now, anna, {1, 1})), "noSuchSalvo: there is no such salvo");
    EXPECT_EQ(said(restore_salvo(desk, now, guest, id)),
              "noRight: guest may not route all that is in News");
    forget_told();
    EXPECT_EQ(said(restore_salvo(desk, now, ben, id)), "");
    EXPECT_EQ(desk.house.salvos.at(id), kept);
    EXPECT_THAT(desk.house.deleted_salvos, IsEmpty());
    EXPECT_THAT(kinds_told(), ElementsAre("restored"));
    EXPECT_EQ(desk.changes.back().id, id);
}

TEST_F(Salvos, AreNotRestoredUnderANameThatIsTaken)
{
    const ulid id = save("News");
    delete_salvo(desk, now, anna, id);
    const ulid other = save("NEWS");
    EXPECT_NE(other, id);
    EXPECT_EQ(said(restore_salvo(desk, now, anna, id)),
              "nameTaken: there is already a salvo called NEWS");
    delete_salvo(desk, now, anna, other);
    EXPECT_EQ(said(restore_salvo(desk, now, anna, id)), "");
}

TEST_F(Salvos, CanBeRestoredForThirtyDays)
{
    const ulid id = save("News");
    delete_salvo(desk, now, anna, id);
    const moment end{now.steady + DELETED_AGE, now.utc + DELETED_AGE};
    EXPECT_EQ(next_due(desk, now), end.steady);
    forget_told();
    advance(desk, {end.steady - monotonic(1000), end.utc - wall(1)});
    EXPECT_THAT(desk.entries, IsEmpty());
    advance(desk, end);
    EXPECT_THAT(kinds_told(), ElementsAre("forgotten"));
    EXPECT_EQ(desk.changes.back().id, id);
    EXPECT_THAT(desk.house.deleted_salvos, IsEmpty());
    EXPECT_EQ(next_due(desk, end), std::nullopt);
}

TEST_F(Salvos, ThatWereRestoredAreNotForgotten)
{
    const ulid id = save("News");
    delete_salvo(desk, now, anna, id);
    restore_salvo(desk, now, anna, id);
    EXPECT_EQ(next_due(desk, now), std::nullopt);
    delete_salvo(desk, now, anna, id);
    desk = make_desk(1, desk.house, now);
    EXPECT_EQ(next_due(desk, now), now.steady + DELETED_AGE) << "also after a restart";
}

TEST_F(Salvos, ThatWereDeletedAreBounded)
{
    std::vector<ulid> ids;
    for (std::size_t i = 0; i <= DELETED_SALVOS; ++i) {
        wait_ms(1);
        ids.push_back(save("News"));
        delete_salvo(desk, now, anna, ids.back());
    }
    EXPECT_EQ(desk.house.deleted_salvos.size(), DELETED_SALVOS);
    EXPECT_FALSE(desk.house.deleted_salvos.contains(ids.front()));
    EXPECT_EQ(desk.salvo_ends.size(), DELETED_SALVOS);
}

TEST_F(Salvos, ThatWereDeletedGoFirstWhenThereAreTooManyRows)
{
    const ulid id = save("News");
    delete_salvo(desk, now, anna, id);
    desk.house.deleted_salvos.at(id).salvo.versions.front().rows.resize(SALVO_ROWS - rows.size());
    save("black");
    EXPECT_TRUE(desk.house.deleted_salvos.contains(id));
    save("late");
    EXPECT_FALSE(desk.house.deleted_salvos.contains(id));
}

TEST_F(Salvos, SayWhatIsMissing)
{
    EXPECT_EQ(missing_for(desk, {"main", 0, NO_SOURCE}), reason::none);
    EXPECT_EQ(missing_for(desk, {"gone", 0, 1}), reason::no_such_router);
    EXPECT_EQ(missing_for(desk, {"main", POSITIONS_HERE, 1}), reason::no_such_destination);
    EXPECT_EQ(missing_for(desk, {"main", 0, POSITIONS_HERE}), reason::no_such_source);
}
