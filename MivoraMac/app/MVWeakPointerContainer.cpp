#include "MivoraMac/app/MVWeakPointerContainer.h"

#include <typeinfo>
#include <utility>

std::shared_ptr<MVWeakPointerContainer> MVWeakPointerContainer::init() {
    return MVMake<MVWeakPointerContainer>();
}

MVWeakPointerContainer::MVWeakPointerContainer(std::weak_ptr<void> object, const void* pointerValue,
                                               Equality equality)
    : object_(std::move(object)), pointerValue_(pointerValue), equality_(equality) {}

MVWeakPointerContainer::~MVWeakPointerContainer() = default;

bool MVWeakPointerContainer::isEqual(const MVWeakPointerContainer& other) const {
    if (typeid(*this) != typeid(other)) {
        return false;
    }
    const std::shared_ptr<void> mine = object();
    const std::shared_ptr<void> others = other.object();
    if ((mine == nullptr) != (others == nullptr)) {
        return false;
    }
    if (mine && equality_ != nullptr && equality_ == other.equality_) {
        return equality_(mine.get(), others.get());
    }
    return pointerValue_ == other.pointerValue_;
}
