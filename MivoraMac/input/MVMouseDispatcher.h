#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Ray.h"

class MVMouse;
class MVView;
class MVWindow;
struct MVMaker;

namespace Mivora::platform {
struct Event;
}

/// Sends buttons and hovers to the mouse hooks of a window's views.
///
/// There is at most one record each for the primary button, the secondary button, the middle button
/// and the hover.
/// Each exists from its begin to its end; moves and ends without one do nothing. A begin while
/// there is one ends that one first, where it last was, so that every view that is sent a
/// `mouseBegan` is sent one `mouseEnded`. A press stays with the view that was hit at its begin,
/// wherever the pointer goes; a hover is hit-tested at every move.
///
/// Hooks may do anything, to this dispatcher, too. An ending record is dropped before its hook is
/// called. Where a hook begins a record while another of the kind is about to begin, that one
/// stands, and the other is left out. While a view is told that a hover leaves it, further moves
/// only say where the hover goes on. What hooks throw goes through once all is done.
///
/// Points are in points from the bottom left corner of the host view. Of events the click count and
/// the modifier keys are looked at; events may be null.
///
/// Thread: main.
class MIVORA_EXPORT MVMouseDispatcher : public std::enable_shared_from_this<MVMouseDispatcher> {
 public:
    /// What the host reported; may be null.
    using EventPointer = std::shared_ptr<const Mivora::platform::Event>;
    /// A record.
    using MousePointer = std::shared_ptr<MVMouse>;

    /// @param window  whose views are hit; held weakly. Null hits nothing
    static std::shared_ptr<MVMouseDispatcher> initWithWindow(
        const std::shared_ptr<MVWindow>& window);

    ~MVMouseDispatcher();
    MVMouseDispatcher(const MVMouseDispatcher&) = delete;
    MVMouseDispatcher& operator=(const MVMouseDispatcher&) = delete;

    /// @name The primary button
    /// @{

    /// Begins a record with the event's click count, or 1 without an event.
    void systemMouseBeganWithEvent(Mivora::Point2 point, const EventPointer& event);
    /// Moves the record and sends it to `mouseMoved`.
    void systemMouseMovedWithEvent(Mivora::Point2 point, const EventPointer& event);
    /// Moves the record, drops it and sends it to `mouseEnded`.
    void systemMouseEndedWithEvent(Mivora::Point2 point, const EventPointer& event);

    /// @}
    /// @name The secondary button
    /// As the primary one.
    /// @{

    /// The pressed, moved and released button.
    void systemRightMouseBeganWithEvent(Mivora::Point2 point, const EventPointer& event);
    void systemRightMouseMovedWithEvent(Mivora::Point2 point, const EventPointer& event);
    void systemRightMouseEndedWithEvent(Mivora::Point2 point, const EventPointer& event);

    /// @}
    /// @name The middle button
    /// As the primary one.
    /// @{

    /// The pressed, moved and released button.
    void systemMiddleMouseBeganWithEvent(Mivora::Point2 point, const EventPointer& event);
    void systemMiddleMouseMovedWithEvent(Mivora::Point2 point, const EventPointer& event);
    void systemMiddleMouseEndedWithEvent(Mivora::Point2 point, const EventPointer& event);

    /// @}
    /// @name Hover
    /// @{

    /// Begins a record and sends it to `mouseHoverBegan`.
    void systemMouseHoverBeganWithEvent(Mivora::Point2 point, const EventPointer& event);
    /// Where the pointer has come onto another view, or onto none, the old view's
    /// `mouseHoverEnded` and the new one's `mouseHoverBegan` are called, else `mouseHoverMoved`.
    void systemMouseHoverMovedWithEvent(Mivora::Point2 point, const EventPointer& event);
    /// Moves the record, drops it and sends it to `mouseHoverEnded`.
    void systemMouseHoverEndedWithEvent(Mivora::Point2 point, const EventPointer& event);

    /// @}
    /// @name Internal to the library
    /// @{

    /// A record at a point, with the view that is hit there.
    /// @param button  one of `MVMouseButton`
    MousePointer mv_newMouseWithPointButton(Mivora::Point2 point, std::int32_t button);

    /// The ray from the eye through a point; zero without a window.
    Mivora::Ray3 mv_unprojectPoint(Mivora::Point2 point) const;

    /// Moves a record's ray, and keeps the one it had as the previous one. Null is ignored.
    void mv_mouseUpdateWithPoint(const MousePointer& mouse, Mivora::Point2 point) const;

    /// Each sends a record to the hook of its view. A record without a view goes nowhere.
    static void mv_dispatchMouseBegan(const MousePointer& mouse);
    static void mv_dispatchMouseMoved(const MousePointer& mouse);
    static void mv_dispatchMouseEnded(const MousePointer& mouse);
    static void mv_dispatchMouseHoverBegan(const MousePointer& mouse);
    static void mv_dispatchMouseHoverMoved(const MousePointer& mouse);
    static void mv_dispatchMouseHoverEnded(const MousePointer& mouse);

    /// @}

 protected:
    friend struct MVMaker;
    /// See `initWithWindow`.
    explicit MVMouseDispatcher(const std::shared_ptr<MVWindow>& window);

 private:
    void beginPress(MousePointer& record, std::int32_t button, Mivora::Point2 point,
                    const EventPointer& event);
    void movePress(const MousePointer& record, Mivora::Point2 point, const EventPointer& event);
    void endPress(MousePointer& record, Mivora::Point2 point, const EventPointer& event);
    /// Tells the view, unless it is being told that the hover leaves it.
    void endHover(const MousePointer& mouse);
    std::shared_ptr<MVView> viewAt(const MousePointer& mouse) const;

    std::weak_ptr<MVWindow> window_;
    MousePointer leftMouse_;
    MousePointer rightMouse_;
    MousePointer middleMouse_;
    MousePointer hoverMouse_;
    MousePointer leavingMouse_;  ///< A hover whose view is being told that it leaves.
};
