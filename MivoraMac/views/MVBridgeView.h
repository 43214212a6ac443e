#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/views/MVView.h"

class MVBridgeViewHost;

namespace Mivora::platform {
class View;
}

/// A view that stands for a native one, such as a text field of the desktop's toolkit, which then
/// lives in the tree: it is seen where this view is, as large as this view, and hidden with it.
///
///     auto name = MVBridgeView::initWithBridgeView(ViewForGtkWidget([] { return gtk_entry_new();
///     })); name->setPosition({20, 20}); name->setSize({200, 36});
///     application->window()->addSubview(name);
///
/// Nothing of it is drawn by the library: native views lie above all drawing of their window, those
/// added later above those added before, and pictures do not show them. Opacity, stencils and the
/// order of subviews make no difference to them.
///
/// The native view is upright: its frame is the box from where this view's origin to where its far
/// corner lies in the window's plane, whatever the other two corners do. A turn about z by 90
/// degrees therefore swaps width and height, one by 45 may leave a sliver; depth, perspective and
/// turns about x and y show in those two corners alone.
///
/// The native view is in a window while this view is in that of an application. When it follows:
/// - the window, at once;
/// - a change of size, at once, with its place in the next frame;
/// - a change of the place, of an ancestor's, or of what hides it, in the next frame, before that
/// is
///   drawn, or earlier if the transform or `isEffectivelyHidden` is read, or the desktop lays the
///   window out.
///
/// Presses over the native view are its own; see `ViewForGtkWidget`. So are its keys while it has
/// the keyboard's focus, which it can have without being `focusable`: the Tab key finds it at the
/// place that this view has among the others.
///
/// Thread: main. Size, place and visibility follow changes that are made on another thread when the
/// main thread next turns its loop. Dropped on another thread, the native view is released on the
/// main thread.
class MIVORA_EXPORT MVBridgeView : public MVView {
 public:
    /// A view of size zero that stands for nothing yet.
    static std::shared_ptr<MVBridgeView> init();

    /// A view of size zero.
    /// @param bridgeView  left as it is until this view joins a window or is resized; may be null
    static std::shared_ptr<MVBridgeView> initWithBridgeView(
        std::shared_ptr<Mivora::platform::View> bridgeView);

    ~MVBridgeView() override;

    /// The native view, or null.
    const std::shared_ptr<Mivora::platform::View>& bridgeView() const { return bridgeView_; }

    /// Replaces the native view, which takes over place, size and visibility; null for none. The
    /// same one does nothing. Off the main thread only while this view is in no window.
    void setBridgeView(std::shared_ptr<Mivora::platform::View> bridgeView);

    /// The base operation; the native view is resized, too.
    void setSize3(Mivora::Size3 size) override;

    /// Draws nothing.
    void draw() override;

    /// @name Internal to the library
    /// @{

    /// Puts the native view over the drawing of the window this view is in, if that has a place for
    /// native views.
    void mv_attachBridgeView();
    /// Takes the native view away from there.
    void mv_detatchBridgeView();

    /// Places the native view where this one is seen, if it is in such a window. On another thread
    /// than the main one it leaves that to the main thread, as do the two below, and returns.
    virtual void mv_positionBridgeView();
    /// Gives the native view the width and height of this one, keeping its bottom left corner.
    void mv_sizeBridgeView();
    /// Hides or shows the native view.
    void mv_updateBridgeViewVisibility();

    /// Brings place and visibility of the native view up to date, if anything changed.
    void mv_updateBridgeView();

    /// The native view, which knows all about itself.
    MVOwnElement mv_ownElement() const override;

    /// @}

 protected:
    friend struct MVMaker;
    /// See `initWithBridgeView`.
    explicit MVBridgeView(std::shared_ptr<Mivora::platform::View> bridgeView = nullptr);

    void mv_transformMatrixDidBuild() override;
    void mv_windowWillChange() override;
    void mv_windowDidChange() override;
    void mv_effectivelyHiddenDidBuild() override;

 private:
    std::shared_ptr<MVBridgeViewHost> host() const;
    bool leaveToMainThread(void (MVBridgeView::*operation)());

    std::shared_ptr<Mivora::platform::View> bridgeView_;
};
