// How many descriptors the system gives this process, and what they are for.
#pragma once

#include <cstddef>

namespace program {

// Raises the limit as far as the system lets us. Returns how many there may be.
std::size_t raise_descriptor_limit();

// How many clients may be connected with so many descriptors: the rest is for backends, the journal
// and files, which no crowd of clients may keep from their work.
std::size_t clients_with(std::size_t descriptors);

} // namespace program
