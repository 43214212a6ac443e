#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "MivoraMac/Export.h"

class MVKey;
class MVView;
class MVWindow;
struct MVMaker;

namespace Mivora::platform {
struct Event;
}

/// Sends keys to the key hooks of a window's views.
///
/// A press goes to the focused view; without one, to the window's content view, or to the window
/// where it has none. From there the hooks pass it on to the superviews until one of them has a use
/// for it. If nobody has, it belongs to the toolkit, and no view hears of its end.
///
/// What becomes of a key that a view took:
/// - Its end goes to that view, once, wherever the focus is by then, and also when the view has
/// left
///   the window; a view that has been destroyed is not told.
/// - While it is held, repeats begin again at that view. If the focus has moved since, that view is
///   sent the end, and the repeat begins as a press does, at the view that has the focus: its
///   `MVKey::isRepeat` tells it so.
/// - A press of a key that is held ends the former press first: its release was lost.
/// - `endAllKeys` ends it.
///
/// Hooks may do anything, to this dispatcher, too. An ending record is dropped before its hook is
/// called. A key that a hook presses or lets go while it is being pressed stands, and the rest of
/// the outer press is left out. What hooks throw goes through once all is done; a press whose hook
/// throws was taken by nobody.
///
/// Keys are told apart by `Event::keyCode` and, where that is 0, by `Event::key`.
///
/// Thread: main.
class MIVORA_EXPORT MVKeyDispatcher : public std::enable_shared_from_this<MVKeyDispatcher> {
 public:
    /// What the host reported.
    using EventPointer = std::shared_ptr<const Mivora::platform::Event>;
    /// A record.
    using KeyPointer = std::shared_ptr<MVKey>;

    /// @param window  whose views receive the keys; held weakly. Null has no use for any
    static std::shared_ptr<MVKeyDispatcher> initWithWindow(const std::shared_ptr<MVWindow>& window);

    ~MVKeyDispatcher();
    MVKeyDispatcher(const MVKeyDispatcher&) = delete;
    MVKeyDispatcher& operator=(const MVKeyDispatcher&) = delete;

    /// A key is pressed or repeats. Null does nothing.
    /// @return whether a view had a use for it
    bool systemKeyBeganWithEvent(const EventPointer& event);

    /// A key is let go. Null, and one that nobody took, do nothing.
    /// @return whether a view had a use for it, be it only its beginning
    bool systemKeyEndedWithEvent(const EventPointer& event);

    /// Ends all keys that views took, as when the keyboard goes elsewhere.
    void endAllKeys();

    /// How many keys are held that views took.
    std::size_t heldKeys() const { return held_.size(); }

 private:
    friend struct ::MVMaker;

    /// A key that is held.
    struct Held {
        std::uint64_t name;            ///< what it is told by
        KeyPointer key;                ///< what its view is sent
        std::weak_ptr<MVView> target;  ///< where it began; the view that took it may be above
    };

    explicit MVKeyDispatcher(const std::shared_ptr<MVWindow>& window);

    std::shared_ptr<MVView> target() const;
    std::vector<Held>::iterator find(std::uint64_t name);
    bool begin(std::uint64_t name, const EventPointer& event);
    bool repeat(const KeyPointer& key, const EventPointer& event);

    std::weak_ptr<MVWindow> window_;
    std::vector<Held> held_;
};
