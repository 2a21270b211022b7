// Finds the input or output that a word names: a number is the position, counted from 0; anything
// else, and any quoted word, is a name: the same name, else the one name equal but for case, else
// the one name that begins so.
#pragma once

#include <string>
#include <vector>

#include "tools/common/words.h"

namespace console {

// Returns the position, or -1 with a text that says what is wrong and what there is instead. The
// kind, "input" or "output", is for that text. Only the first count positions are looked at; names
// may be fewer.
int find_position(const std::vector<std::string>& names, int count, const std::string& kind,
                  const common::word& wanted, std::string& complaint);

} // namespace console
