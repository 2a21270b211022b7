#include "server/journal/stored_json.h"

namespace journal {

namespace {
using nlohmann::json;

void make_ascii(json& value)
{
    if (value.is_string())
        for (char& byte : value.get_ref<std::string&>())
            if (static_cast<unsigned char>(byte) >= 0x80) byte = '?';
    if (value.is_structured())
        for (json& each : value)
            make_ascii(each);
}
} // namespace

std::string json_text(json value)
{
    try {
        return value.dump();
    } catch (const json::type_error&) { // no UTF-8
        make_ascii(value);
        return value.dump();
    }
}

} // namespace journal
