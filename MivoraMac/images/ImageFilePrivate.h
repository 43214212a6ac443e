#pragma once

#include <memory>
#include <string>

#include "MivoraMac/platform/pictures/BitmapImage.h"

namespace Mivora {

/// The picture of a file and how many pixels of it make a point.
struct ImageFile {
    std::shared_ptr<const platform::BitmapImage> image;  ///< null on failure
    float scale = 1.0F;
};

/// The first picture of exactly the file at `path`, at a scale of 1.
///
/// A failure is one warning line, once for the same file and reason: the path, the reason and the
/// files that were looked for, the last of which is the one that could not be read. Thread: any.
ImageFile imageOfFile(const std::string& path);

/// The first picture of the file that takes the place of the one at `path` on the main screen, see
/// `highResolutionImagePath`. Otherwise as `imageOfFile`. Thread: main.
ImageFile imageOfBestFile(const std::string& path);

}  // namespace Mivora
