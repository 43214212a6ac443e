#pragma once

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// Whether it is Mesa's llvmpipe that draws for the current context. False without one, too.
MIVORA_EXPORT bool isLlvmpipe();

}  // namespace Mivora::platform
