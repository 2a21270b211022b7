// In which form a browser wants what is kept in several (RFC 9110, section 12.5.3).
#pragma once

#include <string_view>

namespace web {

enum class content_coding { identity, gzip, brotli };

// By the value of `Accept-Encoding`; empty: the request has none. What is wanted most, of equals
// the shortest form. Identity, too, where nothing of it will do.
content_coding choose_coding(std::string_view accepted);

std::string_view text_of(content_coding coding); // "br"

} // namespace web
