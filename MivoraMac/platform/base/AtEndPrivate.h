#pragma once

#include <utility>

namespace Mivora::platform {

/// Runs something when a scope is left, by an exception, too.
template <class Action>
class AtEnd {
 public:
    explicit AtEnd(Action action) : action_(std::move(action)) {}
    ~AtEnd() { action_(); }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;

 private:
    Action action_;
};

}  // namespace Mivora::platform
