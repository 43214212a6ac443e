#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/Rect.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/pictures/Picture.h"
#include "MivoraMac/platform/windows/Element.h"
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

/// A native view that shows what a GL context draws, and whose subclass takes the events of the
/// pointer and of the keyboard.
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

    /// The native views in this one are about to be placed on the screen, or a frame is about to be
    /// drawn there: the last moment to change them. Nothing here.
    virtual void subviewsWillBePlaced();

    /// Hands an event to the hook of its type: one of entering, of leaving or of moving with no
    /// button held only where a tracking area asks for that. Null is ignored. The view stays alive
    /// for the call; what a hook throws is logged.
    void deliver(const std::shared_ptr<const Event>& event);

    /// `deliver` for a key that is pressed or let go, which tells whether the view had a use for
    /// it. What the view has none for, nor for what is no key or null, belongs to the toolkit.
    ///
    /// A host delivers what comes while the keyboard's focus is in the view or in an element of it,
    /// but not what a native view within it keeps for itself; and, when the keyboard goes elsewhere
    /// while keys are held, their releases.
    bool deliverKey(const std::shared_ptr<const Event>& event);

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
        /// `elements` may answer something else: at most once a frame. Nothing here.
        virtual void elementsDidChange();
        /// The view has moved the keyboard's focus to an element, or taken it off all of them,
        /// which leaves it with the view itself if it is there. `elements` may know it only from
        /// now on. A host that is there already does nothing. Nothing here.
        /// @param identifier  0 for none
        virtual void focusElement(std::uint64_t identifier);
        /// `cursorName` answers something else. Nothing here.
        virtual void cursorDidChange();
    };

    /// @}
    /// @name Elements, for hosts
    /// What of the view the keyboard reaches and assistive technology shows. The view decides which
    /// element has the focus and tells the peer; a host whose toolkit moves it tells the view. To
    /// say what is so already does nothing, so that the two do not chase each other.
    /// @{

    /// All of them in the order of reading, which is that of the Tab key among those that are
    /// focusable and those with a native view: parents before what is in them. None here, and for
    /// programs that have none: their hosts make nothing.
    virtual std::vector<Element> elements();

    /// The element that has the focus, by its identifier; 0 for none, as here.
    virtual std::uint64_t focusedElement() const;

    /// The keyboard's focus has come to an element by the toolkit's doing: the Tab key, assistive
    /// technology, or a press on a native view. Nothing here, and for an unknown identifier.
    virtual void elementDidFocus(std::uint64_t identifier);

    /// The focus has left an element for something that is none. Not where the window as a whole
    /// has gone to the background. Nothing here, and for one that has no focus.
    virtual void elementDidBlur(std::uint64_t identifier);

    /// Does what an element's action says.
    /// @param index  in `Element::actions`
    /// @return whether there is such an action. There is none here
    virtual bool performAction(std::uint64_t identifier, std::size_t index);

    /// The shape that the pointer has over the view, by its name in CSS, such as "pointer" or
    /// "grab"; empty for the desktop's usual one, as here.
    virtual std::string cursorName() const;

    /// @}
    /// @name For hosts
    /// @{

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

    /// What the keyboard did.
    /// @return whether the view had a use for it; false here
    virtual bool keyDown(const std::shared_ptr<const Event>& event);
    virtual bool keyUp(const std::shared_ptr<const Event>& event);

    /// @}

    void boundsDidChange() override;
    void subviewsDidChange() override;

 private:
    bool dispatch(const std::shared_ptr<const Event>& event);
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
