#include "server/accounts/carrying.h"

#include "server/accounts/account_json.h"
#include "server/accounts/kept_accounts.h"
#include "server/accounts/people.h"
#include "server/desk/limits.h"
#include "server/desk/salvos.h"
#include "server/journal/entry_tables.h"
#include "server/journal/house_json.h"
#include "server/journal/saved_house.h"
#include "server/journal/stored_json.h"
#include "tools/common/characters.h"

namespace accounts {

namespace {
using journal::member;
using journal::place;
using nlohmann::json;

constexpr const char* FORMAT = "router control export";
constexpr int VERSION = 1;
constexpr const char* ORIGIN = "import";
constexpr int DEEPEST = 32; // levels; what we write has fewer

// Only what holds, without what has happened.
desk::house without_wishes(const desk::house& house)
{
    desk::house lasting;
    lasting.routers = house.routers;
    lasting.salvos = house.salvos;
    lasting.deleted_salvos = house.deleted_salvos;
    for (auto& [id, router] : lasting.routers) {
        router.added_after = {};
        router.authors.clear();
    }
    return lasting;
}

person without_secrets(person person)
{
    person.password.clear();
    person.seen = {};
    return person;
}

// Looks at the brackets alone, as what is nested very deep cannot be gone into.
bool is_too_deep(std::string_view text)
{
    int depth = 0;
    bool in_string = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char letter = text[i];
        if (letter == '"') in_string = !in_string;
        if (in_string && letter == '\\') ++i; // what it stands before ends no string
        if (in_string) continue;
        if (letter == '[' || letter == '{') ++depth;
        if (letter == ']' || letter == '}') --depth;
        if (depth > DEEPEST) return true;
    }
    return false;
}

// In no text and no member's name, as in none that is set by a request.
void refuse_unseen(const place& at)
{
    constexpr std::size_t ANY = SIZE_MAX;
    if (at.value.is_array()) read_array(at, ANY, refuse_unseen);
    if (at.value.is_object())
        read_members(at, ANY, [&](const std::string& name, const place& each) {
            const std::string complaint = common::complaint_about(name);
            if (!complaint.empty()) complain(at, "has a member whose name " + complaint);
            refuse_unseen(each);
        });
    if (!at.value.is_string()) return;
    const std::string complaint = common::complaint_about(at.value.get_ref<const std::string&>());
    if (!complaint.empty()) complain(at, complaint);
}

void read_whole(const place& at, carried& read)
{
    expect_members(at, {"format", "version", "house", "people"});
    if (member(at, "format").value != FORMAT) complain(at, "is no export");
    if (read_integer(member(at, "version"), 1, INT32_MAX) > VERSION)
        complain(at, "was written by a newer program");
    refuse_unseen(at);
    std::string error;
    if (!journal::read_house(member(at, "house").value.dump(), read.house, error))
        throw journal::misfit("house: " + error);
    read.house = without_wishes(read.house);
    read_members(member(at, "people"), PEOPLE, [&](const std::string& id, const place& each) {
        if (!is_person_id(id)) complain(each, "is no person's id");
        const person person = read_person(each);
        if (!person.password.empty()) complain(each, "has a password, which is not carried");
        if (is_too_deep(person.settings)) complain(each, "has settings that are nested too deep");
        read.people[id] = without_secrets(person);
    });
}

// Whether the salvo is there already as it is in `read`; also of a deleted one.
template <class salvos>
bool is_same(const salvos& there, const salvos& read, const desk::ulid& id)
{
    const auto found = there.find(id);
    const auto wanted = read.find(id);
    return found == there.end() ? wanted == read.end()
                                : wanted != read.end() && found->second == wanted->second;
}

bool has_salvo(const desk::house& house, const desk::ulid& id)
{
    return house.salvos.contains(id) || house.deleted_salvos.contains(id);
}

// One thing after another is added to what there is, as long as nothing speaks against it.
struct carrying {
    desk::house house; // as it becomes
    accounts_state accounts;
    desk::moment now;
    desk::ulid last_batch; // of those that are there; none: there are none
    std::vector<desk::entry> entries;
    carrying_result result;

    void refuse(const std::string& sentence)
    {
        result.against.push_back(sentence);
    }

    void add(decltype(desk::entry::what) what, desk::wall at)
    {
        entries.push_back({at, "", ORIGIN, std::move(what)});
        apply_entry(house, entries.back());
    }
};

void carry_router(carrying& carrying, const std::string& id, const desk::house_router& router)
{
    const auto there = carrying.house.routers.find(id);
    if (there != carrying.house.routers.end()) {
        if (there->second == router)
            ++carrying.result.same;
        else
            carrying.refuse("There is another router " + id + " already.");
        return;
    }
    ++carrying.result.routers;
    const desk::wall now = carrying.now.utc;
    carrying.add(desk::router_set{router.settings, carrying.last_batch}, now);
    for (const auto& [position, label] : router.source_labels)
        carrying.add(desk::label_set{id, desk::side::sources, position, label}, now);
    for (const auto& [position, label] : router.destination_labels)
        carrying.add(desk::label_set{id, desk::side::destinations, position, label}, now);
    for (const auto& [destination, lock] : router.locks)
        carrying.add(desk::lock_set{id, destination, lock}, now);
}

void carry_salvo(carrying& carrying, const desk::house& read, const desk::ulid& id,
                 const desk::salvo& salvo)
{
    const auto deleted = read.deleted_salvos.find(id);
    const bool is_deleted = deleted != read.deleted_salvos.end();
    if (has_salvo(carrying.house, id)) {
        if (is_same(carrying.house.salvos, read.salvos, id) &&
            is_same(carrying.house.deleted_salvos, read.deleted_salvos, id))
            ++carrying.result.same;
        else
            carrying.refuse("There is another salvo of the id of " + salvo.name + " already.");
        return;
    }
    if (!is_deleted && desk::find_salvo(carrying.house, salvo.name)) {
        carrying.refuse("There is another salvo " + salvo.name + " already.");
        return;
    }
    ++carrying.result.salvos;
    for (const desk::salvo_version& version : salvo.versions)
        carrying.add(desk::salvo_saved{id, salvo.name, version}, carrying.now.utc);
    if (is_deleted) carrying.add(desk::salvo_deleted{id}, deleted->second.deleted);
}

void carry_person(carrying& carrying, const std::string& id, const person& read)
{
    const person* const there = find_person(carrying.accounts, id);
    if (there != nullptr && without_secrets(*there) == read) {
        ++carrying.result.same;
    } else if (there != nullptr) {
        carrying.refuse("There is another person " + id + " already.");
    } else if (carrying.accounts.tokens.contains(id)) {
        carrying.refuse("There is a token " + id + " already.");
    } else {
        ++carrying.result.people;
        carrying.accounts.people.emplace(id, read);
        tell(carrying.accounts, carrying.now, {"", ORIGIN, {}}, event::kind::person_set, id);
    }
}

void refuse_too_much(carrying& carrying)
{
    const desk::house& house = carrying.house;
    std::size_t rows = 0;
    const auto count = [&](const desk::salvo& salvo) {
        for (const desk::salvo_version& version : salvo.versions)
            rows += version.rows.size();
    };
    for (const auto& [id, salvo] : house.salvos)
        count(salvo);
    for (const auto& [id, deleted] : house.deleted_salvos)
        count(deleted.salvo);
    if (house.routers.size() > desk::ROUTERS) carrying.refuse("There would be too many routers.");
    if (house.salvos.size() > desk::SALVOS || rows > desk::SALVO_ROWS ||
        house.deleted_salvos.size() > desk::DELETED_SALVOS)
        carrying.refuse("There would be too many salvos.");
    if (carrying.accounts.people.size() > PEOPLE)
        carrying.refuse("There would be too many people.");
}
} // namespace

std::string export_text(const desk::house& house, const accounts_state& accounts)
{
    json object = {{"format", FORMAT},
                   {"version", VERSION},
                   {"house", journal::house_json(without_wishes(house))},
                   {"people", json::object()}};
    for (const auto& [id, person] : accounts.people)
        object["people"][id] = person_object(without_secrets(person));
    return object.dump(1, ' ', false, json::error_handler_t::replace) + "\n";
}

bool read_export(const std::string& text, carried& read, std::string& error)
{
    if (is_too_deep(text)) {
        error = "it is nested too deep";
        return false;
    }
    try {
        const json whole = json::parse(text);
        carried found;
        read_whole(place{whole, "", false}, found);
        read = std::move(found);
        return true;
    } catch (const json::parse_error& thrown) {
        error = journal::no_json(text, thrown.byte);
    } catch (const json::exception&) { // of numbers alone; the rest is asked before it is read
        error = "it has a number that is too large";
    } catch (const journal::misfit& thrown) {
        error = thrown.what();
    }
    return false;
}

carrying_result carry_in(journal::store& store, const carried& read, const desk::moment& now)
{
    SQLite::Transaction transaction(*store.database.file);
    const desk::house there = saved_house(store, now.utc);
    carrying carrying{
        without_wishes(there), kept_accounts(store, now), now, desk::last_batch(there), {}, {}};
    for (const auto& [id, router] : read.house.routers)
        carry_router(carrying, id, router);
    for (const auto& [id, salvo] : read.house.salvos)
        carry_salvo(carrying, read.house, id, salvo);
    for (const auto& [id, deleted] : read.house.deleted_salvos)
        carry_salvo(carrying, read.house, id, deleted.salvo);
    for (const auto& [id, person] : read.people)
        carry_person(carrying, id, person);
    refuse_too_much(carrying);
    if (!carrying.result.against.empty()) return {std::move(carrying.result.against)};
    for (const desk::entry& each : carrying.entries)
        keep_entry(store, each);
    for (const journal::note& each : take_notes(carrying.accounts))
        keep_note(store, each);
    transaction.commit();
    return carrying.result;
}

} // namespace accounts
