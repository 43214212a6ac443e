#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <type_traits>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"

/// A weak reference that can be a member of a hashed set: it remembers the address of its object,
/// so its hash stays the same when the object dies.
///
/// The equality of two containers can change with the life of their objects, so a set of them must
/// be keyed by `pointerValue`, with `isEqual` telling members with the same key apart.
///
/// Thread: any.
class MIVORA_EXPORT MVWeakPointerContainer {
 public:
    /// A container of nothing, as of an object that has gone at the address null.
    static std::shared_ptr<MVWeakPointerContainer> init();

    /// A container of `object`, which it does not keep alive. Null makes it `init`.
    ///
    /// Objects are equal to each other as their `operator==` says where their class has one, and
    /// otherwise if they are the same object.
    template <class Object>
    static std::shared_ptr<MVWeakPointerContainer> initWithObject(
        const std::shared_ptr<Object>& object) {
        if (!object) {
            return init();
        }
        return MVMake<MVWeakPointerContainer>(object, addressOf(*object), equalityOf<Object>());
    }

    virtual ~MVWeakPointerContainer();
    MVWeakPointerContainer(const MVWeakPointerContainer&) = delete;
    MVWeakPointerContainer& operator=(const MVWeakPointerContainer&) = delete;

    /// The object as the class it was given as; null when it has gone.
    std::shared_ptr<void> object() const { return object_.lock(); }

    /// The address that the object has or had, whichever of its base classes it was given as.
    const void* pointerValue() const { return pointerValue_; }

    /// Whether both containers are of the same class, and either both objects are alive and equal
    /// or both have gone and had the same address.
    virtual bool isEqual(const MVWeakPointerContainer& other) const;

    /// The hash of `pointerValue`.
    std::size_t hash() const { return std::hash<const void*>()(pointerValue_); }

 protected:
    friend struct ::MVMaker;

    /// Compares two objects of one class by value.
    using Equality = bool (*)(const void*, const void*);

    MVWeakPointerContainer() = default;
    /// A container of an object.
    /// @param equality  how it compares with others of its class; null for by identity
    MVWeakPointerContainer(std::weak_ptr<void> object, const void* pointerValue, Equality equality);

 private:
    /// One address for an object, however it is referred to.
    template <class Object>
    static const void* addressOf(const Object& object) {
        if constexpr (std::is_polymorphic_v<Object>) {
            return dynamic_cast<const void*>(&object);
        } else {
            return &object;
        }
    }

    template <class Object>
    static Equality equalityOf() {
        if constexpr (std::equality_comparable<Object>) {
            return [](const void* a, const void* b) {
                return static_cast<bool>(*static_cast<const Object*>(a) ==
                                         *static_cast<const Object*>(b));
            };
        } else {
            return nullptr;
        }
    }

    std::weak_ptr<void> object_;
    const void* pointerValue_ = nullptr;
    Equality equality_ = nullptr;
};
