#include "MivoraMac/images/HighResolutionImagePathPrivate.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "MivoraMac/platform/windows/Screen.h"

namespace Mivora {

namespace {

/// Where the extension's dot is, or the path's length when there is none. A dot that starts a file
/// name starts no extension.
std::size_t extensionDot(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
    const std::size_t dot = path.rfind('.');
    return dot == std::string::npos || dot <= name ? path.size() : dot;
}

std::string homeFolder(const std::string& user) {
    if (user.empty()) {
        const char* const home = std::getenv("HOME");
        if (home != nullptr) {
            return home;
        }
    }
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    const int failed =
        user.empty() ? ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found)
                     : ::getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found);
    return failed == 0 && found != nullptr ? found->pw_dir : std::string();
}

std::string withTildeExpanded(const std::string& path) {
    if (!path.starts_with('~')) {
        return path;
    }
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string home = homeFolder(path.substr(1, end - 1));
    return home.empty() ? path : home + path.substr(end);
}

bool exists(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(withTildeExpanded(path), error);
}

}  // namespace

std::vector<ImageVariant> imageVariants(const std::string& path, double backingScaleFactor) {
    const std::size_t dot = extensionDot(path);
    const std::string base = path.substr(0, dot);
    const std::string extension = path.substr(std::min(dot + 1, path.size()));
    const auto marked = [&](int scale) -> ImageVariant {
        return {base + "@" + std::to_string(scale) + "x." + extension, static_cast<float>(scale)};
    };
    constexpr float kMost = 1e6F;  // so that any number is a valid int
    const float scale = std::ceil(static_cast<float>(backingScaleFactor));
    const int screen = std::isnan(scale) ? 0 : static_cast<int>(std::clamp(scale, -kMost, kMost));
    return {screen == 1 ? ImageVariant{path, 1.0F} : marked(screen), marked(4), marked(3),
            marked(2)};
}

ImageVariant highResolutionImagePath(const std::string& path) {
    const double scale = platform::Screen::mainScreen()->backingScaleFactor();
    for (ImageVariant& variant : imageVariants(path, scale)) {
        if (exists(variant.path)) {
            return std::move(variant);
        }
    }
    return {path, 1.0F};
}

}  // namespace Mivora
