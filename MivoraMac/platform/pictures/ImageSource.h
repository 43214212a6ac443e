#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"

namespace Mivora::platform {

/// Reads image files: PNG, JPEG, GIF, BMP, TIFF and whatever else the decoders installed on the
/// machine know. The kind is told by the contents; the name means nothing.
///
/// Thread: any.
class MIVORA_EXPORT ImageSource {
 public:
    /// The most pixels of a width or height. What claims more is refused before memory is taken
    /// for it, as is what claims more than so many bytes can hold.
    static constexpr int kMaximumExtent = 16384;
    /// The most bytes of a file.
    static constexpr std::size_t kMaximumFileSize = std::size_t{1} << 30;

    /// What came of reading: an image, or a reason for there being none.
    struct Result {
        std::shared_ptr<const BitmapImage> image;  ///< null on failure
        std::string failure;                       ///< a sentence's part; empty on success
    };

    /// The first picture of a file, with premultiplied alpha or none, as it is stored: a turn that
    /// the file's metadata asks for is not made. Of an animation it is the first frame, which in a
    /// WebP file has to cover the whole picture. A GIF, BMP or TIFF picture that is opaque
    /// everywhere counts as one without alpha.
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
};

}  // namespace Mivora::platform
