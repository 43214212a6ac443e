#include "MivoraMac/platform/pictures/ImageSource.h"

#include <fcntl.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "MivoraMac/platform/pictures/BitmapContext.h"
#include "MivoraMac/platform/pictures/ByteWalkPrivate.h"
#include "MivoraMac/platform/pictures/DeadlinePrivate.h"
#include "MivoraMac/platform/pictures/ImageClaimPrivate.h"
#include "MivoraMac/platform/pictures/ImageContainerPrivate.h"
#include "MivoraMac/platform/pictures/ImageFileCheckPrivate.h"
#include "MivoraMac/platform/pictures/ImageFormatPrivate.h"
#include "MivoraMac/platform/pictures/ImageOrientationPrivate.h"
#include "MivoraMac/platform/pictures/LargePagesPrivate.h"
#include "MivoraMac/platform/pictures/TextImagePrivate.h"
#include "MivoraMac/platform/pictures/VectorCheckPrivate.h"

namespace Mivora::platform {

namespace {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
using Loader = std::unique_ptr<GdkPixbufLoader, Unref>;

/// The contents of a file, without the zeros that a vector would write first.
struct FileContents {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size = 0;
};

/// @return an empty text, or why not
std::string read(const std::string& path, FileContents& contents) {
    // Opening must not wait, as it would for a pipe that nobody writes to.
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return g_strerror(errno);
    }
    const struct Closer {
        int file;
        ~Closer() { ::close(file); }
    } closer{file};
    struct stat status {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        return "not a regular file";
    }
    if (status.st_size == 0) {
        return "the file is empty";
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > ImageSource::kMaximumFileSize) {
        return "the file is too large";
    }
    contents.bytes.reset(new (std::nothrow) std::uint8_t[size]);
    if (!contents.bytes) {
        return "no memory for the file";
    }
    while (contents.size < size) {
        const ssize_t count =
            ::read(file, contents.bytes.get() + contents.size, size - contents.size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return g_strerror(errno);
        }
        if (count == 0) {
            return "the file was shortened while being read";
        }
        contents.size += static_cast<std::size_t>(count);
    }
    return {};
}

/// The most that a picture may measure.
struct Bounds {
    int maximumExtent;
    std::uint64_t mostPixels;

    /// @return an empty text, or why it is too large
    std::string refusal(std::uint64_t width, std::uint64_t height) const {
        const auto extent = static_cast<std::uint64_t>(std::max(maximumExtent, 0));
        if (width > extent || height > extent) {
            return "the image is larger than " + std::to_string(maximumExtent) + " pixels";
        }
        if (width * height > mostPixels) {
            return "the image of " + std::to_string(width) + " x " + std::to_string(height) +
                   " pixels is larger than the limit of " + std::to_string(mostPixels);
        }
        return {};
    }
};

/// What a decoder is told and what it reports while it works.
struct Progress {
    Bounds bounds;
    std::string refusal;      ///< why the decoder is to stop; empty if it is not
    int firstRow = G_MAXINT;  ///< of those decoded
    int endRow = 0;
};

/// Called when the size is known and nothing has been allocated for the pixels.
void sizePrepared(GdkPixbufLoader* loader, gint width, gint height, gpointer data) {
    auto* progress = static_cast<Progress*>(data);
    progress->refusal = progress->bounds.refusal(static_cast<std::uint64_t>(std::max(width, 0)),
                                                 static_cast<std::uint64_t>(std::max(height, 0)));
    if (!progress->refusal.empty()) {
        gdk_pixbuf_loader_set_size(loader, 0, 0);  // makes the decoder stop
    }
}

/// Called when the memory for the pixels is there, which most decoders have not written to yet.
void areaPrepared(GdkPixbufLoader* loader, gpointer /*data*/) {
    GdkPixbuf* const pixbuf = gdk_pixbuf_loader_get_pixbuf(loader);
    preferLargePages(gdk_pixbuf_get_pixels(pixbuf), gdk_pixbuf_get_byte_length(pixbuf));
}

void areaUpdated(GdkPixbufLoader* /*loader*/, gint /*x*/, gint y, gint /*width*/, gint height,
                 gpointer data) {
    auto* progress = static_cast<Progress*>(data);
    progress->firstRow = std::min(progress->firstRow, y);
    progress->endRow = std::max(progress->endRow, y + height);
}

std::string take(GError* error) {
    std::string text = error != nullptr ? error->message : "the decoder gives no reason";
    g_clear_error(&error);
    return text;
}

/// @return an empty text, or why not
std::string decode(GdkPixbufLoader* loader, ImageFormat format,
                   std::span<const std::uint8_t> bytes) {
    GError* writeError = nullptr;
    GError* closeError = nullptr;
    bool written =
        gdk_pixbuf_loader_write(loader, bytes.data(), bytes.size(), &writeError) != FALSE;
    if (written && format == ImageFormat::GIF) {
        // There may be more frames until the file says that there are none.
        constexpr guchar kEnd = ';';
        written = gdk_pixbuf_loader_write(loader, &kEnd, 1, &writeError) != FALSE;
    }
    // A loader has to be closed in any case. After a failed write this repeats the failure.
    const bool closed = gdk_pixbuf_loader_close(loader, &closeError) != FALSE;
    if (!written) {
        g_clear_error(&closeError);
        return take(writeError);
    }
    return closed ? std::string() : take(closeError);
}

/// Whether a picture of four bytes a pixel is opaque everywhere.
bool isOpaque(const BitmapImage& image) {
    for (int y = 0; y < image.size().height; ++y) {
        const std::uint8_t* const row = image.row(y);
        std::uint8_t alpha = 255;
        for (int x = 0; x < image.size().width; ++x) {
            alpha &= row[4 * x + 3];
        }
        if (alpha != 255) {
            return false;
        }
    }
    return true;
}

bool isOneOf(ImageFormat format, std::initializer_list<ImageFormat> formats) {
    return std::find(formats.begin(), formats.end(), format) != formats.end();
}

std::shared_ptr<const BitmapImage> imageOfPixbuf(GdkPixbuf* pixbuf, ImageFormat format,
                                                 const Bounds& bounds) {
    const PixelSize size = {gdk_pixbuf_get_width(pixbuf), gdk_pixbuf_get_height(pixbuf)};
    if (gdk_pixbuf_get_bits_per_sample(pixbuf) != 8 ||
        !bounds
             .refusal(static_cast<std::uint64_t>(size.width),
                      static_cast<std::uint64_t>(size.height))
             .empty()) {
        return nullptr;
    }
    const std::shared_ptr<GdkPixbuf> owner(GDK_PIXBUF(g_object_ref(pixbuf)), Unref());
    guchar* const bytes = gdk_pixbuf_get_pixels(pixbuf);
    const std::shared_ptr<const std::uint8_t> pixels(owner, bytes);
    const auto bytesPerRow = static_cast<std::size_t>(gdk_pixbuf_get_rowstride(pixbuf));
    const bool hasAlpha = gdk_pixbuf_get_has_alpha(pixbuf) != FALSE;
    auto image = BitmapImage::create(size, hasAlpha ? AlphaInfo::Last : AlphaInfo::None,
                                     bytesPerRow, pixels);
    if (!image || !hasAlpha) {
        return image;
    }
    // These decoders add alpha to pictures that have none.
    using enum ImageFormat;
    if (isOneOf(format, {JPEG, GIF, BMP, TIFF}) && isOpaque(*image)) {
        return BitmapImage::create(size, AlphaInfo::NoneSkipLast, bytesPerRow, pixels);
    }
    // The decoder of TIFF files multiplies the colours by alpha, all others leave them straight.
    if (format != TIFF) {
        // In place: nobody else has seen these pixels, and new memory would cost as much again.
        auto context =
            BitmapContext::create(bytes, size, bytesPerRow, AlphaInfo::PremultipliedLast);
        if (!context) {
            return nullptr;
        }
        context->drawImage(*image);
    }
    return BitmapImage::create(size, AlphaInfo::PremultipliedLast, bytesPerRow, pixels);
}

/// What the decoder has found out of a TIFF file, having mirrored its picture already as far as
/// that goes.
ImageOrientation reportedOrientation(GdkPixbuf* pixbuf) {
    const char* const option = gdk_pixbuf_get_option(pixbuf, "orientation");
    const guint64 number = option != nullptr ? g_ascii_strtoull(option, nullptr, 10) : 0;
    return number >= 1 && number <= 8 ? static_cast<ImageOrientation>(number)
                                      : ImageOrientation::TopLeft;
}

ImageSource::Result failure(std::string reason) {
    return {nullptr, std::move(reason)};
}

/// A file with one picture on its way to the decoder.
struct Candidate {
    ImageFormat format = ImageFormat::Other;
    std::span<const std::uint8_t> bytes;
    std::vector<std::uint8_t> own;  ///< what the bytes are of, where they were written anew
    bool reportsRows = true;        ///< whether the decoder is to report every row

    void take(ImagePart&& part) {
        format = part.format;
        if (part.own.empty()) {
            bytes = part.bytes;
        } else {
            own = std::move(part.own);
            bytes = own;
            reportsRows = false;
        }
    }
};

/// Finds the file of one picture in a file of several. @return an empty text, or why there is none
std::string unwrap(Candidate& candidate, const Bounds& bounds) {
    constexpr int kMostLayers = 3;  // a wrapped animation of icons that are PNG files
    for (int layer = 0; candidate.own.empty(); ++layer) {
        std::optional<ImagePart> part = unwrappedImage(candidate.format, candidate.bytes);
        if (!part) {
            return {};
        }
        if (!part->failure.empty() || layer == kMostLayers) {
            return layer == kMostLayers ? "files are wrapped in too many others" : part->failure;
        }
        const PixelSize size = part->size;
        candidate.take(std::move(*part));
        if (std::string reason = bounds.refusal(static_cast<std::uint64_t>(size.width),
                                                static_cast<std::uint64_t>(size.height));
            !reason.empty()) {
            return reason;
        }
    }
    return {};
}

/// Checks what the file claims and that it is whole, as far as that is to be seen.
/// @return an empty text, or why it is refused
std::string check(Candidate& candidate, const Bounds& bounds) {
    if (isOneOf(candidate.format, {ImageFormat::XPM, ImageFormat::XBM})) {
        ImagePart part = rewrittenTextImage(candidate.format, candidate.bytes, bounds.mostPixels);
        if (!part.failure.empty()) {
            return part.failure;
        }
        std::string reason = bounds.refusal(static_cast<std::uint64_t>(part.size.width),
                                            static_cast<std::uint64_t>(part.size.height));
        candidate.take(std::move(part));
        return reason;
    }
    const std::optional<std::size_t> end = firstImageEnd(candidate.bytes);
    if (end == 0U) {
        return "the file is cut short or damaged";
    }
    if (end) {
        candidate.bytes = candidate.bytes.first(*end);
        candidate.reportsRows = false;
    }
    const std::optional<ImageClaim> claim = imageClaim(candidate.format, candidate.bytes);
    if (!claim) {
        return "the head of the file is damaged, or says what is not read";
    }
    if (std::string reason = bounds.refusal(claim->width, claim->height); !reason.empty()) {
        return reason;
    }
    if (claim->pixelsAtATime > bounds.mostPixels) {
        return "the image has tiles larger than the limit of " + std::to_string(bounds.mostPixels) +
               " pixels";
    }
    if (claim->fewestBytes > candidate.bytes.size()) {
        return "the file is too small for its picture of " + std::to_string(claim->width) + " x " +
               std::to_string(claim->height) + " pixels, or cut short";
    }
    if (std::optional<std::vector<std::uint8_t>> frame = firstFrameOfWebP(candidate.bytes)) {
        if (frame->empty()) {
            return "the animation has no first frame that covers it";
        }
        candidate.own = std::move(*frame);
        candidate.bytes = candidate.own;
        const std::optional<ImageClaim> own = imageClaim(candidate.format, candidate.bytes);
        if (!own || own->width != claim->width || own->height != claim->height) {
            return "the first frame of the animation is not of its size";
        }
    }
    return {};
}

ImageSource::Result decoded(const Candidate& candidate, const Bounds& bounds) {
    const char* const name = decoderNameOf(candidate.format);
    GError* error = nullptr;
    const Loader loader(name != nullptr ? gdk_pixbuf_loader_new_with_type(name, &error)
                                        : gdk_pixbuf_loader_new());
    if (!loader) {
        return failure(take(error));
    }
    Progress progress{bounds, {}};
    g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(sizePrepared), &progress);
    g_signal_connect(loader.get(), "area-prepared", G_CALLBACK(areaPrepared), nullptr);
    if (candidate.reportsRows) {
        g_signal_connect(loader.get(), "area-updated", G_CALLBACK(areaUpdated), &progress);
    }
    std::string reason = decode(loader.get(), candidate.format, candidate.bytes);
    if (!progress.refusal.empty()) {
        return failure(std::move(progress.refusal));
    }
    if (!reason.empty()) {
        return failure(std::move(reason));
    }
    GdkPixbuf* const pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
    if (pixbuf == nullptr) {
        return failure("the file holds no picture");
    }
    if (candidate.reportsRows &&
        (progress.firstRow > 0 || progress.endRow < gdk_pixbuf_get_height(pixbuf))) {
        return failure("the file is cut short");
    }
    const ImageOrientation orientation = candidate.format == ImageFormat::TIFF
                                             ? reportedOrientation(pixbuf)
                                             : ImageOrientation::TopLeft;
    const auto image = imageOfPixbuf(pixbuf, candidate.format, bounds);
    if (!image) {
        return failure("pixels of an unknown format");
    }
    auto oriented = orientedImage(image, orientation);
    return oriented ? ImageSource::Result{std::move(oriented), {}}
                    : failure("no memory for the turned picture");
}

/// Draws a vector picture for as long as it may take.
ImageSource::Result drawn(std::span<const std::uint8_t> bytes, Bounds bounds,
                          const ImageLimits& limits) {
    // Layers as large as the picture may take this many times the pixels of a picture.
    constexpr std::uint64_t kMostSurfaces = 16;
    VectorClaim claim = vectorClaim(textOf(bytes), limits);
    if (!claim.failure.empty()) {
        return failure(std::move(claim.failure));
    }
    bounds.mostPixels = std::min(
        {bounds.mostPixels, limits.vectorPixels,
         limits.vectorPixels * kMostSurfaces / std::max<std::uint64_t>(claim.surfaces, 1)});

    struct Drawing {
        std::vector<std::uint8_t> file;
        ImageSource::Result result;
    };
    const auto drawing = std::make_shared<Drawing>();
    drawing->file.assign(bytes.begin(), bytes.end());
    const DeadlineOutcome outcome = runWithin(limits.vectorSeconds, [drawing, bounds] {
        Candidate candidate;
        candidate.format = ImageFormat::SVG;
        candidate.bytes = drawing->file;
        drawing->result = decoded(candidate, bounds);
    });
    switch (outcome) {
        case DeadlineOutcome::Done:
            return std::move(drawing->result);
        case DeadlineOutcome::Late:
            return failure("drawing it takes longer than " + std::to_string(limits.vectorSeconds) +
                           " s");
        default:
            return failure("no thread to draw it on, or too many pictures that take too long");
    }
}

struct Limits {
    std::mutex mutex;
    ImageLimits value;
};

Limits& currentLimits() {
    static Limits* limits = new Limits;  // read from threads that outlive statics
    return *limits;
}

}  // namespace

ImageLimits ImageSource::limits() {
    const std::lock_guard lock(currentLimits().mutex);
    return currentLimits().value;
}

void ImageSource::setLimits(const ImageLimits& limits) {
    const std::lock_guard lock(currentLimits().mutex);
    currentLimits().value = limits;
}

ImageSource::Result ImageSource::firstImageOfFile(const std::string& path) {
    FileContents contents;
    if (std::string reason = read(path, contents); !reason.empty()) {
        return failure(std::move(reason));
    }
    return firstImageOfBytes({contents.bytes.get(), contents.size});
}

ImageSource::Result ImageSource::firstImageOfBytes(std::span<const std::uint8_t> bytes,
                                                   int maximumExtent) try {
    if (bytes.empty()) {
        return failure("the file is empty");
    }
    const ImageLimits limits = ImageSource::limits();
    const Bounds bounds{std::min(maximumExtent, kMaximumExtent), limits.pixels};
    Candidate candidate;
    candidate.format = imageFormatOf(bytes);
    candidate.bytes = bytes;
    if (std::string reason = unwrap(candidate, bounds); !reason.empty()) {
        return failure(std::move(reason));
    }
    if (candidate.format == ImageFormat::SVG) {
        return drawn(candidate.bytes, bounds, limits);
    }
    const ImageOrientation orientation = exifOrientation(candidate.format, candidate.bytes);
    if (std::string reason = check(candidate, bounds); !reason.empty()) {
        return failure(std::move(reason));
    }
    Result result = decoded(candidate, bounds);
    if (result.image && orientation != ImageOrientation::TopLeft) {
        result.image = orientedImage(result.image, orientation);
        result.failure = result.image ? "" : "no memory for the turned picture";
    }
    return result;
} catch (const std::bad_alloc&) {
    return failure("no memory for the file");
}

}  // namespace Mivora::platform
