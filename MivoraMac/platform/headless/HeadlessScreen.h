#pragma once

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/windows/Screen.h"

namespace Mivora::platform {

/// A screen that exists as a number only.
class MIVORA_EXPORT HeadlessScreen : public Screen {
 public:
    /// Starts with the scale in the environment variable `MIVORA_SCALE`, or 1 when that is unset
    /// or not a finite number above zero (logged, category `events`).
    HeadlessScreen();

    double backingScaleFactor() const override { return backingScaleFactor_; }

    /// Values that are not finite or not above zero are ignored.
    void setBackingScaleFactor(double factor);

 private:
    double backingScaleFactor_ = 1;
};

}  // namespace Mivora::platform
