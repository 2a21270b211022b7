// The tables as a house has them, whatever entries they have missed.
#pragma once

#include "server/desk/house.h"
#include "server/journal/store.h"

namespace journal {

// Within a transaction of the caller's. What saved_house reads becomes what the house is, and the
// history has all wishes that the house has, as they are by now. Wishes that are open in the tables
// and that the house has forgotten end as unknown. Other events stay missing: they are lost.
void keep_house(store& store, const desk::house& house);

} // namespace journal
