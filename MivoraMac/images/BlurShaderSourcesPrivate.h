#pragma once

#include <string>

#include "MivoraMac/Export.h"

namespace Mivora {

/// The two stages of a program that blurs along one direction.
struct BlurShaderSources {
    std::string vertex;
    std::string fragment;
};

/// Writes the stages for a radius in pixels, which is rounded and also the standard deviation of
/// the bell curve. Both are empty for one that does not round to 1 to 102, NaN included.
MIVORA_EXPORT BlurShaderSources blurShaderSources(float radius);

}  // namespace Mivora
