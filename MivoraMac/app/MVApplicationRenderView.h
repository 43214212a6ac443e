#pragma once

#include <cstdint>
#include <glm/mat4x4.hpp>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/windows/OpenGLView.h"
#include "MivoraMac/views/MVBridgeViewHost.h"

class MVApplication;
class MVBridgeView;
class MVCursorDispatcher;
class MVElementList;
class MVFingerDispatcher;
class MVKeyDispatcher;
class MVMouseDispatcher;
class MVMouseToTouchDispatcher;
class MVRenderContext;
class MVScrollDispatcher;
class MVWindow;

/// The native view that shows an application's window and takes the events of the pointer
/// and of the keyboard for it.
///
/// It keeps the viewport at its size in pixels, has the application draw a frame within every
/// change of size, holds the native views that stand over the drawing, and hands events to its
/// dispatchers:
/// - the primary button to touches and mouse, in this order; between them, a press cancels
///   scrolling;
/// - the secondary and the middle button to the mouse, after a press has cancelled scrolling;
/// - a pointer with no button held to the mouse, as a hover, while the window is the main one;
/// - a wheel, fingers and momentum to scrolling; a line of a wheel counts as 24 points;
/// - leaving the view ends the hover, then cancels scrolling, then the touch;
/// - fingers to touches of their own, and to nothing else: no button is pressed by them;
/// - keys to the focused view, see `MVKeyDispatcher`; leaving the native window ends those that are
///   held and takes the focus off.
///
/// Before all that, a press of the primary button and a finger that lands move the focus to the
/// view that asks for it (`MVView::focusesOnPress`).
///
/// Fingers and the pointer do not know of each other, but for this:
/// - a finger that lands ends the hover; it begins again with the first move of the pointer after
///   the last finger has been lifted, and moves of the pointer before that do nothing;
/// - a finger that lands cancels scrolling and momentum, as a press does, with the view under the
///   finger; fingers that land later do so, too, and what scrolls after that scrolls beside them;
/// - buttons, whichever, and scrolling go on, or begin and end, while fingers are down, and fingers
///   land and are lifted while a button is held: the touch of the primary button and theirs are
///   touches beside each other, which a recognizer of several touches may take together;
/// - leaving the view is the pointer's, with its scrolling and its touch: fingers stay, wherever
///   they go, until they are lifted;
/// - a gesture of two fingers on a touchpad is two more fingers, in all of this, over the view that
///   is under the pointer as it begins; it does not follow the pointer, nor end when that leaves;
/// - when the view leaves its window, all fingers are cancelled, those of a touchpad among them.
///
/// Each is done whatever the hooks of the others throw, which goes into the log.
///
/// The application makes it; a program places it in a window of the desktop.
///
/// Thread: main.
class MIVORA_EXPORT MVApplicationRenderView : public Mivora::platform::OpenGLView,
                                              public MVBridgeViewHost {
 public:
    /// What a host reports of the pointer.
    using Event = Mivora::platform::Event;

    /// A view that is in no window.
    /// @param application  told of changes of size; held weakly, may be null
    /// @param window       the tree that events reach; held weakly, may be null
    static std::shared_ptr<MVApplicationRenderView> initWithApplicationAndWindow(
        const std::shared_ptr<MVApplication>& application, const std::shared_ptr<MVWindow>& window);

    ~MVApplicationRenderView() override;

    /// Where buttons and hovers go to.
    const std::shared_ptr<MVMouseDispatcher>& mouseDispatcher() const { return mouseDispatcher_; }
    /// Where scrolling goes to.
    const std::shared_ptr<MVScrollDispatcher>& scrollDispatcher() const {
        return scrollDispatcher_;
    }
    /// Where the primary button goes to as a touch.
    const std::shared_ptr<MVMouseToTouchDispatcher>& mouseToTouchDispatcher() const {
        return mouseToTouchDispatcher_;
    }

    /// Where fingers go to as touches.
    const std::shared_ptr<MVFingerDispatcher>& fingerDispatcher() const {
        return fingerDispatcher_;
    }

    /// Where keys go to.
    const std::shared_ptr<MVKeyDispatcher>& keyDispatcher() const { return keyDispatcher_; }

    /// Where the shape of the pointer comes from.
    const std::shared_ptr<MVCursorDispatcher>& cursorDispatcher() const {
        return cursorDispatcher_;
    }

    /// True: there is nothing to see through the drawing.
    bool isOpaque() const override;

    /// @name Native views over the drawing
    /// @{

    /// Puts the native view of an element over the drawing. Null, and an element without a native
    /// view, are ignored. Where the host shows no native views, the log (category `frame`) says so
    /// the first time.
    void addBridgeView(const std::shared_ptr<MVBridgeView>& bridgeView) override;

    /// Takes the native view of an element away.
    void removeBridgeView(const std::shared_ptr<MVBridgeView>& bridgeView) override;

    /// Gives all native views over the drawing a perspective; see `View::sublayerTransform`. It
    /// lasts until the application's window next rebuilds its projection, as after a change of
    /// size: that sets the perspective of the camera.
    void setBridgeViewContainerSublayerTransform(const glm::dmat4& transform);

    /// What holds the native views.
    const std::shared_ptr<Mivora::platform::View>& mv_bridgeViewContainer() const {
        return bridgeViewContainer_;
    }

    /// @}
    /// @name Elements
    /// Those of the window's tree.
    /// @{

    std::vector<Mivora::platform::Element> elements() override;
    std::uint64_t focusedElement() const override;
    /// The element's view gets the focus. Where it cannot have it, the peer is told where it is.
    void elementDidFocus(std::uint64_t identifier) override;
    /// No view has the focus then, and the keys that are held are ended.
    void elementDidBlur(std::uint64_t identifier) override;
    bool performAction(std::uint64_t identifier, std::size_t index) override;
    std::string cursorName() const override;

    /// @}
    /// @name Internal to the library
    /// @{

    /// Tells the peer what of the elements and of the pointer's shape is another since the latest
    /// frame, as each frame does.
    /// @param isDrawn  whether the frame draws, which it does wherever something has moved
    void mv_tellOfElements(bool isDrawn);

    /// Tells the peer where the focus is.
    void mv_focusDidChange();

    /// The event's place in points, with the origin at this view's bottom left corner.
    Mivora::Point2 mv_pointForEvent(const Event& event) const;

    /// The height of the bounds.
    double mv_bridgeViewHostHeight() const override { return bounds().height; }

    /// Brings place and visibility of all native views up to date.
    void mv_updateBridgeViews();

    /// Takes all native views away.
    void mv_removeAllBridgeViews();

    /// `mv_updateBridgeViews`: what is placed is placed as the tree says.
    void subviewsWillBePlaced() override;

    /// Sets the GL viewport of the active context to the bounds in pixels, and waits for it.
    void mv_setViewport();

    /// @}

 protected:
    void viewDidMoveToWindow() override;
    void reshape() override;
    void renewGState() override;
    void updateTrackingAreas() override;
    void viewDidChangeBackingProperties() override;
    void makeBackingLayer() override;
    void mouseDown(const std::shared_ptr<const Event>& event) override;
    void mouseDragged(const std::shared_ptr<const Event>& event) override;
    void mouseUp(const std::shared_ptr<const Event>& event) override;
    void rightMouseDown(const std::shared_ptr<const Event>& event) override;
    void rightMouseDragged(const std::shared_ptr<const Event>& event) override;
    void rightMouseUp(const std::shared_ptr<const Event>& event) override;
    void middleMouseDown(const std::shared_ptr<const Event>& event) override;
    void middleMouseDragged(const std::shared_ptr<const Event>& event) override;
    void middleMouseUp(const std::shared_ptr<const Event>& event) override;
    void mouseEntered(const std::shared_ptr<const Event>& event) override;
    void mouseMoved(const std::shared_ptr<const Event>& event) override;
    void mouseExited(const std::shared_ptr<const Event>& event) override;
    void scrollWheel(const std::shared_ptr<const Event>& event) override;
    void touchesBegan(const std::shared_ptr<const Event>& event) override;
    void touchesMoved(const std::shared_ptr<const Event>& event) override;
    void touchesEnded(const std::shared_ptr<const Event>& event) override;
    void touchesCancelled(const std::shared_ptr<const Event>& event) override;
    bool keyDown(const std::shared_ptr<const Event>& event) override;
    bool keyUp(const std::shared_ptr<const Event>& event) override;

 private:
    friend struct ::MVMaker;

    MVApplicationRenderView(const std::shared_ptr<MVApplication>& application,
                            const std::shared_ptr<MVWindow>& window);

    /// What a client makes while it handles an event belongs with what the event is about.
    void mv_setActiveResources();
    bool mayHover() const;
    void beginHover(const std::shared_ptr<const Event>& event);
    void endHover(const std::shared_ptr<const Event>& event);
    void pointerDid(const Event& event);
    void focusByPress(Mivora::Point2 point);
    void tellOfCursor(bool changed);

    std::weak_ptr<MVApplication> application_;
    std::weak_ptr<MVWindow> window_;
    std::shared_ptr<MVRenderContext> context_;
    std::shared_ptr<const Mivora::platform::TrackingArea> trackingArea_;
    bool mouseHoverActive_ = false;
    std::vector<std::shared_ptr<MVBridgeView>> bridgeViews_;
    std::shared_ptr<Mivora::platform::View> bridgeViewContainer_;
    bool saidThatNoneAreShown_ = false;
    std::shared_ptr<MVMouseDispatcher> mouseDispatcher_;
    std::shared_ptr<MVScrollDispatcher> scrollDispatcher_;
    std::shared_ptr<MVMouseToTouchDispatcher> mouseToTouchDispatcher_;
    std::shared_ptr<MVFingerDispatcher> fingerDispatcher_;
    std::shared_ptr<MVKeyDispatcher> keyDispatcher_;
    std::shared_ptr<MVCursorDispatcher> cursorDispatcher_;
    std::unique_ptr<MVElementList> elementList_;
    bool elementsTold_ = false;  // the peer was told of some
};

/// Pixels for each point of a view's drawing: the scale of the window it is in, if it wants the
/// best resolution, else 1.
MIVORA_EXPORT double mv_scaleFactorForOpenGLView(const Mivora::platform::OpenGLView& view);
