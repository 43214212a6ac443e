#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Ray.h"

class MVScroll;
class MVWindow;
struct MVMaker;

namespace Mivora::platform {
struct Event;
}

/// Sends scrolling to the scroll hooks of a window's views.
///
/// There is at most one record. It exists from the begin of an episode to its end or cancellation,
/// and stays with the view that was hit at its begin; moves, ends and cancellations without one do
/// nothing. A begin while there is one replaces it without a word to its view. An ending record is
/// dropped before its hook is called, so that hooks may do anything, to this dispatcher, too; what
/// they throw goes through once all is done.
///
/// Points are in points from the bottom left corner of the host view, translations in points as in
/// `MVScroll`. Of events the modifier keys are looked at; events may be null.
///
/// Thread: main.
class MIVORA_EXPORT MVScrollDispatcher : public std::enable_shared_from_this<MVScrollDispatcher> {
 public:
    /// What the host reported; may be null.
    using EventPointer = std::shared_ptr<const Mivora::platform::Event>;
    /// A record.
    using ScrollPointer = std::shared_ptr<MVScroll>;

    /// @param window  whose views are hit; held weakly. Null hits nothing
    static std::shared_ptr<MVScrollDispatcher> initWithWindow(
        const std::shared_ptr<MVWindow>& window);

    ~MVScrollDispatcher();
    MVScrollDispatcher(const MVScrollDispatcher&) = delete;
    MVScrollDispatcher& operator=(const MVScrollDispatcher&) = delete;

    /// Begins an episode with the view that is hit at the point.
    void systemScrollBeganTranslationWithEvent(Mivora::Point2 point, Mivora::Point2 translation,
                                               const EventPointer& event);
    /// Moves the record, and sends it to the hook of its view.
    void systemScrollMovedTranslationWithEvent(Mivora::Point2 point, Mivora::Point2 translation,
                                               const EventPointer& event);
    void systemScrollEndedTranslationWithEvent(Mivora::Point2 point, Mivora::Point2 translation,
                                               const EventPointer& event);
    void systemScrollCancelledTranslationWithEvent(Mivora::Point2 point, Mivora::Point2 translation,
                                                   const EventPointer& event);

    /// Cancels the episode, with a translation of zero. Where there is none, one begins at the
    /// point first, so that the view there is told even then: this is how a press stops content
    /// that goes on moving by itself.
    void cancelActiveScrollEventWithEvent(Mivora::Point2 point, const EventPointer& event);

    /// @name Internal to the library
    /// @{

    /// A record at a point, with the view that is hit there.
    ScrollPointer mv_newScrollWithPointTranslation(Mivora::Point2 point,
                                                   Mivora::Point2 translation);

    /// The ray from the eye through a point; zero without a window.
    Mivora::Ray3 mv_unprojectPoint(Mivora::Point2 point) const;

    /// Moves a record's ray and sets its translation. Null is ignored.
    void mv_scrollUpdateWithPointTranslation(const ScrollPointer& scroll, Mivora::Point2 point,
                                             Mivora::Point2 translation) const;

    /// Each sends a record to the hook of its view. A record without a view goes nowhere.
    static void mv_dispatchScrollBegan(const ScrollPointer& scroll);
    static void mv_dispatchScrollMoved(const ScrollPointer& scroll);
    static void mv_dispatchScrollEnded(const ScrollPointer& scroll);
    static void mv_dispatchScrollCancelled(const ScrollPointer& scroll);

    /// @}

 protected:
    friend struct MVMaker;
    /// See `initWithWindow`.
    explicit MVScrollDispatcher(const std::shared_ptr<MVWindow>& window);

 private:
    std::weak_ptr<MVWindow> window_;
    ScrollPointer scroll_;
};
