#include "server/journal/record.h"

namespace journal {

namespace {
constexpr std::size_t BYTES_OF_KEY = 128; // beside its texts

// Texts in a row, beside the record itself, are short but for a wish's detail.
std::size_t extra(const desk::batch_made& made)
{
    std::size_t bytes = made.batch.reason_given.size();
    for (const desk::wish& row : made.batch.rows)
        bytes += sizeof row + row.wished.router.size() + row.detail.size();
    return bytes;
}

std::size_t extra(const desk::salvo_saved& saved)
{
    return saved.version.rows.size() * (sizeof(desk::route) + desk::ROUTER_ID_LENGTH);
}

std::size_t extra(const desk::wish_ended& ended)
{
    return ended.detail.size();
}

template <class other>
std::size_t extra(const other&)
{
    return 0; // settings and reasons of some hundred bytes, which are rare
}

std::size_t bytes_of(const desk::entry& entry)
{
    return std::visit([](const auto& what) { return extra(what); }, entry.what);
}

std::size_t bytes_of(const note& note)
{
    std::size_t bytes = note.data.size();
    for (const auto& [key, value] : note.keys)
        bytes += BYTES_OF_KEY + key.size() + (value ? value->size() : 0);
    return bytes;
}

// If it were lost for its size, another would be given.
std::size_t bytes_of(const whole_house&)
{
    return 0;
}
} // namespace

std::size_t size_of(const record& given)
{
    return sizeof(record) + std::visit([](const auto& what) { return bytes_of(what); }, given);
}

} // namespace journal
