#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <typeinfo>

#include "MivoraMac/platform/base/MVException.h"

/// What a target is to do: one of its member functions as a value that can be stored and compared,
/// whatever the classes. The member function takes the sender, the object that asks for it:
///
///     // void Player::displayLinkFired(const std::shared_ptr<MVDisplayLink>&)
///     MVAction action = &Player::displayLinkFired;
///
/// An action does not know its target. Whoever stores a pair keeps the target as `receiver` yields
/// it and hands it to `perform`.
class MVAction {
 public:
    /// No action: performing it does nothing.
    MVAction() = default;
    MVAction(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)

    /// The action of calling `method`; no action for a null one.
    template <class Target, class Sender>
    MVAction(void (Target::*method)(const std::shared_ptr<Sender>&)) {  // NOLINT
        static_assert(sizeof(method) <= sizeof(Method));
        if (method != nullptr) {
            std::memcpy(method_.data(), &method, sizeof(method));
            type_ = &typeid(method);
            sender_ = &typeid(Sender);
            call_ = &call<Target, Sender>;
            isEqual_ = &isEqual<Target, Sender>;
        }
    }

    /// The object as the class that `method` belongs to, which is what `perform` takes as the
    /// target of that action; null for null. Shares ownership.
    template <class Object, class Target, class Sender>
    static std::shared_ptr<void> receiver(const std::shared_ptr<Object>& object,
                                          void (Target::*)(const std::shared_ptr<Sender>&)) {
        return std::shared_ptr<Target>(object);
    }

    /// Whether there is an action.
    explicit operator bool() const { return call_ != nullptr; }

    /// Equal are actions of the same member function, named as a member of the same class, and all
    /// that are none.
    friend bool operator==(const MVAction& a, const MVAction& b) {
        if (a.type_ == nullptr || b.type_ == nullptr) {
            return a.type_ == b.type_;
        }
        return *a.type_ == *b.type_ && a.isEqual_(a.method_, b.method_);
    }

    /// Calls the member function on the target. A null target is not called.
    /// @param target  from `receiver`
    /// @param sender  what the member function receives
    /// @throws MVException (invalid argument) when the member function takes another class of
    ///         sender; what the member function throws
    template <class Sender>
    void perform(const std::shared_ptr<void>& target, const std::shared_ptr<Sender>& sender) const {
        if (call_ == nullptr || target == nullptr) {
            return;
        }
        if (*sender_ != typeid(Sender)) {
            throw MVException(MVException::kInvalidArgument,
                              "the action takes another class of sender");
        }
        call_(method_, target.get(), &sender);
    }

 private:
    class AnyClass;
    using AnyMethod = void (AnyClass::*)();
    struct alignas(AnyMethod) Method : std::array<std::byte, sizeof(AnyMethod)> {};

    template <class Target, class Sender>
    static auto methodIn(const Method& bytes) {
        void (Target::*method)(const std::shared_ptr<Sender>&) = nullptr;
        std::memcpy(&method, bytes.data(), sizeof(method));
        return method;
    }

    template <class Target, class Sender>
    static void call(const Method& bytes, void* target, const void* sender) {
        (static_cast<Target*>(target)->*methodIn<Target, Sender>(bytes))(
            *static_cast<const std::shared_ptr<Sender>*>(sender));
    }

    template <class Target, class Sender>
    static bool isEqual(const Method& a, const Method& b) {
        return methodIn<Target, Sender>(a) == methodIn<Target, Sender>(b);
    }

    Method method_{};
    const std::type_info* type_ = nullptr;    // of the pointer to the member function
    const std::type_info* sender_ = nullptr;  // of the object that a shared pointer names
    void (*call_)(const Method& bytes, void* target, const void* sender) = nullptr;
    bool (*isEqual_)(const Method& a, const Method& b) = nullptr;
};
