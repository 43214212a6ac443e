#include "MivoraMac/platform/gl/PixelFormat.h"

#include "MivoraMac/platform/base/DebugLog.h"

namespace Mivora::platform {

std::shared_ptr<PixelFormat> PixelFormat::initWithAttributes(
    std::span<const std::uint32_t> attributes) {
    auto format = MVMake<PixelFormat>();
    format->attributes_.assign(attributes.begin(), attributes.end());
    return format->parse() ? format : nullptr;
}

bool PixelFormat::parse() {
    for (std::size_t i = 0; i < attributes_.size(); ++i) {
        const std::uint32_t attribute = attributes_[i];
        const auto value = [&]() -> int {
            return ++i < attributes_.size() ? static_cast<int>(attributes_[i]) : -1;
        };
        switch (attribute) {
            case End:
                return true;
            case DoubleBuffer:
                doubleBuffer_ = true;
                continue;
            case Multisample:
                multisample_ = true;
                continue;
            case DepthSize:
                depthSize_ = value();
                continue;
            case StencilSize:
                stencilSize_ = value();
                continue;
            case SampleBuffers:
                sampleBuffers_ = value();
                continue;
            case Samples:
                samples_ = value();
                continue;
            case OpenGLProfile:
                if (value() == static_cast<int>(ProfileVersion3_2Core)) {
                    continue;
                }
                DebugLog::log(DebugLog::Category::GL, "pixel format: only the 3.2 core profile");
                return false;
            default:
                DebugLog::log(DebugLog::Category::GL, "pixel format: unknown attribute %u",
                              attribute);
                return false;
        }
    }
    DebugLog::log(DebugLog::Category::GL, "pixel format: the attribute list has no end");
    return false;
}

}  // namespace Mivora::platform
