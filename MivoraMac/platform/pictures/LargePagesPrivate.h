#pragma once

#include <cstddef>

namespace Mivora::platform {

/// Asks for large pages behind memory that is about to be written for the first time. Fresh pages
/// of the usual 4 KiB, one fault each, can cost as much time as all that is done with the pixels.
///
/// A hint: nothing depends on its being followed, and what the memory holds stays as it is.
///
/// @param memory  anything that `malloc` yields or a part of it; too small a piece is left alone
/// @param size    in bytes
/// Thread: any.
void preferLargePages(void* memory, std::size_t size);

}  // namespace Mivora::platform
