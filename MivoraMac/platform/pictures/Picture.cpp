#include "MivoraMac/platform/pictures/Picture.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <cstddef>

#include "MivoraMac/platform/base/DebugLog.h"

namespace Mivora::platform {

std::array<std::uint8_t, 4> Picture::pixel(int x, int y) const {
    std::array<std::uint8_t, 4> result{};
    if (x >= 0 && y >= 0 && x < size.width && y < size.height) {
        const auto at = (static_cast<std::ptrdiff_t>(y) * size.width + x) * 4;
        std::copy_n(rgba.begin() + at, 4, result.begin());
    }
    return result;
}

bool Picture::writePNG(const std::string& path) const {
    if (isEmpty()) {
        DebugLog::log(DebugLog::Category::Images, "%s: the picture is empty", path.c_str());
        return false;
    }
    GdkPixbuf* const pixbuf =
        gdk_pixbuf_new_from_data(rgba.data(), GDK_COLORSPACE_RGB, TRUE, 8, size.width, size.height,
                                 size.width * 4, nullptr, nullptr);
    GError* error = nullptr;
    const bool written = gdk_pixbuf_save(pixbuf, path.c_str(), "png", &error, nullptr) != FALSE;
    if (!written) {
        DebugLog::warnOnce(DebugLog::Category::Images, "%s: %s", path.c_str(), error->message);
        g_error_free(error);
    }
    g_object_unref(pixbuf);
    return written;
}

}  // namespace Mivora::platform
