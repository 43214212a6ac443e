// Sends whatever the bytes say through the native view to the tree: events of the pointer and of
// the keyboard, moves of the focus, and touches of another source, changes of the tree and of
// recognizers between them, and any of all that again from within the hooks.
//
// The bytes are read from both ends: from the front what happens, from the back what hooks, targets
// and delegates do when they are called. Once the two meet, nothing happens any more.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/input/MVFingerDispatcher.h"
#include "MivoraMac/input/MVGestureRecognizerDelegate.h"
#include "MivoraMac/input/MVKey.h"
#include "MivoraMac/input/MVKeyDispatcher.h"
#include "MivoraMac/input/MVLongPressGestureRecognizer.h"
#include "MivoraMac/input/MVMouse.h"
#include "MivoraMac/input/MVMouseToTouchDispatcher.h"
#include "MivoraMac/input/MVPanGestureRecognizer.h"
#include "MivoraMac/input/MVPinchGestureRecognizer.h"
#include "MivoraMac/input/MVRotationGestureRecognizer.h"
#include "MivoraMac/input/MVScroll.h"
#include "MivoraMac/input/MVTapGestureRecognizer.h"
#include "MivoraMac/input/MVTouch.h"
#include "MivoraMac/input/MVTouchDispatch.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/headless/HeadlessFingers.h"
#include "MivoraMac/platform/headless/HeadlessKeyboard.h"
#include "MivoraMac/platform/headless/HeadlessPointer.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/windows/KeySymbol.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::Point2;
using Mivora::Point3;
using Mivora::platform::Event;
using Mivora::platform::HeadlessFingers;
using Mivora::platform::HeadlessKeyboard;
using Mivora::platform::HeadlessPointer;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::KeySymbol;
using Mivora::platform::MainThread;

namespace {

/// How many of each kind there are at most.
constexpr std::size_t kMaximumCount = 12;
/// How deep hooks may cause hooks.
constexpr int kMaximumDepth = 4;

/// Ends the program, as a failure that is kept.
void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

/// What a hook throws, to be caught where the events come from.
struct Thrown : std::runtime_error {
    Thrown() : std::runtime_error("a hook throws") {}
};

class World;

/// The world that hooks act on; null while it goes.
World* world = nullptr;

/// Does in a hook what the bytes say. May throw.
void react();

/// Whether a delegate allows what it is asked.
bool consent();

/// A view that checks the order of what it is sent.
class EventView : public MVView {
 public:
    void touchesBegan(const MVTouchSet& touches) override { take(touches); }
    void touchesMoved(const MVTouchSet& touches) override { take(touches); }
    void touchesEnded(const MVTouchSet& touches) override { take(touches); }
    void touchesCancelled(const MVTouchSet& touches) override { take(touches); }
    void mouseBegan(const std::shared_ptr<MVMouse>& mouse) override;
    void mouseMoved(const std::shared_ptr<MVMouse>& mouse) override;
    void mouseEnded(const std::shared_ptr<MVMouse>& mouse) override;
    void mouseHoverBegan(const std::shared_ptr<MVMouse>& mouse) override { take(*mouse); }
    void mouseHoverMoved(const std::shared_ptr<MVMouse>& mouse) override { take(*mouse); }
    void mouseHoverEnded(const std::shared_ptr<MVMouse>& mouse) override { take(*mouse); }
    void scrollBegan(const std::shared_ptr<MVScroll>& scroll) override { take(*scroll); }
    void scrollMoved(const std::shared_ptr<MVScroll>& scroll) override { take(*scroll); }
    void scrollEnded(const std::shared_ptr<MVScroll>& scroll) override { take(*scroll); }
    void scrollCancelled(const std::shared_ptr<MVScroll>& scroll) override { take(*scroll); }
    bool keyBegan(const std::shared_ptr<MVKey>& key) override;
    bool keyEnded(const std::shared_ptr<MVKey>& key) override;
    void focusBegan() override;
    void focusEnded() override;

 private:
    int focuses_ = 0;

    void take(const MVTouchSet& touches) {
        require(!touches.empty());
        for (const auto& touch : touches) {
            touch->locationInView(shared_from_this());
        }
        react();
    }
    void take(const MVInteraction& interaction) {
        interaction.locationInView(shared_from_this());
        react();
    }
};

/// A recognizer that proposes whatever the bytes say.
class EventRecognizer : public MVGestureRecognizer {
 public:
    void touchesBegan(const MVTouchSet& touches) override { take(touches); }
    void touchesMoved(const MVTouchSet& touches) override { take(touches); }
    void touchesEnded(const MVTouchSet& touches) override { take(touches); }
    void touchesCancelled(const MVTouchSet& touches) override { take(touches); }
    void reset() override { react(); }

 private:
    void take(const MVTouchSet& touches);
};

/// A touch of a source of its own.
class Finger : public MVTouch {
 public:
    Finger() : MVTouch(nullptr) {}

    void moveTo(MVWindow& window, Point2 point) {
        const Mivora::Ray3 ray = window.mv_unprojectScreenPointViewport(point, {0, 0, 400, 300});
        setPreviousRay(std::exchange(isPlaced_, true) ? this->ray() : ray);
        setRay(ray);
        previousScreenPoint_ = std::exchange(screenPoint_, point);
    }
    Point2 screenPoint() const override { return screenPoint_; }
    Point2 previousScreenPoint() const override { return previousScreenPoint_; }

 private:
    bool isPlaced_ = false;
    Point2 screenPoint_ = Point2::kZero;
    Point2 previousScreenPoint_ = Point2::kZero;
};

class Adviser : public MVGestureRecognizerDelegate {
 public:
    bool gestureRecognizerShouldRecognizeSimultaneouslyWithGestureRecognizer(
        const std::shared_ptr<MVGestureRecognizer>& recognizer,
        const std::shared_ptr<MVGestureRecognizer>& other) override {
        require(recognizer && other && recognizer != other);
        react();
        return consent();
    }
};

class Target {
 public:
    void told(const std::shared_ptr<MVGestureRecognizer>& recognizer) {
        require(recognizer->state() >= MVGestureRecognizerStateBegan &&
                recognizer->state() <= MVGestureRecognizerStateCancelled);
        if (const auto pan = std::dynamic_pointer_cast<MVPanGestureRecognizer>(recognizer)) {
            pan->translationInView(pan->view());
            pan->velocityInView(pan->view());
        }
        recognizer->locationInView(recognizer->view());
        react();
    }
};

class World {
 public:
    explicit World(std::span<const std::uint8_t> bytes) : bytes_(bytes) {
        window_->setContentScaleFactor(1.0F);
        window_->setSize({400.0F, 300.0F});
        renderView_ = MVApplicationRenderView::initWithApplicationAndWindow(nullptr, window_);
        frame_ = HeadlessWindow::create("", {0, 0, 400, 300});
        frame_->setContentView(renderView_);
        frame_->show();
        pointer_ = std::make_unique<HeadlessPointer>(renderView_);
        hostFingers_ = std::make_unique<HeadlessFingers>(renderView_);
        keyboard_ = std::make_unique<HeadlessKeyboard>(renderView_);
        renderView_->mouseToTouchDispatcher()->setMakesFingerTouches(bytes.size() % 2 != 0);
        world = this;
        addView();
    }

    ~World() { world = nullptr; }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    void live() {
        while (!bytes_.empty()) {
            guarded([this] { act(); });
            check();
        }
        guarded([this] { pointer_->release(); });
        guarded([this] { pointer_->releaseRight(); });
        guarded([this] { pointer_->releaseMiddle(); });
        // What raw events have pressed is not the pointer's to release.
        guarded([this] { deliver(Event::Type::MouseUp); });
        guarded([this] { deliver(Event::Type::RightMouseUp); });
        guarded([this] { deliver(Event::Type::MiddleMouseUp); });
        guarded([this] {
            if (renderView_) {
                renderView_->fingerDispatcher()->cancelAllTouches();
            }
        });
        guarded([this] {
            if (renderView_) {
                renderView_->keyDispatcher()->endAllKeys();
            }
        });
        require(!renderView_ || renderView_->keyDispatcher()->heldKeys() == 0);
        require(!renderView_ || !renderView_->mouseToTouchDispatcher()->mv_currentMouseTouch());
        require(!renderView_ || !renderView_->fingerDispatcher()->hasTouches());
        MVTouchSet fingers;
        for (const auto& finger : fingers_) {
            fingers.insert(finger);
        }
        guarded([&] { MVFinishTouches(fingers); });
        settle();
        check();
        for (const auto& [record, press] : presses_) {
            require(press.view.expired() || renderViewHasGone_);
        }
    }

    void reactToHook() {
        const std::uint8_t choice = takeBack();
        if (choice < 0xC0 || depth_ >= kMaximumDepth) {
            return;
        }
        if (choice == 0xFF) {
            throw Thrown();
        }
        ++depth_;
        try {
            act();
        } catch (...) {
            --depth_;
            throw;
        }
        --depth_;
    }

    std::uint8_t takeBack() {
        if (bytes_.empty()) {
            return 0;
        }
        const std::uint8_t byte = bytes_.back();
        bytes_ = bytes_.first(bytes_.size() - 1);
        return byte;
    }

    // Keys: a record ends once, and only if it has begun.

    void keyBegan(const std::shared_ptr<MVKey>& key) { require(!endedKeys_.contains(key)); }
    void keyEnded(const std::shared_ptr<MVKey>& key) { endedKeys_.insert(key); }

    // Presses: each record begins once, moves while it lasts, and ends once.

    void pressBegan(const std::shared_ptr<MVMouse>& mouse, const std::shared_ptr<MVView>& view) {
        require(mouse->button() == MVMouseButtonLeft || mouse->button() == MVMouseButtonRight ||
                mouse->button() == MVMouseButtonMiddle);
        require(presses_.try_emplace(mouse.get(), Press{mouse, view}).second);
    }
    void pressMoved(const std::shared_ptr<MVMouse>& mouse) {
        require(presses_.contains(mouse.get()));
    }
    void pressEnded(const std::shared_ptr<MVMouse>& mouse) {
        require(presses_.erase(mouse.get()) == 1);
    }

 private:
    using View = std::shared_ptr<EventView>;
    using Recognizer = std::shared_ptr<MVGestureRecognizer>;

    /// A record that has begun and not ended; it is kept, so that no other has its address.
    struct Press {
        std::shared_ptr<MVMouse> mouse;
        std::weak_ptr<MVView> view;
    };

    // Bytes

    std::uint8_t take() {
        if (bytes_.empty()) {
            return 0;
        }
        const std::uint8_t byte = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return byte;
    }
    bool takeFlag() { return take() % 2 != 0; }
    /// Mostly within the view.
    Point2 takePoint() {
        const float x = static_cast<float>(take()) * 1.75F - 20.0F;
        const float y = static_cast<float>(take()) * 1.3F - 15.0F;
        return {x, y};
    }
    float takeNumber() {
        constexpr float kOdd[] = {0.0F,
                                  -0.0F,
                                  std::numeric_limits<float>::quiet_NaN(),
                                  std::numeric_limits<float>::infinity(),
                                  -std::numeric_limits<float>::infinity(),
                                  std::numeric_limits<float>::max(),
                                  std::numeric_limits<float>::denorm_min(),
                                  1e-20F};
        const std::uint8_t byte = take();
        return byte < std::size(kOdd) ? kOdd[byte] : (static_cast<float>(byte) - 128.0F) / 16.0F;
    }
    template <class T>
    std::shared_ptr<T> takeOne(const std::vector<std::shared_ptr<T>>& from) {
        const std::uint8_t byte = take();
        return from.empty() ? nullptr : from[byte % from.size()];
    }

    // Running

    template <class Action>
    void guarded(Action action) {
        try {
            action();
        } catch (const Thrown&) {
        } catch (const MVException&) {
            // A view in itself, say.
        }
        depth_ = 0;
    }

    /// Runs what was left for later.
    void settle() {
        MainThread::runUntil([] { return false; }, 0);
    }

    void check() const {
        if (window_) {
            // Whoever has the focus can have it.
            const std::shared_ptr<MVView> focused = window_->focusedView();
            require(!focused || (focused->focusable() && focused->isFocused()));
        }
        for (const Recognizer& recognizer : recognizers_) {
            require(recognizer->state() >= MVGestureRecognizerStatePossible &&
                    recognizer->state() <= MVGestureRecognizerStateFailed);
        }
    }

    void act() {
        const std::uint8_t what = take();
        const bool isOther = what >= 0x80;  // what else there is of the kind
        switch (what % 32) {
            case 0:
            case 1:
            case 2:
            case 3:
            case 4: {
                const Point2 point = takePoint();
                return pointer_->moveTo(static_cast<double>(point.x), static_cast<double>(point.y));
            }
            case 5:
            case 6:
                return pointer_->press(take() % 4);
            case 7:
            case 8:
                return pointer_->release();
            case 9:
                return isOther ? pointer_->pressMiddle() : pointer_->pressRight();
            case 10:
                return isOther ? pointer_->releaseMiddle() : pointer_->releaseRight();
            case 11:
                return pointer_->leave();
            case 12:
                return pointer_->scrollLines(takeNumber(), takeNumber());
            case 13:
                return scroll();
            case 14:
                return deliverAnything();
            case 15:
                return isOther ? holdKeys() : useKeyboard();
            case 16:
                return addView();
            case 17:
                return moveViewInTree();
            case 18:
                return dropView();
            case 19:
                return switchView();
            case 20:
            case 21:
                return placeView();
            case 22:
                return addRecognizer();
            case 23:
                return moveRecognizer();
            case 24:
                return dropRecognizer();
            case 25:
                return switchRecognizer();
            case 26:
                return changeAdviser();
            case 27:
                return changeTarget();
            case 28:
                return isOther ? passTime() : depth_ == 0 ? settle() : void();
            case 29:
                return isOther ? landFingers() : beginFingers();
            case 30:
                return isOther ? slideFingers() : moveFingers();
            case 31:
                return isOther ? pinch() : takeFlag() ? endFingers() : changeWorld();
            default:
                return;
        }
    }

    // Events

    void holdKeys() {
        const std::uint8_t keys = take();
        const Mivora::platform::Modifiers modifiers = {(keys & 1) != 0, (keys & 2) != 0,
                                                       (keys & 4) != 0, (keys & 8) != 0};
        pointer_->setModifiers(modifiers);
        keyboard_->setModifiers(modifiers);
    }

    // Keyboard, focus and elements

    std::uint32_t takeKey() {
        constexpr std::uint32_t kKeys[] = {KeySymbol::Tab,  KeySymbol::BackTab,   KeySymbol::Return,
                                           KeySymbol::Left, KeySymbol::ShiftLeft, 0};
        const std::uint8_t byte = take();
        return byte < std::size(kKeys) ? kKeys[byte] : std::uint32_t{byte};
    }
    void useKeyboard() {
        const std::uint8_t what = take();
        switch (what % 16) {
            case 0:
            case 1:
            case 2:
                keyboard_->press(takeKey());
                return;
            case 3:
            case 4:
                keyboard_->release(takeKey());
                return;
            case 5:
            case 6:
                keyboard_->strike(takeKey());
                return;
            case 7:
                return keyboard_->leave();
            case 8:
            case 9:
                if (const View view = takeOne(views_)) {
                    view->focus();
                }
                return;
            case 10:
                if (const View view = takeOne(views_)) {
                    view->blur();
                }
                return;
            case 11:
                return changeElement();
            case 12:
                return deliverKey();
            case 13:
                return askAsHost();
            case 14:
                if (const std::shared_ptr<MVWindow> window = window_) {
                    window->mv_settleFocus();
                }
                return;
            default:
                return frame_->setMainWindow(takeFlag());
        }
    }
    void changeElement() {
        const View view = takeOne(views_);
        if (!view) {
            return;
        }
        const std::uint8_t what = take();
        view->setFocusable((what & 1) != 0);
        view->setFocusesOnPress((what & 2) != 0);
        view->setShowsFocusRing((what & 4) != 0);
        view->setAccessibilityLabel((what & 8) != 0 ? "label" : "");
        view->setCursor((what & 16) != 0 ? MVCursor::Pointer : MVCursor::Inherit);
        view->setFocusOrder(what >> 5);
        view->setAccessibilityRole(static_cast<Mivora::platform::Role>(what % 14));
        if ((what & 32) != 0) {
            view->setAccessibilityActions({{"act", [] { react(); }}});
        }
    }
    /// A key that no well-behaved host would send now.
    void deliverKey() {
        const auto event = std::make_shared<Event>();
        const std::uint8_t what = take();
        event->type = (what & 1) != 0 ? Event::Type::KeyDown : Event::Type::KeyUp;
        event->isRepeat = (what & 2) != 0;
        event->keyCode = what >> 6;
        event->key = takeKey();
        event->text = (what & 4) != 0 ? "\xff" : "x";
        if (const auto view = renderView_) {
            view->deliverKey(event);
        }
    }
    /// What a host asks for and says of elements, some of them gone.
    void askAsHost() {
        const auto view = renderView_;
        if (!view) {
            return;
        }
        const std::vector<Mivora::platform::Element> elements = view->elements();
        for (std::size_t i = 0; i < elements.size(); ++i) {
            const auto& element = elements[i];
            require(element.identifier != 0 && element.role != Mivora::platform::Role::None);
            require(std::isfinite(element.box.x) && std::isfinite(element.box.width));
            require(!element.focusable || !element.disabled);
            // Parents come before what is in them.
            require(
                element.parent == 0 ||
                std::any_of(elements.begin(), elements.begin() + static_cast<long>(i),
                            [&](const auto& other) { return other.identifier == element.parent; }));
        }
        const std::uint8_t what = take();
        const std::uint64_t identifier =
            elements.empty() ? what : elements[take() % elements.size()].identifier;
        switch (what % 5) {
            case 0:
            case 1:
                return view->elementDidFocus(identifier);
            case 2:
                return view->elementDidBlur(identifier);
            case 3:
                view->performAction(identifier, 0);
                return;
            default:
                return view->mv_tellOfElements(takeFlag());
        }
    }
    void scroll() {
        constexpr Event::Phase kPhases[] = {Event::PhaseNone,
                                            Event::PhaseBegan,
                                            Event::PhaseStationary,
                                            Event::PhaseChanged,
                                            Event::PhaseEnded,
                                            Event::PhaseCancelled,
                                            static_cast<Event::Phase>(3)};
        const std::uint8_t phases = take();
        pointer_->scroll(takeNumber(), takeNumber(), kPhases[phases % std::size(kPhases)],
                         kPhases[phases / std::size(kPhases) % std::size(kPhases)]);
    }

    /// An event that no well-behaved host would send now.
    void deliverAnything() {
        deliver(static_cast<Event::Type>(take() % (static_cast<int>(Event::Type::KeyUp) + 1)));
    }
    void deliver(Event::Type type) {
        Event event;
        event.type = type;
        const Point2 point = takePoint();
        event.locationInWindow = {static_cast<double>(point.x), static_cast<double>(point.y)};
        if (type >= Event::Type::TouchesBegan && type <= Event::Type::TouchesCancelled) {
            // The numbers of fingers that may be down, and perhaps one of them twice.
            for (int count = take() % 4; count > 0; --count) {
                const Point2 place = takePoint();
                event.touches.push_back(
                    {take() % 8U, {static_cast<double>(place.x), static_cast<double>(place.y)}});
            }
        }
        if (const auto view = renderView_) {
            view->deliver(std::make_shared<const Event>(event));
        }
    }

    // The tree

    /// A view, or the window.
    std::shared_ptr<MVView> takeSuperview() {
        const std::uint8_t byte = take();
        if (byte % 4 == 0 || views_.empty()) {
            return window_;
        }
        return views_[byte / 4 % views_.size()];
    }
    void addView() {
        const std::shared_ptr<MVView> superview = takeSuperview();
        if (!superview || views_.size() >= kMaximumCount) {
            return;
        }
        const auto view = MVMake<EventView>();
        view->setPosition(takePoint());
        view->setSize({200.0F, 150.0F});
        const bool wants = takeFlag();
        view->setMouseHoverEnabled(wants);
        view->setFocusable(wants);
        views_.push_back(view);
        superview->addSubview(view);
    }
    void moveViewInTree() {
        const View view = takeOne(views_);
        if (!view) {
            return;
        }
        if (takeFlag()) {
            view->removeFromSuperview();
        } else if (const std::shared_ptr<MVView> superview = takeSuperview()) {
            superview->addSubview(view);
        }
    }
    void dropView() {
        if (const View view = takeOne(views_)) {
            std::erase(views_, view);
            if (takeFlag()) {
                view->removeAllGestureRecognizers();
            }
            view->removeFromSuperview();
        }
    }
    void switchView() {
        if (const View view = takeOne(views_)) {
            const std::uint8_t what = take();
            view->setHidden((what & 1) != 0);
            view->setInteractionEnabled((what & 2) == 0);
            view->setMouseHoverEnabled((what & 4) != 0);
        }
    }
    void placeView() {
        const View view = takeOne(views_);
        if (!view) {
            return;
        }
        switch (take() % 8) {
            case 0:
                return view->setPosition3({takeNumber(), takeNumber(), takeNumber()});
            case 1:
                return view->setSize3({takeNumber() * 30.0F, takeNumber() * 30.0F, takeNumber()});
            case 2:
                return view->setRotation3({takeNumber(), takeNumber(), takeNumber()});
            case 3:
                return view->setUniformScale(takeNumber());
            case 4:
                return view->setAnchorPoint3({takeNumber(), takeNumber(), takeNumber()});
            case 5:
                return view->setLocalOrigin3({takeNumber(), takeNumber(), takeNumber()});
            case 6:
                return view->setContentScaleFactor(takeNumber());
            default:
                return view->setInteractionPlane(
                    {{takeNumber(), takeNumber(), takeNumber()}, takeNumber()});
        }
    }

    // Recognizers

    void addRecognizer() {
        if (recognizers_.size() >= kMaximumCount) {
            return;
        }
        Recognizer recognizer;
        const std::uint8_t kind = take();
        if (kind >= 0x80) {
            recognizer = makeStill(kind);
        } else {
            recognizer = makeMoving(kind);
        }
        recognizer->addTargetAction(target_, &Target::told);
        recognizers_.push_back(recognizer);
        attach(recognizer);
    }
    Recognizer makeMoving(std::uint8_t kind) {
        Recognizer recognizer;
        switch (kind % 6) {
            case 0:
                recognizer = MVPinchGestureRecognizer::init();
                break;
            case 1:
                recognizer = MVRotationGestureRecognizer::init();
                break;
            case 2:
                recognizer = MVMake<EventRecognizer>();
                break;
            default:
                recognizer = MVPanGestureRecognizer::init();
        }
        return recognizer;
    }
    /// One that waits for a time, which passes at once or when the bytes say so.
    Recognizer makeStill(std::uint8_t kind) {
        const double seconds = (kind & 2) != 0 ? 0.0 : 1000.0;
        if ((kind & 1) != 0) {
            const auto press = MVLongPressGestureRecognizer::init();
            press->setMinimumDuration(seconds);
            press->setNumberOfTouchesRequired(1U + (kind >> 2 & 1U));
            return press;
        }
        const auto tap = MVTapGestureRecognizer::init();
        tap->setMaximumDuration(seconds + 1000.0);
        tap->setMaximumInterval(seconds);
        tap->setNumberOfTouchesRequired(1U + (kind >> 2 & 1U));
        tap->setNumberOfTapsRequired(1U + (kind >> 3 & 1U));
        tap->setWaitsFor(std::dynamic_pointer_cast<MVTapGestureRecognizer>(takeOne(recognizers_)));
        return tap;
    }
    void passTime() {
        if (const auto still =
                std::dynamic_pointer_cast<MVStillGestureRecognizer>(takeOne(recognizers_))) {
            still->mv_timeDidPass();
        }
    }
    void attach(const Recognizer& recognizer) {
        if (const std::shared_ptr<MVView> view = takeSuperview()) {
            view->addGestureRecognizer(recognizer);
        }
    }
    void moveRecognizer() {
        const Recognizer recognizer = takeOne(recognizers_);
        if (!recognizer) {
            return;
        }
        const std::shared_ptr<MVView> view = recognizer->view();
        if (takeFlag() && view) {
            view->removeGestureRecognizer(recognizer);
        } else {
            attach(recognizer);
        }
    }
    void dropRecognizer() {
        if (const Recognizer recognizer = takeOne(recognizers_)) {
            std::erase(recognizers_, recognizer);
            if (const std::shared_ptr<MVView> view = recognizer->view()) {
                view->removeGestureRecognizer(recognizer);
            }
        }
    }
    void switchRecognizer() {
        if (const Recognizer recognizer = takeOne(recognizers_)) {
            recognizer->setEnabled(takeFlag());
        }
    }
    void changeAdviser() {
        const std::uint8_t what = take();
        if (what % 8 == 0) {
            adviser_ = std::make_shared<Adviser>();
        } else if (const Recognizer recognizer = takeOne(recognizers_)) {
            recognizer->setDelegate(what % 2 != 0 ? adviser_ : nullptr);
        }
    }
    void changeTarget() {
        const std::uint8_t what = take();
        const Recognizer recognizer = takeOne(recognizers_);
        if (what % 8 == 0) {
            target_ = std::make_shared<Target>();
        } else if (recognizer && what % 2 != 0) {
            recognizer->addTargetAction(target_, &Target::told);
        } else if (recognizer) {
            recognizer->removeTargetAction(what % 4 == 0 ? target_ : nullptr, &Target::told);
        }
    }

    // Touches of another source

    void beginFingers() {
        const std::shared_ptr<MVWindow> window = window_;
        if (!window) {
            return;
        }
        MVTouchSet touches;
        for (int count = take() % 3; count >= 0 && fingers_.size() < kMaximumCount; --count) {
            const auto finger = MVMake<Finger>();
            finger->moveTo(*window, takePoint());
            const std::shared_ptr<MVView> view = window->viewForInteraction(finger);
            finger->setView(view);
            finger->setTrackingView(view);
            // Bound before anybody can end it.
            MVBuildGestureRecognizerRelationshipsForTouch(finger);
            fingers_.push_back(finger);
            touches.insert(finger);
        }
        MVDispatchSelectorToTouches(touches, MVTouchPhase::Began);
    }
    MVTouchSet takeFingers() {
        const std::shared_ptr<MVWindow> window = window_;
        MVTouchSet touches;
        const std::uint8_t which = take();
        for (std::size_t i = 0; i < fingers_.size() && i < 8; ++i) {
            if ((which >> i & 1) != 0) {
                if (window) {
                    fingers_[i]->moveTo(*window, takePoint());
                }
                touches.insert(fingers_[i]);
            }
        }
        return touches;
    }
    void moveFingers() { MVDispatchSelectorToTouches(takeFingers(), MVTouchPhase::Moved); }
    void endFingers() {
        const MVTouchSet touches = takeFingers();
        std::erase_if(fingers_, [&](const auto& finger) { return touches.contains(finger); });
        try {
            MVDispatchSelectorToTouches(touches,
                                        takeFlag() ? MVTouchPhase::Ended : MVTouchPhase::Cancelled);
        } catch (...) {
            MVFinishTouches(touches);
            throw;
        }
        MVFinishTouches(touches);
    }

    // Fingers of the host

    HeadlessFingers::Finger takeFinger() {
        const std::uint64_t number = take() % 8U;
        const Point2 place = takePoint();
        return {number, {static_cast<double>(place.x), static_cast<double>(place.y)}};
    }
    void landFingers() {
        std::vector<HeadlessFingers::Finger> fingers;
        for (int count = take() % 3; count >= 0; --count) {
            fingers.push_back(takeFinger());
        }
        hostFingers_->land(fingers);
    }
    void slideFingers() {
        std::vector<HeadlessFingers::Finger> fingers;
        const std::uint8_t what = take();
        for (int count = what % 3; count >= 0; --count) {
            fingers.push_back(takeFinger());
        }
        switch (what / 3 % 4) {
            case 0:
            case 1:
                return hostFingers_->move(fingers);
            case 2:
                return hostFingers_->lift({fingers.front().number});
            default:
                return hostFingers_->cancel();
        }
    }
    void pinch() {
        switch (take() % 6) {
            case 0:
                return pointer_->beginPinch();
            case 1:
                return pointer_->endPinch();
            case 2:
                return pointer_->cancelPinch();
            default:
                return pointer_->pinch(takeNumber(), takeNumber(), takeNumber(), takeNumber());
        }
    }

    /// The window or the native view goes, which is rare.
    void changeWorld() {
        switch (take()) {
            case 1:
                window_ = nullptr;
                return;
            case 2:
                renderViewHasGone_ = true;
                frame_->setContentView(nullptr);
                renderView_ = nullptr;
                return;
            case 3:
                frame_->setContentView(nullptr);
                return;
            case 4:
                frame_->setContentView(renderView_);
                return;
            case 5:
                return frame_->setContentSize(static_cast<double>(take()),
                                              static_cast<double>(take()));
            default:
                return;
        }
    }

    std::span<const std::uint8_t> bytes_;
    int depth_ = 0;
    bool renderViewHasGone_ = false;

    std::shared_ptr<Adviser> adviser_ = std::make_shared<Adviser>();
    std::shared_ptr<Target> target_ = std::make_shared<Target>();
    std::shared_ptr<MVWindow> window_ = MVWindow::init();
    std::vector<View> views_;
    std::vector<Recognizer> recognizers_;
    std::vector<std::shared_ptr<Finger>> fingers_;
    std::map<const MVMouse*, Press> presses_;
    std::shared_ptr<MVApplicationRenderView> renderView_;
    std::shared_ptr<HeadlessWindow> frame_;
    std::unique_ptr<HeadlessPointer> pointer_;
    std::unique_ptr<HeadlessFingers> hostFingers_;
    std::unique_ptr<HeadlessKeyboard> keyboard_;
    std::set<std::shared_ptr<MVKey>> endedKeys_;
};

void react() {
    if (world != nullptr) {
        world->reactToHook();
    }
}

bool consent() {
    return world != nullptr && world->takeBack() % 2 != 0;
}

void EventView::mouseBegan(const std::shared_ptr<MVMouse>& mouse) {
    if (world != nullptr) {
        world->pressBegan(mouse, shared_from_this());
    }
    take(*mouse);
}

void EventView::mouseMoved(const std::shared_ptr<MVMouse>& mouse) {
    if (world != nullptr) {
        world->pressMoved(mouse);
    }
    take(*mouse);
}

void EventView::mouseEnded(const std::shared_ptr<MVMouse>& mouse) {
    if (world != nullptr) {
        world->pressEnded(mouse);
    }
    take(*mouse);
}

bool EventView::keyBegan(const std::shared_ptr<MVKey>& key) {
    if (world != nullptr) {
        world->keyBegan(key);
    }
    react();
    return consent() || MVView::keyBegan(key);
}

bool EventView::keyEnded(const std::shared_ptr<MVKey>& key) {
    if (world != nullptr) {
        world->keyEnded(key);
    }
    react();
    return consent() || MVView::keyEnded(key);
}

void EventView::focusBegan() {
    require(++focuses_ == 1);
    react();
}

void EventView::focusEnded() {
    require(--focuses_ == 0);
    react();
}

void EventRecognizer::take(const MVTouchSet& touches) {
    require(enabled());
    validate();
    for (const auto& touch : touches) {
        touch->locationInView(view());
    }
    if (world != nullptr) {
        const std::uint8_t proposal = world->takeBack();
        if (proposal % 8 < 6) {
            setState(static_cast<MVGestureRecognizerState>(proposal % 8));
        }
    }
    react();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    ::setenv("MIVORA_HOST", "headless", 1);
    ::setenv("MIVORA_SCALE", "1", 1);
    // The warning of recognizers without a view comes with every touch that they are given.
    Mivora::platform::DebugLog::setSink([](auto, auto) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    World(std::span(data, size)).live();
    return 0;
}
