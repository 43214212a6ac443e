#include "MivoraMac/platform/base/PropertyObservation.h"

#include <algorithm>
#include <utility>

namespace Mivora::platform {

PropertyObserver::~PropertyObserver() = default;

ObservableObject::ObservableObject() = default;
ObservableObject::~ObservableObject() = default;

void ObservableObject::addObserver(const std::shared_ptr<PropertyObserver>& observer,
                                   std::string keyPath, Notify notify, void* context) {
    if (!observer) {
        return;
    }
    const std::lock_guard lock(mutex_);
    std::erase_if(registrations_, [](const Registration& it) { return it.observer.expired(); });
    registrations_.push_back(
        {observer, observer.get(), std::move(keyPath), notify, context, nextSerial_++});
}

void ObservableObject::removeObserver(const PropertyObserver* observer, std::string_view keyPath) {
    const std::lock_guard lock(mutex_);
    const auto latest = std::find_if(
        registrations_.rbegin(), registrations_.rend(),
        [&](const Registration& it) { return it.identity == observer && it.keyPath == keyPath; });
    if (latest != registrations_.rend()) {
        registrations_.erase(std::next(latest).base());
    }
}

std::size_t ObservableObject::observerCount() const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(
        std::count_if(registrations_.begin(), registrations_.end(),
                      [](const Registration& it) { return !it.observer.expired(); }));
}

bool ObservableObject::isRegistered(unsigned serial) const {
    const std::lock_guard lock(mutex_);
    return std::any_of(registrations_.begin(), registrations_.end(),
                       [&](const Registration& it) { return it.serial == serial; });
}

void ObservableObject::notify(std::string_view key, PropertyChange change) {
    struct Call {
        std::shared_ptr<PropertyObserver> observer;
        void* context;
        unsigned serial;
    };
    std::vector<Call> calls;
    {
        const std::lock_guard lock(mutex_);
        for (const Registration& it : registrations_) {
            if (it.keyPath != key ||
                (change == PropertyChange::Will && it.notify != Notify::WillAndDid)) {
                continue;
            }
            if (auto observer = it.observer.lock()) {
                calls.push_back({std::move(observer), it.context, it.serial});
            }
        }
    }
    for (const Call& call : calls) {
        if (isRegistered(call.serial)) {
            call.observer->observeValueForKeyPathOfObjectChangeContext(key, *this, change,
                                                                       call.context);
        }
    }
}

}  // namespace Mivora::platform
