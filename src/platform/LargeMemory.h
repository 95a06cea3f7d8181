#pragma once

#include <cstddef>

namespace platform {

// Tells the system that a large buffer, not yet written, will be filled
// from end to end: it may then back it with large pages, so that a file of a
// million points costs a few dozen page faults instead of tens of thousands.
// Only a hint; nothing changes in what the buffer holds.
void AdviseLargeBuffer(void* begin, std::size_t size);

// Gives back to the system the whole pages inside a buffer whose bytes are
// done with, while the buffer itself lives on: a large input converted a
// stretch at a time is then never held beside its whole conversion. The
// bytes there read as zeros afterwards.
void ReleaseDoneBytes(void* begin, std::size_t size);

} // namespace platform
