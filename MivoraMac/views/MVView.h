#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <glm/mat3x4.hpp>
#include <glm/mat4x4.hpp>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Plane.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Ray.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/input/MVCursor.h"
#include "MivoraMac/input/MVOrderedSet.h"
#include "MivoraMac/platform/windows/Element.h"
#include "MivoraMac/render/MVShader.h"
#include "MivoraMac/render/MVStencilState.h"
#include "MivoraMac/views/MVViewBackPointer.h"

class MVInteraction;
class MVKey;
class MVMouse;
class MVQuadVisit;
class MVScroll;
class MVView;
class MVWindow;
struct MVMaker;
struct MVViewTree;

/// A list of views. Views never change one that somebody else holds: they replace it.
using MVViewArray = std::vector<std::shared_ptr<MVView>>;

/// A list of recognizers, replaced whole like a list of views.
using MVGestureRecognizerArray = std::vector<std::shared_ptr<MVGestureRecognizer>>;

/// Something that can be done with a view without seeing it.
struct MVAccessibilityAction {
    std::string name;                ///< what it is called, for people: "flip"
    std::function<void()> function;  ///< what does it; none does nothing
};

/// What can be done with a view, the most usual first.
using MVAccessibilityActionArray = std::vector<MVAccessibilityAction>;

/// What a view is to assistive technology without any work of the program.
struct MVOwnElement {
    bool isElement = false;  ///< rather than what it is as soon as the program makes it an element
    Mivora::platform::Role role = Mivora::platform::Role::None;  ///< what it is
    std::string label;                                           ///< what it is called
    std::shared_ptr<Mivora::platform::View> embedded;            ///< a native view that stands here
};

/// A node of the view tree, and the base of every visible element.
///
/// A view has one superview, an ordered list of subviews, the window at the root of its tree, and
/// a placement in three dimensions. A view keeps its subviews alive; it knows its superview and
/// its window without keeping them alive, and forgets them when they are destroyed.
///
/// From the placement of a view and of its ancestors follow values that are kept and rebuilt when
/// they are next read: two matrices and an inverse, the effective hidden state and the effective
/// opacity. A change marks them in the view and in everything below it, without stopping at
/// views that are marked already, and asks the window for a redraw. What marks what:
///
/// - position, size, rotation, scale, anchor, local origin, coordinate system: local and world
///   transform;
/// - joining or leaving a superview: world transform, effective hidden state, effective opacity;
/// - `setHidden`: effective hidden state;
/// - `setOpacity`: effective opacity;
/// - a change of the list of subviews: nothing but the redraw.
///
/// @anchor transform-order
/// A point of a view's content reaches its superview's content in this order:
/// 1. The local origin is subtracted, so that the local origin is seen at the view's origin.
/// 2. If the view's coordinate system differs from its superview's, y becomes height - y.
/// 3. The anchor, a fraction of the size, becomes the origin.
/// 4. Scale.
/// 5. Rotation about z, then about y, then about x, each right-handed.
/// 6. The position is added.
///
/// Steps 3 to 6 are the local transform. All six, followed by those of the superview and its
/// ancestors, are the world transform, from the view's content space to the window's world space.
/// Lengths are in points until something scales them. With a coordinate system that matches and a
/// local origin of zero, the point at the anchor's fraction of the size always lies at `position`
/// in the superview.
///
/// Infinite and NaN placements are stored as they are. They make the matrices that depend on them
/// infinite or NaN and an inverse that does not exist the identity; nothing else happens.
///
/// Instances are made by `init`, and those of a client's subclass by `MVMake<Subclass>(…)`. A
/// constructor may already add subviews.
///
/// Here come first the operations and hooks that clients use; those that begin with `mv_` are the
/// library's own and stand behind them.
///
/// Depth: building, marking and destroying a tree needs no stack for its depth. Joining or leaving
/// a window takes some hundred bytes of stack for each level.
///
/// Thread: main.
class MIVORA_EXPORT MVView : public std::enable_shared_from_this<MVView>,
                             public MVShaderMatrixSource {
 public:
    /// Creates a view of size zero at the origin, visible and opaque, in no tree.
    static std::shared_ptr<MVView> init();

    /// Lets go of the subviews, which are destroyed after their superview. One that is held
    /// elsewhere goes on without a superview; what was last built for it and the window it was
    /// given stay until something marks or changes them.
    virtual ~MVView();

    MVView(const MVView&) = delete;
    MVView& operator=(const MVView&) = delete;

    /// @name Tree
    /// @{

    /// The view that this one is placed in; null for a root.
    std::shared_ptr<MVView> superview() const;

    /// The subviews in drawing order, back to front; never null. What is returned stays as it is:
    /// changes to the tree show in the next call's answer.
    std::shared_ptr<const MVViewArray> subviews() const;

    /// Adds a view in front of the other subviews, taking it from the superview it may have. A
    /// view that is placed in this one already stays where it is in the order.
    ///
    /// @throws MVException `kInvalidArgument`, with nothing changed, if the view is null, a window,
    ///         this view, or one that this view is inside, be it as a subview or within a stencil
    ///         view, at any depth
    void addSubview(std::shared_ptr<MVView> view);

    /// Adds a view at an index in the order of subviews, taking it from the superview it may have,
    /// or moves a subview there.
    ///
    /// @param view   may be a subview already
    /// @param index  0 is the back; counted without `view`, and at most the number of the others
    /// @throws MVException `kInvalidArgument` as `addSubview` does, `kRange` for an index below 0
    ///         or beyond the others; nothing is changed then
    void insertSubviewAtIndex(std::shared_ptr<MVView> view, std::int64_t index);

    /// Leaves the superview, if there is one, and with it the window. The view and everything
    /// below it are then effectively hidden, with a `contentScaleFactor` of 0.
    void removeFromSuperview();

    /// Sends `removeFromSuperview` to each subview, from the back to the front.
    void removeAllSubviews();

    /// @}
    /// @name Placement
    /// All in the superview's content space. Setting an equal value (component by component, as
    /// floats, so NaN never is) does nothing; a change shows in the next frame.
    /// @{

    /// Where the anchor of this view lies, in points.
    Mivora::Point3 position3() const { return position_; }
    /// Moves the view.
    void setPosition3(Mivora::Point3 position);

    /// x and y of `position3`; setting them keeps z.
    Mivora::Point2 position() const { return {position_.x, position_.y}; }
    /// Moves the view within its plane.
    void setPosition(Mivora::Point2 position);

    /// The extent of the content, in points. Negative extents are kept as they are.
    Mivora::Size3 size3() const { return size_; }
    /// The one setter for sizes: `setSize` calls it, too. An override calls this one first.
    virtual void setSize3(Mivora::Size3 size);

    /// Width and height of `size3`; setting them keeps the depth.
    Mivora::Size2 size() const { return {size_.width, size_.height}; }
    /// Changes width and height, through `setSize3`.
    void setSize(Mivora::Size2 size);

    /// Angles about the x, y and z axis, in radians; a positive angle turns y to z, z to x and x
    /// to y. See the order above.
    Mivora::Point3 rotation3() const { return rotation_; }
    /// Turns the view about all three axes.
    void setRotation3(Mivora::Point3 rotation);

    /// The angle about z, in radians; setting it keeps the other two.
    float rotation() const { return rotation_.z; }
    /// Turns the view about z.
    void setRotation(float rotation);

    /// The scale along every axis, 1 by default. 0 makes the world transform singular, and its
    /// inverse the identity.
    float uniformScale() const { return scale_; }
    /// Scales every axis alike.
    void setUniformScale(float scale);

    /// The pivot of rotation and scale, as a fraction of the size along each axis: 0 is the side
    /// of the content's origin, 1 the far side. Beyond 0 to 1 it lies outside.
    Mivora::Point3 anchorPoint3() const { return anchorPoint_; }
    /// Moves the pivot, and with it the content: the new anchor lies at `position3`.
    void setAnchorPoint3(Mivora::Point3 anchorPoint);

    /// x and y of `anchorPoint3`; setting them keeps z.
    Mivora::Point2 anchorPoint() const { return {anchorPoint_.x, anchorPoint_.y}; }
    /// Moves the pivot as `setAnchorPoint3` does.
    void setAnchorPoint(Mivora::Point2 anchorPoint);

    /// The point of this view's content that is seen at its origin, in points: a content offset.
    Mivora::Point3 localOrigin3() const { return localOrigin_; }
    /// Moves the content within the view.
    void setLocalOrigin3(Mivora::Point3 localOrigin);

    /// x and y of `localOrigin3`; setting them keeps z.
    Mivora::Point2 localOrigin() const { return {localOrigin_.x, localOrigin_.y}; }
    /// Moves the content within the view, in its plane.
    void setLocalOrigin(Mivora::Point2 localOrigin);

    /// A tag that is compared with the superview's, or with 0 where there is no superview: if they
    /// differ, y runs the other way inside this view, down from the top of its own height. The
    /// subviews compare theirs with this one. 0 by default.
    std::int32_t coordinateSystem() const { return coordinateSystem_; }
    /// Changes the tag; only whether it equals others matters.
    void setCoordinateSystem(std::int32_t coordinateSystem);

    /// @}
    /// @name Matrices
    /// Column-major; the product A * B applies B first.
    /// @{

    /// From this view's content space to the window's world space, in the order above. An override
    /// changes what the subviews build theirs on.
    virtual glm::mat4 transformMatrix();

    /// The inverse of the world transform; the identity where there is none.
    glm::mat4 inverseTransformMatrix();

    /// @}
    /// @name Conversion
    /// From this view's content space to that of another in the same tree (`ToView`), or back
    /// (`FromView`). Nothing is divided by w: the matrices are affine.
    ///
    /// Null stands for no space at all, not for the window's: everything converted to it is zero,
    /// and every point converted from it is what this view's inverse makes of the world's origin.
    /// @{

    /// Converts a point.
    Mivora::Point3 convertPoint3FToView(Mivora::Point3 point, const std::shared_ptr<MVView>& view);
    /// As above, from `view` to this one.
    Mivora::Point3 convertPoint3FFromView(Mivora::Point3 point,
                                          const std::shared_ptr<MVView>& view);

    /// Converts a point with z = 0 and drops the z of the result.
    Mivora::Point2 convertPoint2FToView(Mivora::Point2 point, const std::shared_ptr<MVView>& view);
    /// As above, from `view` to this one.
    Mivora::Point2 convertPoint2FFromView(Mivora::Point2 point,
                                          const std::shared_ptr<MVView>& view);

    /// Converts a direction or distance: the difference of two points, untouched by translation.
    Mivora::Point3 convertVector3FToView(Mivora::Point3 vector,
                                         const std::shared_ptr<MVView>& view);
    /// As above, from `view` to this one.
    Mivora::Point3 convertVector3FFromView(Mivora::Point3 vector,
                                           const std::shared_ptr<MVView>& view);

    /// Converts a direction with z = 0 and drops the z of the result.
    Mivora::Point2 convertVector2FToView(Mivora::Point2 vector,
                                         const std::shared_ptr<MVView>& view);
    /// As above, from `view` to this one.
    Mivora::Point2 convertVector2FFromView(Mivora::Point2 vector,
                                           const std::shared_ptr<MVView>& view);

    /// @}
    /// @name Visibility
    /// @{

    /// Whether this view, and with it everything below it, is left out; its own flag alone.
    bool isHidden() const { return hidden_; }
    /// Hides or shows the view. An equal value does nothing.
    void setHidden(bool hidden);

    /// Whether this view or one above it is hidden, or it is outside any tree.
    ///
    /// A root answers for itself only after something marked it: a window that was never hidden
    /// answers false, and so does a new view; once marked, by `setHidden` or by losing its
    /// superview, a view without a superview answers true.
    bool isEffectivelyHidden();

    /// How opaque this view is, 1 by default, nominally 0 to 1; not clamped. NaN is stored.
    float opacity() const { return opacity_; }
    /// Fades the view and everything below it. An equal value does nothing.
    void setOpacity(float opacity);

    /// The product of the opacities of this view and all above it.
    float effectiveOpacity();

    /// Pixels for each point of the content that this view draws.
    ///
    /// A new view has that of the main screen, asked once for the process. One that joins a
    /// superview takes over the superview's, and each view below takes over that of the view it is
    /// placed in, unless a value of its own was set. Leaving makes it 0 for the view and everything
    /// below it, also where it was set.
    float contentScaleFactor() const { return contentScaleFactor_; }
    /// Only stores the value, which is kept until this view itself joins or anything above it
    /// leaves a superview. No subview is told and no redraw asked for. 0 means no value.
    void setContentScaleFactor(float contentScaleFactor);

    /// Asks for the tree to be drawn again in the next frame. While a frame is drawn, from
    /// `prepareForDraw` to `draw`, this is lost: that frame counts as the answer. Whatever moves on
    /// by itself asks from a ticker of the animation clock (`MVAnimationClockTick`) or from
    /// `layoutSubviews`.
    void setNeedsDraw();

    /// @}
    /// @name Layout and drawing
    /// @anchor frame-visits
    /// A frame visits the tree of a window up to four times. A hidden view is skipped by all four,
    /// with everything below it; opacity makes no difference to any.
    /// 1. Layout preparation: `prepareForLayoutSubviews`, where a layout is wanted.
    /// 2. Layout: `layoutSubviews`, where a layout is wanted; a superview's before its subviews',
    ///    so that a view may resize its subviews and have them laid out in the same visit.
    /// 3. Draw preparation, if the window has to be drawn: `prepareForDraw`.
    /// 4. Drawing, likewise: `draw`, then the subviews from back to front.
    ///
    /// Each visit reaches the stencil view before the subviews, but for drawing, where it is drawn
    /// into the stencil only.
    /// @{

    /// Wants `layoutSubviews` to be called in the next frame; a change of size does, too. A hidden
    /// view keeps the wish until it is shown.
    ///
    /// Thread: any; from another one than the main thread, frames hear of it when the main thread
    /// next turns its loop.
    void setNeedsLayout();

    /// Lays out the superviews that want it, from the root down, and then this view, now. A view
    /// whose `layoutSubviews` is running is left alone.
    void layoutSubviewsIfNeeded();

    /// The view whose `draw` is running; null at any other time.
    static std::shared_ptr<MVView> currentDrawingView();

    /// @}
    /// @name Stencil
    /// @{

    /// The view whose drawing limits where this view and everything below it may draw; null for no
    /// limit. It is placed in this view like a subview but drawn into the stencil only, unless it
    /// is on the list of subviews as well. While it is hidden there is no limit. Limits nest as
    /// deep as the window's surface has stencil bits; deeper ones are ignored.
    std::shared_ptr<MVView> stencilView() const;

    /// Sets the stencil view. One without a superview is placed in this view; one that is placed
    /// elsewhere stays there. Replacing a stencil view by another leaves the old one placed in this
    /// view; setting null removes it, unless it is a subview or placed elsewhere.
    ///
    /// @throws MVException `kInvalidArgument`, with nothing changed, if the view is a window, this
    ///         view, or one that this view is inside, be it as a subview or within a stencil view,
    ///         at any depth; so two views do not mask each other
    void setStencilView(std::shared_ptr<MVView> view);

    /// @}
    /// @name Input
    /// @{

    /// Whether this view and those below it can be hit, and can have the keyboard's focus; true by
    /// default.
    bool interactionEnabled() const { return interactionEnabled_; }
    void setInteractionEnabled(bool enabled);

    /// Whether the view wants to know of a pointer that hovers over it; false by default. A hover
    /// over a view that does not want it is not offered to the ancestors: it lands on a view behind
    /// that does, or on none.
    bool mouseHoverEnabled() const { return mouseHoverEnabled_; }
    void setMouseHoverEnabled(bool enabled) { mouseHoverEnabled_ = enabled; }

    /// The shape of the pointer over this view and those in it that name none; `Inherit` by
    /// default, which leaves it to the superview, and at the root to the desktop. The frontmost
    /// view that a press would land on decides, whether or not it wants hovers; while a button is
    /// held, the one that was pressed.
    MVCursor cursor() const;
    /// Changes the shape, at once where the pointer is over the view.
    void setCursor(MVCursor cursor);

    /// The plane that pointers are met on, in this view's content space; z = 0 by default.
    Mivora::Plane interactionPlane() const;
    /// Changes the plane. An equal one does nothing; no redraw is asked for.
    void setInteractionPlane(const Mivora::Plane& plane);

    /// The interaction plane in the window's world space.
    Mivora::Plane worldInteractionPlane();

    /// The deepest view, frontmost first, that an interaction lands on; null for none.
    ///
    /// A view that is hidden, disabled or not hit keeps the interaction from everything below it,
    /// also from what reaches beyond its own box. Stencils make no difference. A hover lands on a
    /// view that wants hovers only, see `mouseHoverEnabled`.
    ///
    /// Depth: takes some hundred bytes of stack for each level that is hit.
    ///
    /// @param interaction  null yields null
    std::shared_ptr<MVView> viewForInteraction(const std::shared_ptr<MVInteraction>& interaction);

    /// Whether the interaction's location lies in the box of the content: from `localOrigin3`,
    /// `size3` wide, high and deep, with all its faces. A view without depth is hit in its plane
    /// z = `localOrigin3().z` only. False for null.
    bool hitTest(const std::shared_ptr<MVInteraction>& interaction);

    /// The recognizers of touches on this view and those below it, in the order of attachment;
    /// never null. What is returned stays as it is.
    std::shared_ptr<const MVGestureRecognizerArray> gestureRecognizers() const;

    /// Attaches a recognizer behind the others, taking it from the view that it is attached to. One
    /// that is attached to this view moves to the end.
    /// @throws MVException `kInvalidArgument` if it is null, `kInternalInconsistency` from within
    ///         this view's constructor
    void addGestureRecognizer(std::shared_ptr<MVGestureRecognizer> recognizer);

    /// Detaches a recognizer. Its view becomes null even if that was another one; null is ignored.
    void removeGestureRecognizer(const std::shared_ptr<MVGestureRecognizer>& recognizer);

    /// Detaches all recognizers, in order.
    void removeAllGestureRecognizers();

    /// @}
    /// @name Input hooks
    /// Those of touches, of buttons and of scrolling pass on to the superview what they get, until
    /// somebody overrides them or the root is reached; those of hovers do nothing.
    /// @{

    /// Touches that this view tracks.
    virtual void touchesBegan(const MVTouchSet& touches);
    virtual void touchesMoved(const MVTouchSet& touches);
    virtual void touchesEnded(const MVTouchSet& touches);
    virtual void touchesCancelled(const MVTouchSet& touches);

    /// A button that was pressed over this view: the primary one, the secondary or the middle one,
    /// as `MVMouse::button` says.
    virtual void mouseBegan(const std::shared_ptr<MVMouse>& mouse);
    virtual void mouseMoved(const std::shared_ptr<MVMouse>& mouse);
    virtual void mouseEnded(const std::shared_ptr<MVMouse>& mouse);

    /// A pointer that hovers over this view; see `mouseHoverEnabled`.
    virtual void mouseHoverBegan(const std::shared_ptr<MVMouse>& mouse);
    virtual void mouseHoverMoved(const std::shared_ptr<MVMouse>& mouse);
    virtual void mouseHoverEnded(const std::shared_ptr<MVMouse>& mouse);

    /// Scrolling that began over this view. A click of a wheel is a `scrollBegan`, which has the
    /// way, and a `scrollEnded`, which has none, with no `scrollMoved` between them: a view that
    /// scrolls adds up the translations of all its hooks. Every press of a button sends a
    /// `scrollBegan` and a `scrollCancelled`, both without a way, to a view that is not being
    /// scrolled, so that it stops what goes on moving by itself.
    virtual void scrollBegan(const std::shared_ptr<MVScroll>& scroll);
    virtual void scrollMoved(const std::shared_ptr<MVScroll>& scroll);
    virtual void scrollEnded(const std::shared_ptr<MVScroll>& scroll);
    virtual void scrollCancelled(const std::shared_ptr<MVScroll>& scroll);

    /// A key that is pressed, or repeats, while this view has the focus or passes on from one that
    /// has; see `MVKeyDispatcher`.
    /// @return whether the view had a use for it. Otherwise the superview is asked, and at the end
    ///         the toolkit: so Tab, Escape and the window's shortcuts go on working
    virtual bool keyBegan(const std::shared_ptr<MVKey>& key);
    /// The end of a key that this view took. What it answers makes no difference but to whoever
    /// passes on to it.
    virtual bool keyEnded(const std::shared_ptr<MVKey>& key);

    /// The keyboard's focus has come to this view.
    virtual void focusBegan();
    /// It has left. Comes once for every `focusBegan`, unless the window goes before.
    virtual void focusEnded();

    /// @}
    /// @name Focus
    /// One view of a window has the keyboard's focus, or none; see `MVWindow::focusedView`. Those
    /// below a filter view take part, their ring in the picture with them.
    /// @{

    /// Whether the view can have the focus; false by default. It can while it is in a window and
    /// neither it nor a view that it is in is hidden or without `interactionEnabled`.
    bool focusable() const;
    void setFocusable(bool focusable);

    /// Moves the focus here and calls the hooks; see `MVWindow::setFocusedView`.
    /// @return whether the view has the focus then
    bool focus();
    /// Takes the focus off this view, if it has it: no view has it then.
    void blur();
    /// Whether this view has the focus.
    bool isFocused() const;

    /// Where the Tab key, and a screen reader, come to this view and those in it among the other
    /// subviews of its superview: smaller numbers first, equal ones in the order of the subviews.
    /// 0 by default.
    std::int32_t focusOrder() const;
    void setFocusOrder(std::int32_t focusOrder);

    /// Whether a press of the primary button or a finger on this view, or on one in it that does
    /// not want this itself, moves the focus here; false by default. The focus moves before the
    /// hooks of the press are called. Other presses leave it where it is.
    bool focusesOnPress() const;
    void setFocusesOnPress(bool focusesOnPress);

    /// Whether a ring is drawn along the inside of the view, in its plane and over its subviews,
    /// while it has the focus and the keyboard is what was used last; true by default. A view that
    /// shows in its own way that it has the focus switches it off.
    bool showsFocusRing() const;
    void setShowsFocusRing(bool showsFocusRing);

    /// @}
    /// @name Accessibility
    /// What assistive technology shows of the view, as an element in those of the views that it is
    /// in. A view is one that is given any of these or is focusable; a text view with a text; and a
    /// bridge view. Hidden views are none, nor is anything in them.
    ///
    /// A button, a check box, a heading, a link, a list item, a picture, a progress bar, a radio
    /// button, a slider and a switch speak for the text views in them that are given nothing of
    /// their own: these are left out, and are the label where there is none.
    ///
    /// Changes are told in the next frame. Texts are UTF-8, for people, and empty by default.
    /// @{

    /// What the view is. `None` by default: then a text view is a label, an image view with a label
    /// a picture, one with actions a button, and any other element a group.
    Mivora::platform::Role accessibilityRole() const;
    void setAccessibilityRole(Mivora::platform::Role role);

    /// What it is called. A text view that is given none is called what it says.
    std::string accessibilityLabel() const;
    void setAccessibilityLabel(const std::string& label);

    /// More about it.
    std::string accessibilityDescription() const;
    void setAccessibilityDescription(const std::string& description);

    /// What it says at present, where that changes: "3 of 5".
    std::string accessibilityValue() const;
    void setAccessibilityValue(const std::string& value);

    /// What can be done with it. The functions are called on the main thread, with the view held.
    MVAccessibilityActionArray accessibilityActions() const;
    void setAccessibilityActions(MVAccessibilityActionArray actions);

    /// @}
    /// @name Debugging
    /// @{

    /// A name for logs and descriptions; empty by default.
    std::string debugName() const;
    /// Names the view; an empty name takes the name away.
    void setDebugName(const std::string& name);

    /// The view and everything below it as text, for people: one line a view, indented by depth,
    /// with class, debug name, what differs from a new view, and which values wait to be rebuilt.
    /// Reads what is there and rebuilds nothing.
    std::string describe() const;

    /// @}

 protected:
    MVView();

    /// @name Hooks
    /// All empty here.
    /// @{

    /// A layout is about to happen; nothing of the tree has been laid out in this frame.
    virtual void prepareForLayoutSubviews();
    /// Places the subviews. They are laid out after this, in the same frame.
    virtual void layoutSubviews();
    /// The tree is about to be drawn; nothing of it has been drawn in this frame.
    virtual void prepareForDraw();
    /// Queues the GL work that draws this view, below its subviews. A redraw asked for from here,
    /// by a change of any view, is lost; see `setNeedsDraw`.
    virtual void draw();

    /// @}

    // Here ends what a client needs. The rest is the library's own: operations that begin with
    // `mv_`, which its classes call on each other's views, and what a view consists of.
    // `docs/views.md` says which source holds what.

 public:
    /// @name Internal to the library
    /// @{

    /// The window whose tree this view is in, or null. An override answers for the views below it:
    /// they join that window, while this view's own redraw requests go on to the one it was given.
    virtual std::shared_ptr<MVWindow> mv_window() const;

    /// Makes `superview` the superview, in this order:
    /// 1. The current superview takes this view off its list.
    /// 2. The new superview is stored.
    /// 3. This view and those below it are given the window of the new superview, or none.
    /// 4. World transform, effective hidden state and effective opacity are marked.
    /// 5. The content scale factor of the new superview is taken over, by this view and those below
    ///    that have none of their own. When there is none it becomes 0 in all of them.
    ///
    /// The caller puts this view on the new superview's list. Where a hook run by step 3 gives this
    /// view yet another superview, that move stands, and the rest of this one is left out.
    ///
    /// @param superview  null to leave the current one; an equal one does nothing
    virtual void mv_setSuperview(MVView* superview);

    /// Takes a view off the list of subviews, if it is there, and asks for a redraw.
    void mv_removeSubviewFromHierarchy(const MVView* view);

    /// `mv_setWindowUpdateSubviews` including the subviews.
    void mv_setWindow(MVWindow* window);

    /// Stores the window between `mv_windowWillChange` and `mv_windowDidChange`, then tells those
    /// below. An equal window does nothing, nor is it passed on.
    ///
    /// @param window          null for none
    /// @param updateSubviews  whether the views below are given the window, too
    virtual void mv_setWindowUpdateSubviews(MVWindow* window, bool updateSubviews);

    /// Asks the window this view was given, if any, for a redraw.
    virtual void mv_setDrawDirty();

    /// The local transform, rebuilt if need be: T(position) · Rx · Ry · Rz · S(scale) ·
    /// T(-anchor ⊙ size), without the coordinate system and the local origin.
    glm::mat4 mv_localTransformMatrix();

    /// Marks the local transform of this view, and the world transforms that depend on it.
    void mv_setLocalTransformMatrixDirty();

    /// Marks the world transforms of this view and everything below it, and asks for a redraw.
    void mv_setTransformMatrixDirty();

    /// Rebuilds the local transform if it is marked.
    void mv_buildLocalTransformMatrix();

    /// Rebuilds the world transform if it is marked: after `mv_transformMatrixWillBuild`, with the
    /// ancestors' first, and followed by `mv_transformMatrixDidBuild`. The inverse follows when it
    /// is next asked for.
    void mv_buildTransformMatrix();

    /// As `transformMatrix`, for a view of a class without hooks.
    /// @param superview   the superview, with nothing left to build
    /// @param worldAbove  its `transformMatrix`
    const glm::mat4& mv_transformMatrixBelow(const MVView& superview, const glm::mat4& worldAbove) {
        if (transformMatrixDirty_) {
            computeTransformMatrix(&superview, worldAbove);
        }
        return transformMatrix_;
    }

    /// Where a ray meets the interaction plane, in this view's content space and with every
    /// component rounded to this view's pixels, halves away from zero.
    ///
    /// Rounding z, too, turns the noise of the arithmetic into the exact 0 of a flat view's plane.
    ///
    /// @param ray  in the window's world space. One along the plane yields infinity or NaN, and so
    ///             does any ray for a view whose content scale factor is 0
    Mivora::Point3 mv_locationOfRay(const Mivora::Ray3& ray);

    /// Marks the hidden state of this view and everything below it, and asks for a redraw.
    void mv_setEffectivelyHiddenDirty();

    /// Rebuilds the world form of the interaction plane if it is marked, which a change of the
    /// plane and all that marks the world transform do.
    void mv_buildWorldInteractionPlane();

    /// Rebuilds the effective hidden state if it is marked, then calls
    /// `mv_effectivelyHiddenDidBuild`. The ancestors' are rebuilt first unless this view is hidden.
    void mv_buildEffectivelyHidden();

    /// Marks the opacity of this view and everything below it, and asks for a redraw.
    void mv_setEffectiveOpacityDirty();

    /// Rebuilds the effective opacity if it is marked, with the ancestors' first.
    void mv_buildEffectiveOpacity();

    /// Stores the wish for a layout. Thread: any.
    void mv_setLayoutDirty();
    /// Whether there is such a wish. Thread: any.
    bool mv_isLayoutDirty() const { return layoutDirty_.load(std::memory_order_acquire); }

    /// See `layoutSubviewsIfNeeded`.
    void mv_layoutSubviewsIfNeeded();

    /// The four visits; see @ref frame-visits. Those of layout leave out subtrees in which nobody
    /// wants one. Depth: each takes some hundred bytes of stack for each level.
    void mv_prepareForLayoutVisit();
    void mv_layoutVisit();
    virtual void mv_prepareForDrawVisit();
    virtual void mv_drawVisit();

    /// Records what `draw` would draw as a part of the superview's drawing visit, where that is
    /// nothing but a quad.
    /// @return whether it did, so that `draw` is not called; never in a client's class
    virtual bool mv_recordQuad(MVQuadVisit& visit);

    /// Names the view that `currentDrawingView` answers and shaders take their matrices from.
    static void mv_setCurrentDrawingView(MVView* view);

    /// Draws the stencil view into a stencil level of its own and limits further drawing to it and
    /// to the enclosing levels.
    /// @return whether a level was taken, which `cleanupStencil` gives back: not without a visible
    ///         stencil view, a surface, an active render context and a level that is left
    bool applyStencil();
    /// Gives back the level that `applyStencil` took: the stencil test is as it was before, also
    /// where the view has left its window since. Nothing happens without such a level.
    void cleanupStencil();

    /// Draws the ring of the focus where it belongs: the last step of a drawing visit.
    void mv_drawFocusRing() {
        if (drawsFocusRing_) {
            drawFocusRing();
        }
    }

    /// Whether the focus can come here, if nothing is hidden on the way: to a focusable view, and
    /// to a native one.
    bool mv_takesFocus() const;
    /// Whether anything that the program said makes the view an element.
    bool mv_isGivenElement() const;
    /// What the view is to assistive technology by itself; nothing here.
    virtual MVOwnElement mv_ownElement() const;
    /// What tells the element from all others of the process; made for the first call.
    std::uint64_t mv_elementIdentifier();
    /// What makes this view an element, or what it says, has changed.
    void mv_elementDidChange();

    /// Whether any view has a `cursor`. Thread: main.
    static bool mv_anyCursors();

    /// What the dispatch of touches sends to views and recognizers alike; a view calls its hook.
    void mv_touchesBegan(const MVTouchSet& touches) { touchesBegan(touches); }
    void mv_touchesMoved(const MVTouchSet& touches) { touchesMoved(touches); }
    void mv_touchesEnded(const MVTouchSet& touches) { touchesEnded(touches); }
    void mv_touchesCancelled(const MVTouchSet& touches) { touchesCancelled(touches); }

    /// @}

 protected:
    /// @name Hooks, internal to the library
    /// All empty here. They may change the tree and the placement of views, but one that is
    /// called around the rebuilding of a value must not read that value of its own view before it
    /// is built.
    /// @{

    /// The window is about to change; `mv_window` still answers the current one.
    virtual void mv_windowWillChange();
    /// The window has changed; the views below have not been told yet.
    virtual void mv_windowDidChange();
    /// The world transform is about to be rebuilt; those above have not been yet.
    virtual void mv_transformMatrixWillBuild();
    /// The world transform has been rebuilt.
    virtual void mv_transformMatrixDidBuild();
    /// The effective hidden state has been rebuilt; it may be the same as before.
    virtual void mv_effectivelyHiddenDidBuild();

    /// @}

 private:
    friend struct MVMaker;
    friend struct MVViewTree;
    friend class MVQuadVisit;
    friend class MVWindow;

    const MVViewBackPointer& backPointer();
    MVView* superviewPointer() const { return superview_.get(); }
    MVView* windowPointer() const { return window_.get(); }

    void checkCanBecomeSubview(const MVView* view, const char* operation) const;
    bool isInside(const MVView* view) const;
    bool hasSubview(const MVView* view) const;
    const std::shared_ptr<MVViewArray>& subviewArray() const;
    MVViewArray& subviewsToChange();
    void storeStencilView(std::shared_ptr<MVView> view);
    void inheritContentScaleFactor(const MVView* superview);
    void giveWindowOfSuperview();
    std::shared_ptr<MVWindow> windowOfSubviews() const;
    void computeTransformMatrix(const MVView* superview, const glm::mat4& worldAbove);
    const glm::mat4& inverseMatrix();
    glm::mat4 placement();
    void layOutIfWanted();
    void wantLayoutVisit();
    void tellWindowOfLayoutVisit(bool wanted);
    bool childWantsLayoutVisit() const;
    void forgetCurrentDrawing();
    void drawFocusRing();
    void noteElement();

    /// Whether the interaction is this view's or one's below it, rather than of what is behind.
    /// @param self   this view
    /// @param found  set to the view that the interaction lands on; stays null for a hover that
    ///               nobody here wants
    bool findViewForInteraction(const std::shared_ptr<MVView>& self,
                                const MVInteraction& interaction, std::shared_ptr<MVView>& found);
    void fetchForHitTest() const;
    bool contentBoxContains(Mivora::Point3 point) const;
    MVGestureRecognizerArray& gestureRecognizersToChange();
    void dropGestureRecognizer(const std::shared_ptr<MVGestureRecognizer>& recognizer);

    MVShaderMatrices mv_shaderMatrices() override;
    void mv_readQuadMatrices(glm::mat4& projection, glm::mat4& transform) override;

    struct RareState;
    struct ElementState;
    const ElementState& elementState() const;
    ElementState& elementStateToChange();
    template <class Value>
    void changeElement(Value ElementState::*member, const Value& value);
    const RareState& rareState() const;
    RareState& rareStateToChange();

    // What every visit of every frame reads stands together.
    mutable std::shared_ptr<MVViewArray> subviews_;  ///< Null while empty; see `subviewArray`.
    std::unique_ptr<RareState> rare_;                ///< Null until needed; see `rareState`.
    bool hidden_ = false;
    std::atomic<bool> layoutDirty_{false};

    bool localTransformMatrixDirty_ = false;
    bool turnOrScaleDirty_ = false;  ///< Of the local transform, more than the position.
    bool transformMatrixDirty_ = false;
    bool inverseTransformMatrixDirty_ = false;  ///< The world transform was rebuilt since.
    bool effectivelyHiddenDirty_ = false;
    bool effectiveOpacityDirty_ = false;
    bool worldInteractionPlaneDirty_ = true;
    bool interactionEnabled_ = true;
    bool mouseHoverEnabled_ = false;
    bool effectivelyHidden_ = false;
    bool layoutVisitWanted_ = false;      ///< This view or one below it may want a layout.
    bool drawsFocusRing_ = false;
    bool mayHoldElements_ = false;                ///< This view or one below it may be an element.
    bool layingOut_ : 1 = false;              ///< `layoutSubviews` is running.
    bool contentScaleFactorSet_ : 1 = false;  ///< By a client, rather than taken over.
    bool localTransformIsFinite_ : 1 = true;  ///< Its corner is 1; else it is NaN.
    mutable std::uint32_t removedFromFront_ = 0;  ///< Empty places at the front of `subviews_`.

    // And so does, with the flags, what hit testing reads of every view.
    float contentScaleFactor_;
    Mivora::Point3 localOrigin_ = Mivora::Point3::kZero;
    Mivora::Size3 size_ = Mivora::Size3::kZero;
    Mivora::Plane worldInteractionPlane_{{0.0F, 0.0F, 1.0F}, 0.0F};
    // From here on at multiples of 16 bytes, so that reading a column never meets two cache lines.
    glm::mat4 inverseTransformMatrix_{1.0F};
    glm::mat4 transformMatrix_{1.0F};
    glm::mat3x4 localTransformRows_{1.0F};  ///< The upper ones, see `placement`.

    MVViewBackPointer superview_;
    MVViewBackPointer window_;
    MVViewBackPointer backPointer_;  ///< To this view; null until somebody needs it.

    std::int32_t coordinateSystem_ = 0;
    float opacity_ = 1.0F;
    float effectiveOpacity_ = 1.0F;

    Mivora::Point3 position_ = Mivora::Point3::kZero;
    Mivora::Point3 rotation_ = Mivora::Point3::kZero;
    float scale_ = 1.0F;
    Mivora::Point3 anchorPoint_ = Mivora::Point3::kZero;
};
