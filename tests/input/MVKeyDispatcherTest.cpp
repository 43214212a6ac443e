#include "MivoraMac/input/MVKeyDispatcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "tests/input/KeyScene.h"
#include "tests/platform/base/LogCapture.h"

using Mivora::platform::DebugLog;
using Mivora::platform::Event;
using Mivora::platform::KeySymbol;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class MVKeyDispatcherTest : public testing::Test {
 protected:
    static std::shared_ptr<Event> eventOf(char letter, std::uint32_t keyCode = 0) {
        const auto event = std::make_shared<Event>();
        event->key = static_cast<std::uint32_t>(letter);
        event->keyCode = keyCode;
        event->text = std::string(1, letter);
        return event;
    }
    bool press(char letter, std::uint32_t keyCode = 0) {
        return dispatcher->systemKeyBeganWithEvent(eventOf(letter, keyCode));
    }
    bool repeat(char letter) {
        const auto event = eventOf(letter);
        event->isRepeat = true;
        return dispatcher->systemKeyBeganWithEvent(event);
    }
    bool release(char letter, std::uint32_t keyCode = 0) {
        return dispatcher->systemKeyEndedWithEvent(eventOf(letter, keyCode));
    }
    std::shared_ptr<KeyView> focused(const std::string& name) {
        auto view = scene.addFocusable(scene.window, name);
        view->focus();
        scene.taken();
        return view;
    }

    KeyScene scene;
    std::shared_ptr<MVKeyDispatcher> dispatcher = MVKeyDispatcher::initWithWindow(scene.window);
};

}  // namespace

// Where keys go

TEST_F(MVKeyDispatcherTest, aKeyGoesToTheFocusedView) {
    focused("a");
    scene.addFocusable(scene.window, "b");
    EXPECT_TRUE(press('x'));
    EXPECT_TRUE(release('x'));
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyBegan x", "a.keyEnded"));
}

TEST_F(MVKeyDispatcherTest, aKeyGoesUpUntilAViewHasAUseForItAndItsEndGoesThere) {
    const auto outer = scene.add(scene.window, "outer");
    const auto middle = scene.add(outer, "middle");
    const auto inner = scene.addFocusable(middle, "inner");
    middle->takesKeys = inner->takesKeys = false;
    inner->focus();
    scene.taken();
    EXPECT_TRUE(press('x'));
    EXPECT_EQ(inner->lastKey->view(), outer);
    EXPECT_TRUE(release('x'));
    EXPECT_THAT(scene.taken(), ElementsAre("inner.keyBegan x", "middle.keyBegan x",
                                           "outer.keyBegan x", "outer.keyEnded"));
}

TEST_F(MVKeyDispatcherTest, aViewThatLetsOthersGoFirstIsTheOneThatTookTheKey) {
    /// Has a use for what nobody above has one for.
    class Last : public KeyView {
     public:
        using KeyView::KeyView;
        bool keyBegan(const std::shared_ptr<MVKey>& key) override {
            MVView::keyBegan(key);
            return true;
        }
    };
    const auto outer = scene.add(scene.window, "outer");
    outer->takesKeys = false;
    const auto last = MVMake<Last>("last", &scene.log);
    last->setFocusable(true);
    outer->addSubview(last);
    last->focus();
    scene.taken();
    EXPECT_TRUE(press('x'));
    EXPECT_TRUE(release('x'));
    EXPECT_THAT(scene.taken(), ElementsAre("outer.keyBegan x", "last.keyEnded"));
}

TEST_F(MVKeyDispatcherTest, whatNobodyHasAUseForIsReportedAndHasNoEnd) {
    focused("a")->takesKeys = false;
    EXPECT_FALSE(press('x'));
    EXPECT_FALSE(repeat('x'));
    EXPECT_FALSE(release('x'));
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyBegan x", "a.keyBegan x again"));
    EXPECT_EQ(dispatcher->heldKeys(), 0U);
}

TEST_F(MVKeyDispatcherTest, withoutAFocusedViewKeysGoToTheContentViewOrElseTheWindow) {
    scene.addFocusable(scene.window, "other");
    EXPECT_FALSE(press('x'));
    const auto content = KeyView::make("content", &scene.log);
    scene.window->setContentView(content);
    EXPECT_TRUE(press('y'));
    EXPECT_TRUE(release('y'));
    EXPECT_THAT(scene.taken(), ElementsAre("content.keyBegan y", "content.keyEnded"));
}

TEST_F(MVKeyDispatcherTest, theRecordSaysWhatTheEventSays) {
    const auto view = focused("a");
    auto event = eventOf('x');
    event->key = KeySymbol::Left;
    event->text = "é";
    event->modifiers.shift = true;
    dispatcher->systemKeyBeganWithEvent(event);
    const std::shared_ptr<MVKey> key = view->lastKey;
    EXPECT_EQ(key->symbol(), KeySymbol::Left);
    EXPECT_EQ(key->text(), "é");
    EXPECT_TRUE(key->modifiers().shift);
    EXPECT_FALSE(key->isRepeat());
    EXPECT_EQ(key->view(), view);

    event = std::make_shared<Event>(*event);
    event->isRepeat = true;
    event->modifiers = {};
    dispatcher->systemKeyBeganWithEvent(event);
    EXPECT_EQ(view->lastKey, key) << "one record for the whole press";
    EXPECT_TRUE(key->isRepeat());
    EXPECT_FALSE(key->modifiers().shift);
}

TEST_F(MVKeyDispatcherTest, nullAndAnEndWithoutABeginningDoNothing) {
    focused("a");
    EXPECT_FALSE(dispatcher->systemKeyBeganWithEvent(nullptr));
    EXPECT_FALSE(dispatcher->systemKeyEndedWithEvent(nullptr));
    EXPECT_FALSE(release('x'));
    EXPECT_THAT(scene.taken(), IsEmpty());
    EXPECT_FALSE(MVKeyDispatcher::initWithWindow(nullptr)->systemKeyBeganWithEvent(eventOf('x')));
}

// Pairs

TEST_F(MVKeyDispatcherTest, keysAreToldApartByTheirCodesWhateverIsOnThem) {
    focused("a");
    press('A', 38);
    press('b', 56);
    EXPECT_TRUE(release('a', 38)) << "Shift was let go in between";
    EXPECT_EQ(dispatcher->heldKeys(), 1U);
    EXPECT_FALSE(release('b', 57));
    EXPECT_TRUE(release('b', 56));
}

TEST_F(MVKeyDispatcherTest, aPressOfAHeldKeyEndsTheFormerPressFirst) {
    focused("a");
    press('x');
    press('x');
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyBegan x", "a.keyEnded", "a.keyBegan x"));
    EXPECT_EQ(dispatcher->heldKeys(), 1U);
}

TEST_F(MVKeyDispatcherTest, theEndGoesToTheViewThatTookTheBeginningWhereverTheFocusIs) {
    const auto a = focused("a");
    const auto b = scene.addFocusable(scene.window, "b");
    press('x');
    b->focus();
    a->removeFromSuperview();
    release('x');
    EXPECT_THAT(scene.taken(),
                ElementsAre("a.keyBegan x", "a.focusEnded", "b.focusBegan", "a.keyEnded"));
}

TEST_F(MVKeyDispatcherTest, aRepeatAfterTheFocusHasMovedEndsThereAndBeginsHere) {
    const auto a = focused("a");
    const auto b = scene.addFocusable(scene.window, "b");
    press('x');
    repeat('x');
    b->focus();
    repeat('x');
    repeat('x');
    release('x');
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyBegan x", "a.keyBegan x again", "a.focusEnded",
                                           "b.focusBegan", "a.keyEnded", "b.keyBegan x again",
                                           "b.keyBegan x again", "b.keyEnded"));
}

TEST_F(MVKeyDispatcherTest, aRepeatThatIsNotTakenLeavesTheEndWithTheViewThatTookTheBeginning) {
    const auto outer = scene.add(scene.window, "outer");
    const auto inner = scene.addFocusable(outer, "inner");
    inner->focus();
    scene.taken();
    press('x');
    inner->takesKeys = false;
    EXPECT_TRUE(repeat('x'));
    release('x');
    EXPECT_THAT(scene.taken(),
                ElementsAre("inner.keyBegan x", "inner.keyBegan x again", "outer.keyBegan x again",
                            "inner.keyEnded", "outer.keyEnded"));
}

TEST_F(MVKeyDispatcherTest, aViewThatIsGoneHearsOfNoEnd) {
    auto a = focused("a");
    press('x');
    a->removeFromSuperview();
    a.reset();
    EXPECT_TRUE(release('x'));
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyBegan x"));
}

TEST_F(MVKeyDispatcherTest, allKeysEndWhenTheKeyboardGoesElsewhere) {
    focused("a");
    press('x');
    press('y');
    dispatcher->endAllKeys();
    dispatcher->endAllKeys();
    EXPECT_FALSE(release('x'));
    EXPECT_THAT(scene.taken(),
                ElementsAre("a.keyBegan x", "a.keyBegan y", "a.keyEnded", "a.keyEnded"));
}

// Hooks that do something

TEST_F(MVKeyDispatcherTest, aHookMayRemoveItsView) {
    auto a = focused("a");
    a->reaction = [&](const std::string& hook) {
        if (hook == "keyBegan") {
            a->removeFromSuperview();
            a.reset();
        }
    };
    EXPECT_TRUE(press('x'));
    EXPECT_TRUE(release('x'));
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyBegan x"));
}

TEST_F(MVKeyDispatcherTest, aHookMayRemoveTheViewsThatTheKeyIsPassedOnTo) {
    const auto outer = scene.add(scene.window, "outer");
    const auto inner = scene.addFocusable(outer, "inner");
    inner->takesKeys = false;
    inner->reaction = [&](const std::string& hook) {
        if (hook == "keyBegan") {
            inner->removeFromSuperview();
        }
    };
    inner->focus();
    scene.taken();
    EXPECT_FALSE(press('x'));
    EXPECT_THAT(scene.taken(), ElementsAre("inner.keyBegan x"));
}

TEST_F(MVKeyDispatcherTest, aHookMayMoveTheFocus) {
    const auto a = focused("a");
    const auto b = scene.addFocusable(scene.window, "b");
    a->reaction = [&](const std::string& hook) {
        if (hook == "keyBegan") {
            b->focus();
        }
    };
    press('x');
    release('x');
    press('y');
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyBegan x", "a.focusEnded", "b.focusBegan",
                                           "a.keyEnded", "b.keyBegan y"));
}

TEST_F(MVKeyDispatcherTest, aHookMayDropTheDispatcherAndTheWindow) {
    const auto a = focused("a");
    a->reaction = [&](const std::string&) {
        dispatcher.reset();
        scene.renderView.reset();
        scene.frame.reset();
        scene.window.reset();
    };
    MVKeyDispatcher* const raw = dispatcher.get();
    EXPECT_TRUE(raw->systemKeyBeganWithEvent(eventOf('x')));
    EXPECT_EQ(a->superview(), nullptr);
}

TEST_F(MVKeyDispatcherTest, aKeyLetGoWhileItIsBeingPressedIsOver) {
    const auto a = focused("a");
    a->reaction = [&](const std::string& hook) {
        if (hook == "keyBegan") {
            release('x');
        }
    };
    EXPECT_TRUE(press('x'));
    EXPECT_EQ(dispatcher->heldKeys(), 0U);
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyBegan x", "a.keyEnded"));
}

TEST_F(MVKeyDispatcherTest, aKeyLetGoWhileItIsBeingPressedGoesNoFurtherUp) {
    const auto outer = scene.add(scene.window, "outer");
    const auto inner = scene.addFocusable(outer, "inner");
    inner->focus();
    scene.taken();
    inner->takesKeys = false;
    inner->reaction = [&](const std::string& hook) {
        if (hook == "keyBegan") {
            release('x');
        }
    };
    EXPECT_TRUE(press('x'));
    EXPECT_THAT(scene.taken(),
                ElementsAre("inner.keyBegan x", "inner.keyEnded", "outer.keyEnded"));
}

TEST_F(MVKeyDispatcherTest, aKeyPressedWhileItIsBeingEndedStandsAndTheOuterPressIsLeftOut) {
    const auto a = focused("a");
    press('x');
    bool inner = false;
    a->reaction = [&](const std::string& hook) {
        if (hook == "keyEnded") {
            a->reaction = nullptr;
            inner = press('x');
        }
    };
    EXPECT_FALSE(press('x'));
    EXPECT_TRUE(inner);
    EXPECT_EQ(dispatcher->heldKeys(), 1U);
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyBegan x", "a.keyEnded", "a.keyBegan x"));
}

TEST_F(MVKeyDispatcherTest, aPressWhoseHookThrowsWasTakenByNobody) {
    const auto a = focused("a");
    a->reaction = [](const std::string&) { throw std::runtime_error("expected"); };
    EXPECT_THROW(press('x'), std::runtime_error);
    EXPECT_EQ(dispatcher->heldKeys(), 0U);
    a->reaction = nullptr;
    EXPECT_FALSE(release('x'));
}

TEST_F(MVKeyDispatcherTest, whatAnEndThrowsDoesNotKeepTheNextPressFromComing) {
    const auto a = focused("a");
    press('x');
    a->reaction = [](const std::string& hook) {
        if (hook == "keyEnded") {
            throw std::runtime_error("expected");
        }
    };
    EXPECT_THROW(press('x'), std::runtime_error);
    EXPECT_EQ(scene.taken().back(), "a.keyBegan x");
    EXPECT_EQ(dispatcher->heldKeys(), 1U);
    press('y');
    EXPECT_THROW(dispatcher->endAllKeys(), std::runtime_error);
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyBegan y", "a.keyEnded", "a.keyEnded"));
}

TEST_F(MVKeyDispatcherTest, keysAreLogged) {
    focused("card");
    const Mivora::tests::LogCapture log;
    DebugLog::enable("events");
    press('x');
    release('x');
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(log.lines()[0].second, "key 0x78 began in \"card\"");
    EXPECT_EQ(log.lines()[1].second, "key 0x78 ended in \"card\"");
}
