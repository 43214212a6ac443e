#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/input/MVOrderedSet.h"
#include "MivoraMac/input/MVTargetActionPair.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVGestureRecognizer;
class MVGestureRecognizerDelegate;
class MVView;

/// How far a gesture has come.
enum MVGestureRecognizerState : std::int32_t {
    MVGestureRecognizerStatePossible = 0,   ///< nothing recognized yet
    MVGestureRecognizerStateBegan = 1,      ///< recognized just now
    MVGestureRecognizerStateChanged = 2,    ///< recognized, and something about it changed
    MVGestureRecognizerStateEnded = 3,      ///< over as it should be
    MVGestureRecognizerStateCancelled = 4,  ///< taken away after it was recognized
    MVGestureRecognizerStateFailed = 5,     ///< given up before it was recognized
};

/// Watches the touches on a view, and on those below it, for a gesture, and tells its targets.
///
/// This is the base. A subclass overrides the hooks `touchesBegan` to `touchesCancelled`, follows
/// the touches it is given and calls `setState` with what it makes of them; the base decides which
/// steps are legal:
///
/// | from \ proposed | Possible | Began   | Changed | Ended | Cancelled | Failed    |
/// |-----------------|----------|---------|---------|-------|-----------|-----------|
/// | Possible        | Possible | Began   | Began   | Ended | Failed    | Failed    |
/// | Began           | Began    | Began   | Changed | Ended | Cancelled | Cancelled |
/// | Changed         | Changed  | Changed | Changed | Ended | Cancelled | Cancelled |
///
/// Ended, Cancelled and Failed stay what they are. Each leads back to Possible in one of the next
/// turns of the main loop, after `reset`.
///
/// Targets are told once for a delivery of touches, after all recognizers have seen it: of Began,
/// of every Changed, of Ended and of Cancelled. Of Possible and Failed nobody is told.
///
///     class Board {
///      public:
///         void dragged(const std::shared_ptr<MVPanGestureRecognizer>& pan);
///     };
///     view->addGestureRecognizer(
///         MVPanGestureRecognizer::initWithTargetAction(board, &Board::dragged));
///
/// Recognizers compete: the first to recognize makes the others of its touches fail and takes the
/// touches from the views, unless the delegate of one of the two lets both go on.
///
/// Instances of a client's subclass are made by `MVMake<Subclass>(…)`. What a hook, a target or a
/// delegate throws goes through to whoever delivers the touches, once all others have been told.
///
/// Thread: main.
class MIVORA_EXPORT MVGestureRecognizer : public std::enable_shared_from_this<MVGestureRecognizer> {
 public:
    /// The action of a target: it receives the recognizer, as `MVGestureRecognizer` or as what the
    /// recognizer is.
    template <class Target, class Sender>
    using Action = void (Target::*)(const std::shared_ptr<Sender>&);

    /// A recognizer that recognizes nothing, without targets.
    static std::shared_ptr<MVGestureRecognizer> init();

    /// As `init`, with a first target; see `addTargetAction`.
    template <class Object, class Target, class Sender>
    static std::shared_ptr<MVGestureRecognizer> initWithTargetAction(
        const std::shared_ptr<Object>& target, Action<Target, Sender> action) {
        auto recognizer = init();
        recognizer->addTargetAction(target, action);
        return recognizer;
    }

    virtual ~MVGestureRecognizer();
    MVGestureRecognizer(const MVGestureRecognizer&) = delete;
    MVGestureRecognizer& operator=(const MVGestureRecognizer&) = delete;

    /// @name Targets
    /// Held weakly, told in the order in which they were added. A target may do anything while it
    /// is told, also to the recognizer.
    /// @{

    /// Adds a target. Null, and a target that has the same action already, are ignored.
    /// @param action  a member function of the target's class that takes a
    ///                `const std::shared_ptr<MVGestureRecognizer>&`, or the same of the class that
    ///                this recognizer is
    /// @throws MVException `kInvalidArgument` if this is not the class that the action takes
    template <class Object, class Target, class Sender>
    void addTargetAction(const std::shared_ptr<Object>& target, Action<Target, Sender> action) {
        static_assert(std::is_base_of_v<MVGestureRecognizer, Sender>);
        bool takesThis = true;
        if constexpr (!std::is_same_v<MVGestureRecognizer, Sender>) {
            takesThis = dynamic_cast<const Sender*>(this) != nullptr;
        }
        if (target) {
            mv_addTargetAction({target, action}, takesThis);
        }
    }

    /// Takes an action from a target.
    /// @param target  as it was added, or as a pointer to another class of the same object; null
    ///                stands for every target
    template <class Object, class Target, class Sender>
    void removeTargetAction(const std::shared_ptr<Object>& target, Action<Target, Sender> action) {
        mv_removeTargetAction(MVAction::receiver(target, action), action);
    }
    /// Takes an action from every target.
    template <class Target, class Sender>
    void removeTargetAction(std::nullptr_t, Action<Target, Sender> action) {
        mv_removeTargetAction(nullptr, action);
    }
    /// Takes every action from a target, and from those that share its ownership; null stands for
    /// every target.
    void removeTargetAction(const std::shared_ptr<void>& target, std::nullptr_t);

    /// @}

    /// The view that it is attached to, or null. Held weakly; `MVView::addGestureRecognizer` sets
    /// it.
    std::shared_ptr<MVView> view() const { return view_.lock(); }
    void setView(const std::shared_ptr<MVView>& view);

    /// The touches that it is bound to. One that was bound and then could no longer be found from
    /// its touch, as after it was detached, keeps the touch even when that has ended.
    const MVTouchSet& touches() const { return touches_; }

    /// Whether it is given touches. True at first.
    bool enabled() const { return enabled_; }
    /// Disabling cancels what is under way, of which targets are told at once. An equal value does
    /// nothing.
    void setEnabled(bool enabled);

    /// Who advises it when it competes, or null. Held weakly.
    std::shared_ptr<MVGestureRecognizerDelegate> delegate() const { return delegate_.lock(); }
    void setDelegate(const std::shared_ptr<MVGestureRecognizerDelegate>& delegate) {
        delegate_ = delegate;
    }

    /// How far the gesture has come. Possible at first.
    MVGestureRecognizerState state() const { return state_; }

    /// The middle of the touches it is bound to, in a view. NaN in every component where there is
    /// none.
    virtual Mivora::Point3 locationInView(const std::shared_ptr<MVView>& view) const;

    /// @name Hooks
    /// Touches arrive here only while the recognizer is enabled. All empty here.
    /// @{

    /// What has happened to touches; the views hear of it later. Some of the touches may be bound
    /// to other recognizers only.
    virtual void touchesBegan(const MVTouchSet& touches);
    virtual void touchesMoved(const MVTouchSet& touches);
    virtual void touchesEnded(const MVTouchSet& touches);
    virtual void touchesCancelled(const MVTouchSet& touches);

    /// The recognizer is about to be Possible again: forgets what it followed.
    virtual void reset();

    /// @}
    /// @name Internal to the library
    /// @{

    /// What the dispatch of touches sends to views and recognizers alike.
    void mv_touchesBegan(const MVTouchSet& touches);
    void mv_touchesMoved(const MVTouchSet& touches);
    void mv_touchesEnded(const MVTouchSet& touches);
    void mv_touchesCancelled(const MVTouchSet& touches);

    /// `touches`, to be changed: how the dispatch of touches binds them.
    MVTouchSet& mv_touches() { return touches_; }

    /// Whether the state is Possible.
    bool mv_canRecognize() const { return state_ == MVGestureRecognizerStatePossible; }
    /// Whether it is Began, Changed or Ended.
    bool mv_didRecognize() const;
    /// Whether it is Ended, Cancelled or Failed.
    bool mv_didFinishGesture() const;

    /// What a proposed state comes to; see the table. From a state outside the table, itself.
    MVGestureRecognizerState mv_validStateForProposedState(MVGestureRecognizerState state) const;

    /// Makes it Failed whatever it was, and has it reset. Targets are not told, nor of what they
    /// have not been told yet.
    void mv_setStateToFailed();

    /// Has it reset in one of the next turns of the main loop, never at once and never during a
    /// delivery, even if that runs the loop. Calls add up.
    void mv_resetToStatePossibleOnNextLoop();
    /// Resets it now. Tells nobody.
    void mv_resetStateToPossible();

    /// A delivery of touches that it takes part in, or the telling of its targets, begins or ends.
    /// They nest.
    void mv_deliveryBegan() { ++deliveries_; }
    void mv_deliveryEnded();

    /// What the delegate says; false without one.
    bool mv_shouldRecognizeWithGestureRecognizer(const std::shared_ptr<MVGestureRecognizer>& other);

    /// Tells the targets, if there is something to tell since the last time. One that is removed
    /// meanwhile is not told any more, one that is added is told the next time. Where one of them
    /// makes something happen that all are told of, the others do not hear of it twice.
    void mv_dispatchStateChangesIfNecessary();

    /// @}

 protected:
    friend struct ::MVMaker;

    MVGestureRecognizer();

    /// Proposes a state: the way in which subclasses say what they see.
    void setState(MVGestureRecognizerState state);

    /// Warns in the log if there is no view.
    void validate() const;

 private:
    void mv_addTargetAction(const MVTargetActionPair& pair, bool takesThis);
    void mv_removeTargetAction(const std::shared_ptr<void>& receiver, const MVAction& action);
    void changeState(MVGestureRecognizerState state);

    /// How a reset that is to come knows this recognizer: a cell with its address, cleared when it
    /// goes. Unlike a weak pointer it works from within a constructor. Null until needed.
    std::shared_ptr<MVGestureRecognizer*> backPointer_;

    std::weak_ptr<MVView> view_;
    MVTouchSet touches_;
    bool shouldDispatchStateChange_ = false;
    unsigned dispatchRound_ = 0;  ///< Of telling targets. One that is overtaken ends.
    unsigned deliveries_ = 0;     ///< That are under way.
    bool isResetPutOff_ = false;  ///< Until they are over.
    std::vector<std::shared_ptr<MVTargetActionPair>> targetActionPairs_;
    bool enabled_ = true;
    MVGestureRecognizerState state_ = MVGestureRecognizerStatePossible;
    std::weak_ptr<MVGestureRecognizerDelegate> delegate_;
};
