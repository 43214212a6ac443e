#include "MivoraMac/platform/DisplayLink.h"

namespace Mivora::platform {

DisplayLink::~DisplayLink() = default;

}  // namespace Mivora::platform
