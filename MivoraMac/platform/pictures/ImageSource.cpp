#include "MivoraMac/platform/pictures/ImageSource.h"

#include <fcntl.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <initializer_list>
#include <new>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "MivoraMac/platform/pictures/BitmapContext.h"
#include "MivoraMac/platform/pictures/ImageFileCheckPrivate.h"
#include "MivoraMac/platform/pictures/LargePagesPrivate.h"

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

/// What a decoder is told and what it reports while it works.
struct Progress {
    int maximumExtent;
    std::size_t fileSize;
    std::string refusal;      ///< why the decoder is to stop; empty if it is not
    int firstRow = G_MAXINT;  ///< of those decoded
    int endRow = 0;
};

bool isOneOf(GdkPixbufFormat* format, std::initializer_list<const char*> names) {
    gchar* const name = format != nullptr ? gdk_pixbuf_format_get_name(format) : nullptr;
    const bool isNamed = std::any_of(names.begin(), names.end(), [name](const char* candidate) {
        return g_strcmp0(name, candidate) == 0;
    });
    g_free(name);
    return isNamed;
}

/// Whether so small a file cannot hold a picture that large.
bool isMoreThanBytesHold(GdkPixbufFormat* format, gint width, gint height, std::size_t fileSize) {
    // The most that a byte of these formats says: 1,032 bytes of single bits, in a PNG. In others
    // nothing bounds the size of a picture of one colour.
    constexpr std::size_t kPixelsPerByte = std::size_t{1032} * 8;
    const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    return pixels / kPixelsPerByte > fileSize && isOneOf(format, {"png", "jpeg", "gif", "bmp"});
}

std::string tooLarge(int maximumExtent) {
    return "the image is larger than " + std::to_string(maximumExtent) + " pixels";
}

/// Called when the size is known and nothing has been allocated for the pixels.
void sizePrepared(GdkPixbufLoader* loader, gint width, gint height, gpointer data) {
    auto* progress = static_cast<Progress*>(data);
    if (width > progress->maximumExtent || height > progress->maximumExtent) {
        progress->refusal = tooLarge(progress->maximumExtent);
    } else if (isMoreThanBytesHold(gdk_pixbuf_loader_get_format(loader), width, height,
                                   progress->fileSize)) {
        progress->refusal = "the file is too small for its picture of " + std::to_string(width) +
                            " x " + std::to_string(height) + " pixels";
    } else {
        return;
    }
    gdk_pixbuf_loader_set_size(loader, 0, 0);  // makes the decoder stop
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
std::string decode(GdkPixbufLoader* loader, std::span<const std::uint8_t> bytes) {
    GError* writeError = nullptr;
    GError* closeError = nullptr;
    bool written =
        gdk_pixbuf_loader_write(loader, bytes.data(), bytes.size(), &writeError) != FALSE;
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (written && text.starts_with("GIF8")) {
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

std::shared_ptr<const BitmapImage> imageOfPixbuf(GdkPixbuf* pixbuf, GdkPixbufFormat* format,
                                                 int maximumExtent) {
    const PixelSize size = {gdk_pixbuf_get_width(pixbuf), gdk_pixbuf_get_height(pixbuf)};
    if (gdk_pixbuf_get_bits_per_sample(pixbuf) != 8 || size.width > maximumExtent ||
        size.height > maximumExtent) {
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
    if (isOneOf(format, {"jpeg", "gif", "bmp", "tiff"}) && isOpaque(*image)) {
        return BitmapImage::create(size, AlphaInfo::NoneSkipLast, bytesPerRow, pixels);
    }
    // The decoder of TIFF files multiplies the colours by alpha, all others leave them straight.
    if (!isOneOf(format, {"tiff"})) {
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

ImageSource::Result failure(std::string reason) {
    return {nullptr, std::move(reason)};
}

}  // namespace

ImageSource::Result ImageSource::firstImageOfFile(const std::string& path) {
    FileContents contents;
    if (std::string reason = read(path, contents); !reason.empty()) {
        return failure(std::move(reason));
    }
    return firstImageOfBytes({contents.bytes.get(), contents.size});
}

ImageSource::Result ImageSource::firstImageOfBytes(std::span<const std::uint8_t> bytes,
                                                   int maximumExtent) {
    if (bytes.empty()) {
        return failure("the file is empty");
    }
    const std::optional<std::size_t> end = firstImageEnd(bytes);
    if (end == 0U) {
        return failure("the file is cut short or damaged");
    }
    bytes = bytes.first(end.value_or(bytes.size()));
    maximumExtent = std::min(maximumExtent, kMaximumExtent);
    if (const std::optional<PixelSize> size = claimedSizeOfWebP(bytes);
        size && std::max(size->width, size->height) > maximumExtent) {
        return failure(tooLarge(maximumExtent));
    }
    const std::optional<std::vector<std::uint8_t>> frame = firstFrameOfWebP(bytes);
    if (frame) {
        if (frame->empty()) {
            return failure("the animation has no first frame that covers it");
        }
        bytes = *frame;
    }

    const Loader loader(gdk_pixbuf_loader_new());
    Progress progress{maximumExtent, bytes.size(), {}};
    g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(sizePrepared), &progress);
    g_signal_connect(loader.get(), "area-prepared", G_CALLBACK(areaPrepared), nullptr);
    if (!end.has_value()) {
        g_signal_connect(loader.get(), "area-updated", G_CALLBACK(areaUpdated), &progress);
    }
    std::string reason = decode(loader.get(), bytes);
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
    if (!end.has_value() &&
        (progress.firstRow > 0 || progress.endRow < gdk_pixbuf_get_height(pixbuf))) {
        return failure("the file is cut short");
    }
    std::shared_ptr<const BitmapImage> image =
        imageOfPixbuf(pixbuf, gdk_pixbuf_loader_get_format(loader.get()), progress.maximumExtent);
    return image ? Result{std::move(image), {}} : failure("pixels of an unknown format");
}

}  // namespace Mivora::platform
