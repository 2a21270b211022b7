#include "server/web/body.h"

#include <set>
#include <utility>
#include <vector>

namespace web {

namespace {
// An object or an array whose end has not come.
struct unfinished {
    bool is_object = false;
    std::vector<std::pair<std::string, json>> members;
    json::array_t items;
    std::set<std::string> names; // of the members
    std::string name;            // of the next one
};

// Puts the value together from what the library's parser finds, each part of it once: with a
// callback, or into an object that grows, the library goes through the same parts again and again.
struct builder {
    json& value;
    std::string& error;
    std::vector<unfinished> open{};

    bool refuse(const std::string& why)
    {
        error = "The body is no JSON that is read here: " + why + ".";
        return false;
    }

    bool add(json part)
    {
        if (open.empty())
            value = std::move(part);
        else if (open.back().is_object)
            open.back().members.emplace_back(std::move(open.back().name), std::move(part));
        else
            open.back().items.push_back(std::move(part));
        return true;
    }

    bool begin(bool is_object)
    {
        if (open.size() >= DEEPEST_JSON)
            return refuse("it is more than " + std::to_string(DEEPEST_JSON) + " levels deep");
        open.emplace_back().is_object = is_object;
        return true;
    }

    // What the parser calls, by the library's names.
    bool null()
    {
        return add(nullptr);
    }
    bool boolean(bool flag)
    {
        return add(flag);
    }
    bool number_integer(json::number_integer_t number)
    {
        return add(number);
    }
    bool number_unsigned(json::number_unsigned_t number)
    {
        return add(number);
    }
    bool number_float(json::number_float_t number, const std::string& /*text*/)
    {
        return add(number);
    }
    bool string(std::string& text)
    {
        return add(std::move(text));
    }
    bool binary(json::binary_t& /*bytes*/)
    {
        return false; // there is none in a text
    }
    bool start_object(std::size_t /*size*/)
    {
        return begin(true);
    }
    bool key(std::string& name)
    {
        unfinished& object = open.back();
        if (!object.names.insert(name).second) return refuse("\"" + name + "\" stands there twice");
        if (object.names.size() > MEMBERS_OF_ONE) return refuse("an object has too many members");
        object.name = std::move(name);
        return true;
    }
    bool end_object()
    {
        json::object_t object;
        object.reserve(open.back().members.size());
        for (auto& [name, member] : open.back().members)
            object.emplace_back(std::move(name), std::move(member));
        open.pop_back();
        return add(std::move(object));
    }
    bool start_array(std::size_t /*size*/)
    {
        return begin(false);
    }
    bool end_array()
    {
        json::array_t items = std::move(open.back().items);
        open.pop_back();
        return add(std::move(items));
    }
    bool parse_error(std::size_t byte, const std::string& /*last*/, const json::exception& /*why*/)
    {
        error = "The body is no JSON: it goes wrong at byte " + std::to_string(byte) + ".";
        return false;
    }
};
} // namespace

bool read_json(const std::string& text, json& value, std::string& error)
{
    builder builder{value, error};
    return json::sax_parse(text, &builder);
}

} // namespace web
