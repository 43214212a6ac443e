#pragma once

#include <memory>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// A display of the desktop, as far as the library needs one.
///
/// Thread: main, unless stated otherwise.
class MIVORA_EXPORT Screen {
 public:
    virtual ~Screen();

    /// Pixels per point, at least one of them per point on ordinary screens. Finite and above zero.
    virtual double backingScaleFactor() const = 0;

    /// The screen with the keyboard focus or, where that is unknown, the primary one; never null.
    static std::shared_ptr<Screen> mainScreen();
};

}  // namespace Mivora::platform
