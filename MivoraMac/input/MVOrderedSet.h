#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

/// A small set of shared objects that keeps the order in which they were added. Objects are told
/// apart by identity; null is no element.
///
/// Thread: any one.
template <class T>
class MVOrderedSet {
 public:
    /// What the set holds.
    using Element = std::shared_ptr<T>;
    /// As containers of the standard library name it.
    using value_type = Element;
    using const_iterator = typename std::vector<Element>::const_iterator;

    MVOrderedSet() = default;
    /// A set of these objects, in their order.
    MVOrderedSet(std::initializer_list<Element> elements) {
        for (const Element& element : elements) {
            insert(element);
        }
    }

    /// Adds an object behind the others. One that is in the set already stays where it is.
    /// @return whether it is new; false also for null
    bool insert(Element element) {
        if (!element || contains(element)) {
            return false;
        }
        elements_.push_back(std::move(element));
        return true;
    }

    /// Adds the objects of another set, in their order.
    void unite(const MVOrderedSet& other) {
        for (const Element& element : other) {
            insert(element);
        }
    }

    /// @return whether the object was there
    bool erase(const Element& element) {
        const auto found = std::find(elements_.begin(), elements_.end(), element);
        if (found == elements_.end()) {
            return false;
        }
        // Destroyed only when this set is whole again: that may run anybody's code.
        const Element kept = *found;
        elements_.erase(found);
        return true;
    }

    /// Removes the objects of another set.
    void subtract(const MVOrderedSet& other) {
        eraseIf([&](const Element& element) { return other.contains(element); });
    }

    /// Removes the objects of which a function says true.
    template <class Predicate>
    void eraseIf(Predicate predicate) {
        if (std::none_of(begin(), end(), predicate)) {
            return;
        }
        std::vector<Element> elements;
        std::remove_copy_if(begin(), end(), std::back_inserter(elements), predicate);
        // The former elements are destroyed after this, as in `erase`.
        elements_.swap(elements);
    }

    /// Removes all objects.
    void clear() { const std::vector<Element> kept = std::exchange(elements_, {}); }

    /// Whether the object is in the set; false for null.
    bool contains(const Element& element) const {
        return std::find(elements_.begin(), elements_.end(), element) != elements_.end();
    }
    /// How many objects there are.
    std::size_t size() const { return elements_.size(); }
    /// Whether there are none.
    bool empty() const { return elements_.empty(); }
    /// In the order in which the objects were added. Every change ends their validity.
    const_iterator begin() const { return elements_.begin(); }
    const_iterator end() const { return elements_.end(); }

    /// Equal are sets of the same objects, in whatever order.
    friend bool operator==(const MVOrderedSet& a, const MVOrderedSet& b) {
        return a.size() == b.size() && std::all_of(a.begin(), a.end(), [&](const Element& element) {
                   return b.contains(element);
               });
    }

 private:
    std::vector<Element> elements_;
};

class MVGestureRecognizer;
class MVTouch;

/// Touches of one delivery, or those that a recognizer follows, in order of arrival.
using MVTouchSet = MVOrderedSet<MVTouch>;

/// Recognizers in order of attachment.
using MVGestureRecognizerSet = MVOrderedSet<MVGestureRecognizer>;
