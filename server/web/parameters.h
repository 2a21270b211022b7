// Reading the parameters of an address, as fields.h reads members of a body: what is wrong is
// collected, each under its name, and reads as if it were absent.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/web/json.h"
#include "server/web/message.h"
#include "server/web/problem.h"

namespace web {

std::optional<std::string> read_text(const request& request, std::string_view name,
                                     std::vector<problem_at>& wrong, std::size_t longest = 255,
                                     std::size_t shortest = 0); // bytes
std::optional<std::int64_t> read_integer(const request& request, std::string_view name,
                                         std::int64_t least, std::int64_t most,
                                         std::vector<problem_at>& wrong);
std::optional<desk::wall> read_time(const request& request, std::string_view name,
                                    std::vector<problem_at>& wrong);
std::optional<bool> read_flag(const request& request, std::string_view name,
                              std::vector<problem_at>& wrong);
// One of these words; its place among them.
std::optional<std::size_t> read_word(const request& request, std::string_view name,
                                     const std::vector<std::string>& words,
                                     std::vector<problem_at>& wrong);

} // namespace web
