#pragma once

#include "MivoraMac/Export.h"

namespace Mivora::platform {

class GLContext;
class PixelFormat;

/// A source of callbacks at a display's refresh rate, as the running host provides it.
class MIVORA_EXPORT DisplayLink {
 public:
    virtual ~DisplayLink();

    /// Ties the link to the display on which the context shows its drawing.
    virtual void setCurrentDisplayFromOpenGLContext(GLContext& context,
                                                    const PixelFormat& format) = 0;
};

}  // namespace Mivora::platform
