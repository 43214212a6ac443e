#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

class ObservableObject;

/// The moment of a change that a notification reports.
enum class PropertyChange {
    Will,  ///< the value is about to change and still reads as before
    Did,   ///< the value has changed
};

/// Learns of changes to properties of an `ObservableObject`.
class MIVORA_EXPORT PropertyObserver {
 public:
    virtual ~PropertyObserver();

    /// Called for every change of an observed property, on the thread that makes the change.
    /// @param keyPath  the property's name
    /// @param context  what was given to `addObserver`
    virtual void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                             ObservableObject& object,
                                                             PropertyChange change,
                                                             void* context) = 0;
};

/// Announces changes of its named properties. Observers are held weakly and may add and remove
/// observers, themselves included, while being notified: one removed during a notification is not
/// called any more, one added is first called at the next. They may drop the object, too.
///
/// Thread: any; a notification runs without a lock held.
class MIVORA_EXPORT ObservableObject {
 public:
    /// Which moments of a change an observer is told of.
    enum class Notify { Did, WillAndDid };

    ObservableObject();
    virtual ~ObservableObject();
    ObservableObject(const ObservableObject&) = delete;
    ObservableObject& operator=(const ObservableObject&) = delete;

    /// Adds an observer of one property. Registering the same observer again for the same key
    /// makes it be told once more for each change. Null is ignored.
    void addObserver(const std::shared_ptr<PropertyObserver>& observer, std::string keyPath,
                     Notify notify = Notify::Did, void* context = nullptr);

    /// Takes the observer's latest registration for the key back; ignored when there is none. May
    /// be called from the observer's destructor.
    void removeObserver(const PropertyObserver* observer, std::string_view keyPath);

    /// The number of registrations whose observers are alive.
    std::size_t observerCount() const;

 protected:
    /// What a subclass calls right before and right after it changes a property.
    /// Observers are called within; the subclass holds itself meanwhile.
    void willChangeValueForKey(std::string_view key) { notify(key, PropertyChange::Will); }
    void didChangeValueForKey(std::string_view key) { notify(key, PropertyChange::Did); }

 private:
    struct Registration {
        std::weak_ptr<PropertyObserver> observer;
        const PropertyObserver* identity;
        std::string keyPath;
        Notify notify;
        void* context;
        unsigned serial;
    };

    void notify(std::string_view key, PropertyChange change);
    bool isRegistered(unsigned serial) const;

    mutable std::mutex mutex_;
    std::vector<Registration> registrations_;
    unsigned nextSerial_ = 0;
};

}  // namespace Mivora::platform
