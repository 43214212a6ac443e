#pragma once

#include <string>
#include <vector>

#include "MivoraMac/Export.h"

namespace Mivora {

/// A file of an image, and how many pixels of it make a point.
struct ImageVariant {
    std::string path;
    float scale = 1.0F;
    bool operator==(const ImageVariant&) const = default;
};

/// The files that may take the place of the one at `path`, the most wanted first: the one for the
/// screen ("name@2x.png" for "name.png" on a screen of more than one and up to two pixels a point,
/// the plain file on one of one), then those marked @4x, @3x and @2x.
/// @param backingScaleFactor  the screen's pixels per point; a fraction is rounded up
MIVORA_EXPORT std::vector<ImageVariant> imageVariants(const std::string& path,
                                                      double backingScaleFactor);

/// The first of those files that exists on the main screen's terms, or `path` with a scale of 1
/// when none does. A leading "~" or "~name" stands for a home folder while existence is looked
/// into, and stays in the result as it was. Thread: main.
MIVORA_EXPORT ImageVariant highResolutionImagePath(const std::string& path);

}  // namespace Mivora
