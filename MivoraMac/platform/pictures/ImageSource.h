#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/ImageLimits.h"

namespace Mivora::platform {

/// Reads image files: PNG, JPEG, GIF, BMP, TIFF, WebP, icons and cursors (ICO, ANI, ICNS), PNM,
/// TGA, XPM, XBM, QTIF and SVG, each where its decoder is installed, and whatever else the decoders
/// on the machine know. The kind is told by the contents; the name means nothing.
///
/// The head of a file is read before a decoder sees it: what claims more than `ImageLimits` allow,
/// or more than its bytes can hold, is refused before memory is taken for it. Of kinds that are
/// not named above that holds from where their decoder tells the size.
///
/// Thread: any.
class MIVORA_EXPORT ImageSource {
 public:
    /// The most pixels of a width or height.
    static constexpr int kMaximumExtent = 16384;
    /// The most bytes of a file.
    static constexpr std::size_t kMaximumFileSize = std::size_t{1} << 30;

    /// What came of reading: an image, or a reason for there being none.
    struct Result {
        std::shared_ptr<const BitmapImage> image;  ///< null on failure
        std::string failure;                       ///< a sentence's part; empty on success
    };

    /// The first picture of a file, with premultiplied alpha or none, turned and mirrored as the
    /// EXIF data of a JPEG, PNG or WebP file and the directory of a TIFF file say. Of an animation
    /// it is the first frame, which in a WebP file has to cover the whole picture; of an icon or
    /// cursor the largest picture. A GIF, BMP or TIFF picture that is opaque everywhere counts as
    /// one without alpha. A vector picture is drawn on a thread of its own.
    ///
    /// Fails for what is not a readable regular file, and where any of the picture is missing.
    /// Never throws.
    static Result firstImageOfFile(const std::string& path);

    /// The same of the contents of a file.
    /// @param bytes          not kept
    /// @param maximumExtent  the most pixels of a width or height, if that is to be less than
    ///                       `kMaximumExtent`
    static Result firstImageOfBytes(std::span<const std::uint8_t> bytes,
                                    int maximumExtent = kMaximumExtent);

    /// What files may ask for, in the whole process.
    static ImageLimits limits();
    /// Holds for whatever is read from here on.
    static void setLimits(const ImageLimits& limits);
};

}  // namespace Mivora::platform
