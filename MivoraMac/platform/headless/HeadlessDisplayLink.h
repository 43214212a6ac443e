#pragma once

#include "MivoraMac/platform/windows/DisplayLink.h"

namespace Mivora::platform {

/// A display link where there is no display: 60 refreshes a second, wherever drawing goes.
class MIVORA_EXPORT HeadlessDisplayLink : public DisplayLink {
 public:
    /// A stopped link.
    /// @param handler  what to call at a refresh; an empty one is not
    explicit HeadlessDisplayLink(Handler handler = {});

    /// No effect: there is no display.
    void setCurrentDisplayFromOpenGLContext(GLContext& context, const PixelFormat& format) override;
};

}  // namespace Mivora::platform
