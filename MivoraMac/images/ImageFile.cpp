#include "MivoraMac/images/ImageFilePrivate.h"

#include <utility>

#include "MivoraMac/images/HighResolutionImagePathPrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/pictures/ImageSource.h"
#include "MivoraMac/platform/windows/Screen.h"

using Mivora::platform::DebugLog;
using Mivora::platform::ImageSource;

namespace Mivora {

namespace {

void logFailure(const std::string& path, const std::string& reason, const std::string& tried) {
    DebugLog::warnOnce(DebugLog::Category::Images, "%s: %s (tried %s)", path.c_str(),
                       reason.c_str(), tried.c_str());
}

/// The files looked for until `chosen` was found, each once, the chosen one last.
std::string filesTried(const std::string& path, const std::string& chosen) {
    std::string tried;
    for (const ImageVariant& variant :
         imageVariants(path, platform::Screen::mainScreen()->backingScaleFactor())) {
        if (variant.path == chosen) {
            break;
        }
        if (tried.find(variant.path + ", ") == std::string::npos) {
            tried += variant.path + ", ";
        }
    }
    return tried + chosen;
}

}  // namespace

ImageFile imageOfFile(const std::string& path) {
    ImageSource::Result result = ImageSource::firstImageOfFile(path);
    if (!result.image) {
        logFailure(path, result.failure, path);
    }
    return {std::move(result.image), 1.0F};
}

ImageFile imageOfBestFile(const std::string& path) {
    const ImageVariant variant = highResolutionImagePath(path);
    ImageSource::Result result = ImageSource::firstImageOfFile(variant.path);
    if (!result.image) {
        logFailure(path, result.failure, filesTried(path, variant.path));
    }
    return {std::move(result.image), variant.scale};
}

}  // namespace Mivora
