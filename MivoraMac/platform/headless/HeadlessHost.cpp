#include "MivoraMac/platform/headless/HeadlessHost.h"

#include "MivoraMac/platform/headless/HeadlessGLContextPrivate.h"

namespace Mivora::platform {

HeadlessHost::HeadlessHost() : screen_(std::make_shared<HeadlessScreen>()) {}

std::shared_ptr<GLContext> HeadlessHost::createGLContext(const std::shared_ptr<PixelFormat>& format,
                                                         const std::shared_ptr<GLContext>& share) {
    return HeadlessGLContext::create(format, share);
}

}  // namespace Mivora::platform
