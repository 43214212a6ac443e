#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/windows/Event.h"

namespace Mivora::platform {

class OpenGLView;

/// Fingers that a program puts on a screen: every call delivers to a view one event, of all the
/// fingers that it names together.
///
///     HeadlessFingers fingers(application->renderView());
///     fingers.land({{1, {100, 100}}, {2, {200, 100}}});
///     fingers.move({{2, {300, 100}}});    // the other one rests
///     fingers.lift({1, 2});
///
/// Like a desktop's, fingers go on being the view's wherever they go after they have landed. A
/// finger is told by any number; to land one that is down, and to move or lift one that is not, is
/// left out. Places are in points from the view's bottom left corner.
///
/// Thread: main.
class MIVORA_EXPORT HeadlessFingers {
 public:
    /// A finger and where it is.
    struct Finger {
        std::uint64_t number = 0;  ///< what it is told by
        Point place;               ///< where it is
    };

    /// No fingers yet.
    /// @param view  held weakly; without it nothing happens
    explicit HeadlessFingers(const std::shared_ptr<OpenGLView>& view);

    /// Puts fingers down.
    void land(const std::vector<Finger>& fingers);
    /// Moves them; those that are not named rest.
    void move(const std::vector<Finger>& fingers);
    /// Lifts fingers where they are.
    void lift(const std::vector<std::uint64_t>& numbers);
    /// Takes all fingers away, as a desktop does that makes something else of them.
    void cancel();

    /// The fingers that are down, in the order in which they landed.
    const std::vector<Finger>& down() const { return down_; }

 private:
    std::vector<Finger>::iterator find(std::uint64_t number);
    void deliver(Event::Type type, const std::vector<Finger>& fingers) const;

    std::weak_ptr<OpenGLView> view_;
    std::vector<Finger> down_;
};

}  // namespace Mivora::platform
