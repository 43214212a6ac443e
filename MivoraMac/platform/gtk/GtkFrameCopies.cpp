#include <utility>

#include "MivoraMac/platform/gtk/GtkFrameCopiesPrivate.h"

namespace Mivora::platform {

std::shared_ptr<GtkFrameCopies::Copy> GtkFrameCopies::take(PixelSize size) {
    auto copy = std::make_unique<Copy>();
    {
        const std::lock_guard lock(mutex_);
        if (!kept_.empty() && kept_.back()->size != size) {
            kept_.clear();  // the window has another size
        }
        if (!kept_.empty()) {
            copy = std::move(kept_.back());
            kept_.pop_back();
        }
    }
    copy->size = size;
    return {copy.release(), [weak = weak_from_this()](Copy* memory) {
                std::unique_ptr<Copy> owned(memory);
                if (const auto self = weak.lock()) {
                    self->giveBack(std::move(owned));
                }
            }};
}

void GtkFrameCopies::giveBack(std::unique_ptr<Copy> copy) {
    const std::lock_guard lock(mutex_);
    if (kept_.size() < kMostKept) {
        kept_.push_back(std::move(copy));
    }
}

}  // namespace Mivora::platform
