#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

/// Builds the library's reference-counted objects. A class whose constructors are protected names
/// `MVMaker` as a friend, within a namespace as `friend struct ::MVMaker;`; only `MVMake` uses it.
struct MVMaker {
    template <class T>
    struct Allocator {
        using value_type = T;

        Allocator() = default;
        template <class U>
        Allocator(const Allocator<U>&) noexcept {}  // NOLINT(google-explicit-constructor)

        T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
        void deallocate(T* memory, std::size_t count) noexcept {
            std::allocator<T>().deallocate(memory, count);
        }
        template <class U, class... Arguments>
        void construct(U* place, Arguments&&... arguments) {
            MVMaker::construct(place, std::forward<Arguments>(arguments)...);
        }
        template <class U>
        void destroy(U* object) noexcept {
            MVMaker::destroy(object);
        }
        template <class U>
        bool operator==(const Allocator<U>&) const noexcept {
            return true;
        }
    };

    template <class U, class... Arguments>
    static void construct(U* place, Arguments&&... arguments) {
        ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
    }
    template <class U>
    static void destroy(U* object) noexcept {
        object->~U();
    }
};

/// Makes an object of class `T` under shared ownership: the way to create instances of client
/// subclasses, `auto card = MVMake<CardView>(title);`. Object and count share one allocation.
template <class T, class... Arguments>
std::shared_ptr<T> MVMake(Arguments&&... arguments) {
    return std::allocate_shared<T>(MVMaker::Allocator<T>(), std::forward<Arguments>(arguments)...);
}

/// The object that `self` points to under shared ownership, as the class that it is named as: from
/// within one of its member functions, `MVSelf(this)`. That is how a class hands itself out as a
/// target or a ticker:
///
///     pan_ = MVPanGestureRecognizer::initWithTargetAction(MVSelf(this), &Card::panned);
///     clock->startTick(MVSelf(this));
///
/// @param self  an object made by `MVMake` or an `init` function; not null
/// @throws std::bad_weak_ptr from within a constructor or a destructor, where nobody owns it
template <class T>
std::shared_ptr<T> MVSelf(T* self) {
    return {self->shared_from_this(), self};
}

/// As `MVSelf`, without keeping the object alive: for what is called later, if it is still there.
/// Empty from within a constructor or a destructor.
template <class T>
std::weak_ptr<T> MVWeakSelf(T* self) {
    return std::shared_ptr<T>(self->weak_from_this().lock(), self);
}
