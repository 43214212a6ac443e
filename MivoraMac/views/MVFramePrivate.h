#pragma once

#include <functional>

#include "MivoraMac/Export.h"

class MVWindow;

/// The visits of one frame over the tree of a window, as everybody who draws windows makes them;
/// see @ref frame-visits. With `MIVORA_DEBUG=frame` each visit's duration is logged.
///
/// Thread: main.
struct MIVORA_EXPORT MVFrame {
    /// The two layout visits.
    static void layOut(MVWindow& window);

    /// The two drawing visits.
    /// @param begin  called between them: queues the binding and clearing of what is drawn into
    static void draw(MVWindow& window, const std::function<void()>& begin);

    /// Whether a tree is being drawn: a drawing visit made by `draw` is under way, or some view's
    /// `draw`.
    static bool isDrawing();
};
