#pragma once

#include <cstddef>

namespace platform {

// Tells the system that a large buffer, not yet written, will be filled
// from end to end: it may then back it with large pages, so that a file of a
// million points costs a few dozen page faults instead of tens of thousands.
// Only a hint; nothing changes in what the buffer holds.
void AdviseLargeBuffer(void* begin, std::size_t size);

} // namespace platform
