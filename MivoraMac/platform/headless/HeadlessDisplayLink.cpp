#include "MivoraMac/platform/headless/HeadlessDisplayLink.h"

#include <utility>

namespace Mivora::platform {

HeadlessDisplayLink::HeadlessDisplayLink(Handler handler) : DisplayLink(std::move(handler)) {}

void HeadlessDisplayLink::setCurrentDisplayFromOpenGLContext(GLContext&, const PixelFormat&) {}

}  // namespace Mivora::platform
