#pragma once

#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"

class MVView;
class MVWindow;
struct MVMaker;

/// Finds the shape that the pointer has over a window: that of the frontmost view that a press
/// would land on, or of the nearest view that it is in which names one; see `MVView::cursor`. While
/// a button is held the view that was pressed decides, wherever the pointer goes.
///
/// Views are only looked for while any view of the process names a shape.
///
/// Points are in points from the bottom left corner of the host view. Thread: main.
class MIVORA_EXPORT MVCursorDispatcher {
 public:
    /// @param window  whose views are hit; held weakly. Null hits nothing
    static std::shared_ptr<MVCursorDispatcher> initWithWindow(
        const std::shared_ptr<MVWindow>& window);

    MVCursorDispatcher(const MVCursorDispatcher&) = delete;
    MVCursorDispatcher& operator=(const MVCursorDispatcher&) = delete;

    /// The name of the shape in CSS; empty for the desktop's usual one.
    const std::string& name() const { return name_; }

    /// @name What the pointer does
    /// Each tells whether the shape is another one then.
    /// @{

    /// It moves with no button held.
    bool pointerMoved(Mivora::Point2 point);
    /// A button is pressed; further ones change nothing until all are released.
    bool buttonPressed(Mivora::Point2 point);
    /// It moves with a button held.
    bool pointerDragged(Mivora::Point2 point);
    /// A button is released.
    bool buttonReleased(Mivora::Point2 point);
    /// It leaves.
    bool pointerLeft();
    /// The views have changed, as before a frame, or the shapes that they name.
    bool update();

    /// @}

 private:
    friend struct ::MVMaker;
    explicit MVCursorDispatcher(const std::shared_ptr<MVWindow>& window);

    std::shared_ptr<MVView> viewAtPointer() const;

    std::weak_ptr<MVWindow> window_;
    std::weak_ptr<MVView> pressed_;
    Mivora::Point2 point_ = Mivora::Point2::kZero;
    int held_ = 0;  ///< buttons
    bool inside_ = false;
    std::string name_;
};
