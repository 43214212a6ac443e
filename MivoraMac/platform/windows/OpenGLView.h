#pragma once

#include <memory>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/Rect.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/pictures/Picture.h"
#include "MivoraMac/platform/windows/Event.h"
#include "MivoraMac/platform/windows/View.h"

namespace Mivora::platform {

class PixelFormat;

/// What a view asks to be told of the pointer, and where.
struct TrackingArea {
    /// Which events it is about.
    enum Options : unsigned {
        MouseEnteredAndExited = 0x01,  ///< the pointer enters or leaves the view
        MouseMoved = 0x02,             ///< it moves within `rect` with no button held
        ActiveAlways = 0x80,           ///< whichever window has the focus
    };

    /// In points from the view's bottom left corner. Moves outside are not told of.
    Rect rect;
    /// `Options`, combined.
    unsigned options = 0;
};

/// A native view that shows what a GL context draws, and whose subclass takes the pointer's events.
///
/// A host shows the view on the screen, keeps bounds and scale what they are there, and delivers
/// events. Where there is no desktop, the program does (see `HeadlessWindow`, `HeadlessPointer`).
///
/// Thread: main.
class MIVORA_EXPORT OpenGLView : public View, public GLContextView {
 public:
    OpenGLView();
    ~OpenGLView() override;

    /// Pixels per point; at first that of the main screen.
    double backingScaleFactor() const { return backingScaleFactor_; }

    /// Values that are not finite or not above zero are ignored. The attached context's drawable
    /// follows.
    void setBackingScaleFactor(double factor);

    /// Whether the drawing has all pixels of the screen rather than one for each point. True at
    /// first.
    bool wantsBestResolutionOpenGLSurface() const { return wantsBestResolution_; }
    void setWantsBestResolutionOpenGLSurface(bool wantsBestResolution);

    /// A rectangle of this view in pixels of its drawing.
    Rect convertRectToBacking(const Rect& rect) const;

    /// The bounds in pixels, truncated toward zero.
    PixelSize backingSize() const final;

    /// The format of the context that is shown, for information; null at first.
    const std::shared_ptr<PixelFormat>& pixelFormat() const { return pixelFormat_; }
    void setPixelFormat(std::shared_ptr<PixelFormat> format);

    /// The context whose drawing is shown; `GLContext::setView` completes the attachment.
    const std::shared_ptr<GLContext>& openGLContext() const { return context_; }
    void setOpenGLContext(std::shared_ptr<GLContext> context);

    /// Whether the drawing covers whatever is behind the view. False here.
    virtual bool isOpaque() const;

    /// @name Tracking
    /// Without a tracking area a view is not told when the pointer enters, leaves, or moves with no
    /// button held.
    /// @{

    /// The areas there are, in the order in which they were added.
    const std::vector<std::shared_ptr<const TrackingArea>>& trackingAreas() const {
        return trackingAreas_;
    }
    /// Adds an area. Null is ignored.
    void addTrackingArea(const std::shared_ptr<const TrackingArea>& area);
    /// Removes an area; null and one that was not added are ignored.
    void removeTrackingArea(const std::shared_ptr<const TrackingArea>& area);

    /// @}
    /// @name For hosts
    /// @{

    /// Tells the peer.
    void openGLContextDidAttach() final;

    /// The native views in this one are about to be placed on the screen: the last moment to change
    /// them. Nothing here.
    virtual void subviewsWillBePlaced();

    /// Hands an event to the hook of its type: one of entering, of leaving or of moving with no
    /// button held only where a tracking area asks for that. Null is ignored. The view stays alive
    /// for the call; what a hook throws is logged.
    void deliver(const std::shared_ptr<const Event>& event);

    /// What a host has on the screen for this view.
    class MIVORA_EXPORT Peer {
     public:
        virtual ~Peer();
        /// The placement of the native views in this one, or the set of them, has changed.
        virtual void subviewsDidChange() = 0;
        /// A context has been attached to the view. Nothing here.
        virtual void openGLContextDidChange();
        /// The view is being destroyed and is no longer to be used. Nothing here.
        virtual void viewIsGoing();
    };

    /// What the host has on the screen for this view; null for nothing.
    Peer* peer() const { return peer_; }
    /// Not owned. Null when what is on the screen goes.
    void setPeer(Peer* peer) { peer_ = peer; }

    /// @}

 protected:
    /// @name Hooks
    /// All do nothing here.
    /// @{

    /// The size of the drawing has changed, or the view has come into a window, which
    /// `viewDidMoveToWindow` was told before.
    virtual void reshape();

    /// The window is about to show another picture than the latest frame. For hosts whose
    /// system does so: those that only ever show whole frames, as the library's own, never call it.
    virtual void renewGState();

    /// The bounds have changed, and with them what tracking areas cover.
    virtual void updateTrackingAreas();

    /// The scale has changed.
    virtual void viewDidChangeBackingProperties();

    /// What the pointer or fingers did; see `Event::Type`. The event is never null.
    virtual void mouseDown(const std::shared_ptr<const Event>& event);
    virtual void mouseDragged(const std::shared_ptr<const Event>& event);
    virtual void mouseUp(const std::shared_ptr<const Event>& event);
    virtual void rightMouseDown(const std::shared_ptr<const Event>& event);
    virtual void rightMouseDragged(const std::shared_ptr<const Event>& event);
    virtual void rightMouseUp(const std::shared_ptr<const Event>& event);
    virtual void middleMouseDown(const std::shared_ptr<const Event>& event);
    virtual void middleMouseDragged(const std::shared_ptr<const Event>& event);
    virtual void middleMouseUp(const std::shared_ptr<const Event>& event);
    virtual void mouseEntered(const std::shared_ptr<const Event>& event);
    virtual void mouseMoved(const std::shared_ptr<const Event>& event);
    virtual void mouseExited(const std::shared_ptr<const Event>& event);
    virtual void scrollWheel(const std::shared_ptr<const Event>& event);
    virtual void touchesBegan(const std::shared_ptr<const Event>& event);
    virtual void touchesMoved(const std::shared_ptr<const Event>& event);
    virtual void touchesEnded(const std::shared_ptr<const Event>& event);
    virtual void touchesCancelled(const std::shared_ptr<const Event>& event);

    /// @}

    void boundsDidChange() override;
    void subviewsDidChange() override;

 private:
    void dispatch(const std::shared_ptr<const Event>& event);
    void settleInWindow() override;
    bool takeBackingScaleFactor(double factor);
    void shape();

    double backingScaleFactor_;
    bool wantsBestResolution_ = true;
    std::shared_ptr<PixelFormat> pixelFormat_;
    std::shared_ptr<GLContext> context_;
    std::vector<std::shared_ptr<const TrackingArea>> trackingAreas_;
    Peer* peer_ = nullptr;
};

}  // namespace Mivora::platform
