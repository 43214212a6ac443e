#pragma once

#include <memory>

#include "MivoraMac/platform/base/MVAction.h"

class MVGestureRecognizer;

/// Somebody who is told of a gesture, held weakly, and the operation that tells them.
///
/// Target and action change together: an action is a member function of the target's class.
class MVTargetActionPair {
 public:
    /// @param target  may be null
    /// @param method  what takes the recognizer, as its own class or as one that it derives from;
    ///                null for nothing
    template <class Object, class Target, class Sender>
    MVTargetActionPair(const std::shared_ptr<Object>& target,
                       void (Target::*method)(const std::shared_ptr<Sender>&)) {
        setTargetAction(target, method);
    }

    /// Replaces both.
    template <class Object, class Target, class Sender>
    void setTargetAction(const std::shared_ptr<Object>& target,
                         void (Target::*method)(const std::shared_ptr<Sender>&)) {
        target_ = MVAction::receiver(target, method);
        action_ = method;
        send_ = &send<Sender>;
    }

    /// The target as the class that the action belongs to; null once it has gone.
    std::shared_ptr<void> target() const { return target_.lock(); }
    /// What the target is told by.
    const MVAction& action() const { return action_; }

    /// Whether the target is, or was, this object: the same one or a part of the same one.
    bool hasTarget(const std::shared_ptr<void>& object) const {
        return !target_.owner_before(object) && !object.owner_before(target_);
    }

    /// Tells the target; one that has gone is not told.
    void perform(const std::shared_ptr<MVGestureRecognizer>& recognizer) const {
        send_(action_, target_.lock(), recognizer);
    }

 private:
    using Target = std::shared_ptr<void>;
    using Recognizer = std::shared_ptr<MVGestureRecognizer>;

    template <class Sender>
    static void send(const MVAction& action, const Target& target, const Recognizer& recognizer) {
        action.perform(target, std::dynamic_pointer_cast<Sender>(recognizer));
    }

    std::weak_ptr<void> target_;
    MVAction action_;
    void (*send_)(const MVAction&, const Target&, const Recognizer&) = nullptr;
};
