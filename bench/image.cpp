// Images: from a file to a texture, and from a bitmap to what is uploaded.
//
// Held constant: pictures of 2048 x 2048 pixels, a PNG with alpha and a JPEG of quality 90, read
// from the page cache on a screen of one pixel a point; the reference is gdk-pixbuf's decoding
// of the same file alone, in the same run. Each figure is the median of several runs after warming
// up, the two kinds in turn; a ratio is that of two neighbours, and both let go of what they made.
//
// New memory from the system costs as much as half of the work on it, so its part is told apart.
// For the figures called fresh malloc gets every large block from the system, on both sides. For
// the others it keeps what is given back, as it comes to do by itself after some ten pictures, and
// only runs count in which neither side, the driver included, was given new pages.
//
// Rasterizing goes from memory to memory, one thread, and is counted in bytes written.

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/platform/pictures/BitmapContext.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "bench/support/Bench.h"

using namespace Mivora::bench;
using Mivora::platform::AlphaInfo;
using Mivora::platform::BitmapContext;
using Mivora::platform::BitmapImage;
using Mivora::platform::ByteOrder;

namespace {

constexpr int kExtent = 2048;
constexpr std::size_t kRuns = 15;
constexpr int kWarmUps = 3;
constexpr int kMostRuns = 80;

/// A picture with smooth and with busy parts.
std::uint8_t component(int x, int y, int channel) {
    const int smooth = (x * (channel + 1) + y * 2) / 16;
    const int busy = (x * y >> 5) & 63;
    return static_cast<std::uint8_t>(y < kExtent / 2 ? smooth : smooth + busy);
}

/// A folder with the pictures, gone at the end.
class Files {
 public:
    Files() {
        std::string name = (std::filesystem::temp_directory_path() / "mivora-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        folder_ = name;
        save(png(), "png", true, nullptr, nullptr);
        save(jpeg(), "jpeg", false, "quality", "90");
    }
    ~Files() { std::filesystem::remove_all(folder_); }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    std::string png() const { return (folder_ / "picture.png").string(); }
    std::string jpeg() const { return (folder_ / "picture.jpg").string(); }

 private:
    static void save(const std::string& path, const char* kind, bool hasAlpha, const char* key,
                     const char* value) {
        GdkPixbuf* const pixbuf =
            gdk_pixbuf_new(GDK_COLORSPACE_RGB, hasAlpha ? TRUE : FALSE, 8, kExtent, kExtent);
        const int channels = gdk_pixbuf_get_n_channels(pixbuf);
        for (int y = 0; y < kExtent; ++y) {
            guchar* row = gdk_pixbuf_get_pixels(pixbuf) + y * gdk_pixbuf_get_rowstride(pixbuf);
            for (int x = 0; x < kExtent; ++x) {
                for (int channel = 0; channel < channels; ++channel) {
                    *row++ = component(x, y, channel);
                }
            }
        }
        const bool isSaved =
            gdk_pixbuf_save(pixbuf, path.c_str(), kind, nullptr, key, value, nullptr) != FALSE;
        g_object_unref(pixbuf);
        if (!isSaved) {
            throw std::runtime_error("cannot write " + path);
        }
    }

    std::filesystem::path folder_;
};

double decodeMilliseconds(const std::string& path) {
    const Stopwatch watch;
    GdkPixbuf* const pixbuf = gdk_pixbuf_new_from_file(path.c_str(), nullptr);
    if (pixbuf == nullptr) {
        throw std::runtime_error("cannot read " + path);
    }
    g_object_unref(pixbuf);
    return watch.seconds() * 1e3;
}

double loadMilliseconds(MVRenderContext& context, const std::string& path) {
    const Stopwatch watch;
    auto image = MVImage::initWithContentsOfFile(path);
    const double milliseconds = watch.seconds() * 1e3;
    if (!image || image->mv_texture() == 0) {
        throw std::runtime_error("cannot load " + path);
    }
    image.reset();
    context.mv_dispatchBlockSync([] {});
    return milliseconds;
}

struct Loading {
    double milliseconds;
    double reference;
    double ratio;
};

/// Which runs count.
enum class Memory { Fresh, Kept };

/// Pages that the system has given to this process so far.
long newPages() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

Loading measureLoading(MVRenderContext& context, const std::string& path, Memory memory) {
    constexpr long kFewPages = 100;
    std::vector<double> load;
    std::vector<double> decode;
    std::vector<double> ratio;
    for (int run = -kWarmUps; run < kMostRuns && load.size() < kRuns; ++run) {
        const long pages = newPages();
        const double reference = decodeMilliseconds(path);
        const double whole = loadMilliseconds(context, path);
        const bool counts = memory == Memory::Fresh || newPages() - pages < kFewPages;
        if (run >= 0 && counts) {
            decode.push_back(reference);
            load.push_back(whole);
            ratio.push_back(whole / reference);
        }
    }
    return {median(load), median(decode), median(ratio)};
}

/// Gigabytes a second that a bitmap of this kind is rasterized with.
double rasterizing(AlphaInfo info, ByteOrder order) {
    const std::size_t bytesPerRow = std::size_t{kExtent} * (info == AlphaInfo::None ? 3 : 4);
    const auto source = std::make_shared<std::vector<std::uint8_t>>(bytesPerRow * kExtent);
    for (std::size_t i = 0; i < source->size(); ++i) {
        (*source)[i] = static_cast<std::uint8_t>(i * 7 + i / 4);
    }
    const auto image =
        BitmapImage::create({kExtent, kExtent}, info, bytesPerRow,
                            std::shared_ptr<const std::uint8_t>(source, source->data()), order);
    std::vector<std::uint8_t> target(std::size_t{kExtent} * kExtent * 4);
    auto context = BitmapContext::create(
        target.data(), {kExtent, kExtent}, std::size_t{kExtent} * 4,
        hasAlpha(info) ? AlphaInfo::PremultipliedLast : AlphaInfo::NoneSkipLast);
    context->drawImage(*image);
    std::vector<double> rates;
    for (std::size_t i = 0; i < 2 * kRuns; ++i) {
        const Stopwatch watch;
        context->drawImage(*image);
        doNotOptimize(target);
        rates.push_back(static_cast<double>(target.size()) / watch.nanoseconds());
    }
    return median(rates);
}

}  // namespace

int main() {
    ::mallopt(M_ARENA_MAX, 1);  // what one thread gives back any other can have
    const auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    const Files files;
    ::mallopt(M_MMAP_THRESHOLD, 1 << 20);
    const Loading freshPNG = measureLoading(*context, files.png(), Memory::Fresh);
    const Loading freshJPEG = measureLoading(*context, files.jpeg(), Memory::Fresh);
    ::mallopt(M_MMAP_THRESHOLD, 32 << 20);
    ::mallopt(M_TRIM_THRESHOLD, 512 << 20);
    const Loading png = measureLoading(*context, files.png(), Memory::Kept);
    const Loading jpeg = measureLoading(*context, files.jpeg(), Memory::Kept);
    const double premultiply = rasterizing(AlphaInfo::Last, ByteOrder::Forward);
    const double reorder = rasterizing(AlphaInfo::PremultipliedFirst, ByteOrder::Reversed);
    const double both = rasterizing(AlphaInfo::First, ByteOrder::Reversed);
    const double widen = rasterizing(AlphaInfo::None, ByteOrder::Forward);

    Report report("image");
    report.condition("pictures", "2048 x 2048; PNG with alpha, JPEG of quality 90");
    report.condition("runs", std::to_string(kRuns) + ", medians");
    report.add("png_ms", png.milliseconds, "decoded and uploaded");
    report.add("png_decode_ms", png.reference, "the decoder alone");
    report.add("png_ratio", png.ratio, "run by run; target: at most 1.2");
    report.add("jpeg_ms", jpeg.milliseconds, "decoded and uploaded");
    report.add("jpeg_decode_ms", jpeg.reference, "the decoder alone");
    report.add("jpeg_ratio", jpeg.ratio, "run by run; target: at most 1.5");
    report.add("png_fresh_ratio", freshPNG.ratio, "every large block new from the system");
    report.add("jpeg_fresh_ratio", freshJPEG.ratio, "every large block new from the system");
    report.add("rasterize_gb_s", premultiply, "premultiplying; target: at least 2");
    report.add("reorder_gb_s", reorder, "another order of bytes; target: at least 2");
    report.add("premultiply_reorder_gb_s", both, "both at once; target: at least 2");
    report.add("widen_gb_s", widen, "three bytes a pixel to four; target: at least 2");
    return report.finish();
}
