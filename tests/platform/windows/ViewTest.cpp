#include "MivoraMac/platform/windows/View.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/windows/NativeWindow.h"

using Mivora::platform::NativeWindow;
using Mivora::platform::Rect;
using Mivora::platform::View;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class PlainWindow : public NativeWindow {
 public:
    double backingScaleFactor() const override { return 1; }
    bool isMainWindow() const override { return true; }
};

class LoggingView : public View {
 public:
    std::vector<std::string> log;
    std::function<void()> onMove;

 protected:
    void viewDidMoveToWindow() override {
        log.push_back(window() ? "into window" : "out of window");
        if (const auto current = onMove) {
            current();
        }
    }
    void makeBackingLayer() override { log.emplace_back("layer"); }
    void boundsDidChange() override { log.emplace_back("bounds"); }
    void subviewsDidChange() override {
        log.emplace_back("subviews");
        View::subviewsDidChange();
    }
};

using Logging = std::shared_ptr<LoggingView>;

Logging makeView() {
    return std::make_shared<LoggingView>();
}

template <class Call>
void expectInvalidArgument(Call call) {
    try {
        call();
        FAIL() << "no exception";
    } catch (const MVException& exception) {
        EXPECT_EQ(exception.name(), MVException::kInvalidArgument);
    }
}

}  // namespace

// Placement

TEST(ViewTest, aNewViewIsEmptyVisibleAndAlone) {
    const View view;
    EXPECT_EQ(view.frame(), Rect());
    EXPECT_EQ(view.bounds(), Rect());
    EXPECT_FALSE(view.isHidden());
    EXPECT_FALSE(view.wantsLayer());
    EXPECT_EQ(view.contentsScale(), 1);
    EXPECT_EQ(view.sublayerTransform(), glm::dmat4(1.0));
    EXPECT_EQ(view.superview(), nullptr);
    EXPECT_EQ(view.window(), nullptr);
    EXPECT_THAT(view.subviews(), IsEmpty());
}

TEST(ViewTest, theBoundsHaveTheSizeOfTheFrame) {
    const auto view = View::initWithFrame({10, 20, 30, 40});
    EXPECT_EQ(view->frame(), (Rect{10, 20, 30, 40}));
    EXPECT_EQ(view->bounds(), (Rect{0, 0, 30, 40}));
    view->setBounds({5, 6, 30, 40});
    view->setFrame({0, 0, 50, 60});
    EXPECT_EQ(view->bounds(), (Rect{5, 6, 50, 60})) << "the origin of the bounds stays";
}

TEST(ViewTest, extentsBelowZeroAndNaNCountAsZero) {
    const auto view = View::initWithFrame({10, 20, -3, kNaN});
    EXPECT_EQ(view->frame(), (Rect{10, 20, 0, 0}));
    view->setBounds({1, 2, kNaN, -1});
    EXPECT_EQ(view->bounds(), (Rect{1, 2, 0, 0}));
}

TEST(ViewTest, anObserverOfTheBoundsMayDropTheView) {
    struct Dropping : Mivora::platform::PropertyObserver {
        std::shared_ptr<View>* view = nullptr;
        void observeValueForKeyPathOfObjectChangeContext(std::string_view,
                                                         Mivora::platform::ObservableObject&,
                                                         Mivora::platform::PropertyChange,
                                                         void*) override {
            view->reset();
        }
    };
    auto view = View::initWithFrame({});
    const auto dropping = std::make_shared<Dropping>();
    dropping->view = &view;
    view->addObserver(dropping, "bounds");
    view->setBounds({0, 0, 30, 40});
    EXPECT_EQ(view, nullptr);
    view = View::initWithFrame({});
    view->addObserver(dropping, "bounds");
    view->setFrame({0, 0, 30, 40});
    EXPECT_EQ(view, nullptr);
}

TEST(ViewTest, onlyAChangeOfTheBoundsIsTold) {
    const Logging view = makeView();
    view->setFrame({0, 0, 10, 10});
    view->setFrame({5, 5, 10, 10});
    view->setFrame({5, 5, 10, 10});
    view->setBounds({0, 0, 10, 10});
    EXPECT_THAT(view->log, ElementsAre("bounds"));
    view->setFrame({5, 5, 11, 10});
    EXPECT_THAT(view->log, ElementsAre("bounds", "bounds"));
}

// Tree

TEST(ViewTest, addedViewsStandInFrontOfTheOthers) {
    const Logging above = makeView();
    const Logging a = makeView();
    const Logging b = makeView();
    above->addSubview(a);
    above->addSubview(b);
    EXPECT_THAT(above->subviews(), ElementsAre(a, b));
    EXPECT_EQ(a->superview(), above);
    above->addSubview(a);
    EXPECT_THAT(above->subviews(), ElementsAre(b, a));
}

TEST(ViewTest, aViewIsTakenFromWhereItIs) {
    const Logging first = makeView();
    const Logging second = makeView();
    const Logging view = makeView();
    first->addSubview(view);
    second->addSubview(view);
    EXPECT_THAT(first->subviews(), IsEmpty());
    EXPECT_EQ(view->superview(), second);
    view->removeFromSuperview();
    EXPECT_EQ(view->superview(), nullptr);
    EXPECT_THAT(second->subviews(), IsEmpty());
    view->removeFromSuperview();
}

TEST(ViewTest, aViewCanBeTakenByAReferenceIntoTheListOfAnother) {
    const Logging first = makeView();
    const Logging second = makeView();
    first->addSubview(makeView());
    second->addSubview(first->subviews().front());
    EXPECT_THAT(first->subviews(), IsEmpty());
    EXPECT_EQ(second->subviews().size(), 1U);
}

TEST(ViewTest, whatCannotBeASubviewIsRefusedAndNothingChanges) {
    const Logging above = makeView();
    const Logging view = makeView();
    above->addSubview(view);
    expectInvalidArgument([&] { view->addSubview(nullptr); });
    expectInvalidArgument([&] { view->addSubview(view); });
    expectInvalidArgument([&] { view->addSubview(above); });
    EXPECT_THAT(above->subviews(), ElementsAre(view));
    EXPECT_THAT(view->subviews(), IsEmpty());
}

TEST(ViewTest, subviewsOutliveTheirSuperviewWithoutOne) {
    const Logging view = makeView();
    {
        const Logging above = makeView();
        above->addSubview(view);
    }
    EXPECT_EQ(view->superview(), nullptr);
    EXPECT_EQ(view->window(), nullptr);
}

TEST(ViewTest, changesBelowAreToldUpwards) {
    const Logging top = makeView();
    const Logging middle = makeView();
    const Logging view = makeView();
    top->addSubview(middle);
    top->log.clear();
    middle->addSubview(view);
    EXPECT_THAT(top->log, ElementsAre("subviews"));
    view->setFrame({1, 2, 3, 4});
    EXPECT_EQ(top->log.size(), 2U);
    view->setHidden(true);
    view->setHidden(true);
    EXPECT_EQ(top->log.size(), 3U);
    glm::dmat4 perspective(1.0);
    perspective[2][3] = -0.01;
    middle->setSublayerTransform(perspective);
    middle->setSublayerTransform(perspective);
    EXPECT_EQ(top->log.size(), 4U);
    view->removeFromSuperview();
    EXPECT_EQ(top->log.size(), 5U);
    EXPECT_EQ(middle->log.size(), 5U);
}

// Window

TEST(ViewTest, everyViewBelowIsToldOfTheWindow) {
    const auto window = std::make_shared<PlainWindow>();
    const Logging top = makeView();
    const Logging below = makeView();
    top->addSubview(below);
    below->log.clear();
    top->moveToWindow(window);
    EXPECT_EQ(top->window(), window);
    EXPECT_EQ(below->window(), window);
    EXPECT_EQ(top->log.back(), "into window");
    EXPECT_THAT(below->log, ElementsAre("into window"));
    top->moveToWindow(nullptr);
    EXPECT_EQ(below->window(), nullptr);
    EXPECT_THAT(below->log, ElementsAre("into window", "out of window"));
}

TEST(ViewTest, joiningAndLeavingATreeInAWindowIsToldAndOtherwiseNot) {
    const auto window = std::make_shared<PlainWindow>();
    const Logging top = makeView();
    const Logging view = makeView();
    top->addSubview(view);
    view->removeFromSuperview();
    EXPECT_THAT(view->log, IsEmpty());
    top->moveToWindow(window);
    top->addSubview(view);
    view->removeFromSuperview();
    EXPECT_THAT(view->log, ElementsAre("into window", "out of window"));
}

TEST(ViewTest, windowsAreHeldWeakly) {
    auto window = std::make_shared<PlainWindow>();
    const Logging view = makeView();
    view->moveToWindow(window);
    window.reset();
    EXPECT_EQ(view->window(), nullptr);
}

TEST(ViewTest, aTopmostViewThatBecomesASubviewForgetsItsWindow) {
    const auto window = std::make_shared<PlainWindow>();
    const Logging view = makeView();
    view->moveToWindow(window);
    const Logging above = makeView();
    above->addSubview(view);
    EXPECT_EQ(view->window(), nullptr);
    view->removeFromSuperview();
    EXPECT_EQ(view->window(), nullptr);
}

TEST(ViewTest, aViewThatMovesItselfWhileItIsMovedStaysThere) {
    const auto window = std::make_shared<PlainWindow>();
    const Logging first = makeView();
    const Logging second = makeView();
    const Logging other = makeView();
    first->moveToWindow(window);
    const Logging view = makeView();
    first->addSubview(view);
    view->onMove = [&] {
        view->onMove = nullptr;
        other->addSubview(view);
    };
    second->addSubview(view);
    EXPECT_EQ(view->superview(), other);
    EXPECT_THAT(second->subviews(), IsEmpty());
    EXPECT_THAT(other->subviews(), ElementsAre(view));
}

TEST(ViewTest, aViewMayGoWhenItLeavesItsWindow) {
    const auto window = std::make_shared<PlainWindow>();
    Logging view = makeView();
    view->addSubview(makeView());
    view->moveToWindow(window);
    const std::weak_ptr<View> weak = view;
    view->onMove = [&] { view.reset(); };
    weak.lock()->moveToWindow(nullptr);
    EXPECT_TRUE(weak.expired());
}

// Compositing

TEST(ViewTest, theLayerIsMadeWhenItIsFirstWanted) {
    const Logging view = makeView();
    view->setWantsLayer(true);
    view->setWantsLayer(true);
    EXPECT_TRUE(view->wantsLayer());
    EXPECT_THAT(view->log, ElementsAre("layer"));
    view->setWantsLayer(false);
    view->setContentsScale(2);
    EXPECT_FALSE(view->wantsLayer());
    EXPECT_EQ(view->contentsScale(), 2);
}
