#pragma once

#include <string>
#include <typeinfo>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// The name of a class as its source spells it, for logs and descriptions.
MIVORA_EXPORT std::string classNameOf(const std::type_info& type);

}  // namespace Mivora::platform
