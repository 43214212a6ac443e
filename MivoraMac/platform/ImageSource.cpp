#include "MivoraMac/platform/ImageSource.h"

#include <fcntl.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <new>
#include <span>
#include <utility>

#include "MivoraMac/platform/BitmapContext.h"
#include "MivoraMac/platform/ImageFileCheckPrivate.h"

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

/// What a decoder reports while it works.
struct Progress {
    bool isTooLarge = false;
    int firstRow = G_MAXINT;  ///< of those decoded
    int endRow = 0;
};

/// Called when the size is known and nothing has been allocated for the pixels.
void sizePrepared(GdkPixbufLoader* loader, gint width, gint height, gpointer data) {
    if (width > ImageSource::kMaximumExtent || height > ImageSource::kMaximumExtent) {
        static_cast<Progress*>(data)->isTooLarge = true;
        gdk_pixbuf_loader_set_size(loader, 0, 0);  // makes the decoder stop
    }
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
std::string decode(GdkPixbufLoader* loader, const FileContents& contents) {
    GError* writeError = nullptr;
    GError* closeError = nullptr;
    const bool written =
        gdk_pixbuf_loader_write(loader, contents.bytes.get(), contents.size, &writeError) != FALSE;
    // A loader has to be closed in any case. After a failed write this repeats the failure.
    const bool closed = gdk_pixbuf_loader_close(loader, &closeError) != FALSE;
    if (!written) {
        g_clear_error(&closeError);
        return take(writeError);
    }
    return closed ? std::string() : take(closeError);
}

/// Whether a decoder has multiplied the colours by alpha: that of TIFF files does, all others leave
/// them straight.
bool isPremultiplied(GdkPixbufFormat* format) {
    gchar* const name = format != nullptr ? gdk_pixbuf_format_get_name(format) : nullptr;
    const bool isTIFF = g_strcmp0(name, "tiff") == 0;
    g_free(name);
    return isTIFF;
}

std::shared_ptr<const BitmapImage> imageOfPixbuf(GdkPixbuf* pixbuf, GdkPixbufFormat* format) {
    const PixelSize size = {gdk_pixbuf_get_width(pixbuf), gdk_pixbuf_get_height(pixbuf)};
    if (gdk_pixbuf_get_bits_per_sample(pixbuf) != 8 || size.width > ImageSource::kMaximumExtent ||
        size.height > ImageSource::kMaximumExtent) {
        return nullptr;
    }
    const std::shared_ptr<GdkPixbuf> owner(GDK_PIXBUF(g_object_ref(pixbuf)), Unref());
    guchar* const bytes = gdk_pixbuf_get_pixels(pixbuf);
    const std::shared_ptr<const std::uint8_t> pixels(owner, bytes);
    const auto bytesPerRow = static_cast<std::size_t>(gdk_pixbuf_get_rowstride(pixbuf));
    if (gdk_pixbuf_get_has_alpha(pixbuf) == FALSE) {
        return BitmapImage::create(size, AlphaInfo::None, bytesPerRow, pixels);
    }
    if (!isPremultiplied(format)) {
        // In place: nobody else has seen these pixels, and new memory would cost as much again.
        const auto straight = BitmapImage::create(size, AlphaInfo::Last, bytesPerRow, pixels);
        auto context =
            BitmapContext::create(bytes, size, bytesPerRow, AlphaInfo::PremultipliedLast);
        if (!straight || !context) {
            return nullptr;
        }
        context->drawImage(*straight);
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
    const std::optional<bool> isComplete =
        imageFileIsComplete({contents.bytes.get(), contents.size});
    if (isComplete == false) {
        return failure("the file is cut short");
    }

    const Loader loader(gdk_pixbuf_loader_new());
    Progress progress;
    g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(sizePrepared), &progress);
    if (!isComplete.has_value()) {
        g_signal_connect(loader.get(), "area-updated", G_CALLBACK(areaUpdated), &progress);
    }
    std::string reason = decode(loader.get(), contents);
    if (progress.isTooLarge) {
        return failure("the image is larger than " + std::to_string(kMaximumExtent) + " pixels");
    }
    if (!reason.empty()) {
        return failure(std::move(reason));
    }
    GdkPixbuf* const pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
    if (pixbuf == nullptr) {
        return failure("the file holds no picture");
    }
    if (!isComplete.has_value() &&
        (progress.firstRow > 0 || progress.endRow < gdk_pixbuf_get_height(pixbuf))) {
        return failure("the file is cut short");
    }
    std::shared_ptr<const BitmapImage> image =
        imageOfPixbuf(pixbuf, gdk_pixbuf_loader_get_format(loader.get()));
    return image ? Result{std::move(image), {}} : failure("pixels of an unknown format");
}

}  // namespace Mivora::platform
