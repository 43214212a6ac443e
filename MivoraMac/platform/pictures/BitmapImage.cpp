#include "MivoraMac/platform/pictures/BitmapImage.h"

#include <utility>

namespace Mivora::platform {

std::shared_ptr<const BitmapImage> BitmapImage::create(PixelSize size, AlphaInfo alphaInfo,
                                                       std::size_t bytesPerRow,
                                                       std::shared_ptr<const std::uint8_t> pixels,
                                                       ByteOrder byteOrder) {
    auto image = MVMake<BitmapImage>();
    image->alphaInfo_ = alphaInfo;
    if (size.width <= 0 || size.height <= 0 || !pixels ||
        bytesPerRow / image->bytesPerPixel() < static_cast<std::size_t>(size.width)) {
        return nullptr;
    }
    image->size_ = size;
    image->byteOrder_ = byteOrder;
    image->bytesPerRow_ = bytesPerRow;
    image->pixels_ = std::move(pixels);
    return image;
}

std::shared_ptr<const BitmapImage> BitmapImage::createWithPicture(Picture picture) {
    const PixelSize size = picture.size;
    if (size.width <= 0 || size.height <= 0 ||
        picture.rgba.size() / 4 / static_cast<std::size_t>(size.width) <
            static_cast<std::size_t>(size.height)) {
        return nullptr;
    }
    const auto holder = std::make_shared<Picture>(std::move(picture));
    return create(size, AlphaInfo::Last, static_cast<std::size_t>(size.width) * 4,
                  std::shared_ptr<const std::uint8_t>(holder, holder->rgba.data()));
}

}  // namespace Mivora::platform
