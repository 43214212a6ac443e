#pragma once

#include "MivoraMac/platform/pictures/Picture.h"

namespace Mivora::tests {

/// What is on the screen of the X server; empty where none answers.
platform::Picture grabScreen();

}  // namespace Mivora::tests
