#pragma once

#include "MivoraMac/platform/windows/DisplayLink.h"

namespace Mivora::platform {

/// A display link at the refresh rate of a monitor.
class GtkDisplayLink : public DisplayLink {
 public:
    /// @param periodSeconds  of the main screen
    GtkDisplayLink(Handler handler, double periodSeconds);

    /// Takes the rate of the monitor that shows the context's view; without one, no effect. Asks on
    /// the main thread and waits for the answer, so whoever calls elsewhere must not be what the
    /// main thread waits for.
    void setCurrentDisplayFromOpenGLContext(GLContext& context, const PixelFormat& format) override;
};

}  // namespace Mivora::platform
