#include "MivoraMac/platform/headless/HeadlessKeyboard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/windows/KeySymbol.h"
#include "MivoraMac/platform/windows/OpenGLView.h"
#include "MivoraMac/platform/windows/View.h"
#include "tests/platform/base/ScopedEnvironment.h"

using Mivora::platform::Element;
using Mivora::platform::Event;
using Mivora::platform::HeadlessKeyboard;
using Mivora::platform::KeySymbol;
using Mivora::platform::OpenGLView;
using Mivora::platform::View;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A view that writes down the keys that it gets, and has the elements that a test gives it.
class Typed : public OpenGLView {
 public:
    bool keyDown(const std::shared_ptr<const Event>& event) override {
        std::ostringstream line;
        line << "down " << std::hex << event->key << " '" << event->text << "'"
             << (event->isRepeat ? " again" : "") << (event->modifiers.shift ? " shift" : "");
        log.push_back(line.str());
        return takesKeys;
    }
    bool keyUp(const std::shared_ptr<const Event>& event) override {
        std::ostringstream line;
        line << "up " << std::hex << event->key;
        log.push_back(line.str());
        return takesKeys;
    }
    std::vector<Element> elements() override { return all; }
    std::uint64_t focusedElement() const override { return focused; }
    void elementDidFocus(std::uint64_t identifier) override { focused = identifier; }
    void elementDidBlur(std::uint64_t identifier) override {
        if (focused == identifier) {
            focused = 0;
        }
    }
    void add(std::uint64_t identifier, bool focusable) {
        Element element;
        element.identifier = identifier;
        element.focusable = focusable;
        all.push_back(element);
    }
    std::vector<std::string> taken() { return std::exchange(log, {}); }

    std::vector<std::string> log;
    std::vector<Element> all;
    std::uint64_t focused = 0;
    bool takesKeys = false;
};

class HeadlessKeyboardTest : public testing::Test {
 protected:
    Mivora::tests::ScopedEnvironment host{"MIVORA_HOST", "headless"};
    std::shared_ptr<Typed> view = std::make_shared<Typed>();
    HeadlessKeyboard keyboard{view};
};

}  // namespace

TEST_F(HeadlessKeyboardTest, aKeyGoesDownRepeatsAndComesUp) {
    EXPECT_FALSE(keyboard.press('x'));
    keyboard.press('x');
    EXPECT_THAT(keyboard.held(), ElementsAre('x'));
    keyboard.release('x');
    keyboard.release('x');
    EXPECT_THAT(keyboard.held(), IsEmpty());
    EXPECT_THAT(view->taken(), ElementsAre("down 78 'x'", "down 78 'x' again", "up 78"));
    view->takesKeys = true;
    EXPECT_TRUE(keyboard.strike(KeySymbol::Left));
    EXPECT_THAT(view->taken(), ElementsAre("down ff51 ''", "up ff51"));
}

TEST_F(HeadlessKeyboardTest, theTextIsWhatTheKeyWrites) {
    keyboard.strike(KeySymbol::Space);
    keyboard.strike(0xe9);
    keyboard.strike(0x010020ac);
    keyboard.press('e', "é");
    keyboard.setModifiers({.control = true});
    keyboard.strike('c');
    EXPECT_THAT(view->taken(),
                ElementsAre("down 20 ' '", "up 20", "down e9 'é'", "up e9", "down 10020ac '€'",
                            "up 10020ac", "down 65 'é'", "down 63 ''", "up 63"));
}

TEST_F(HeadlessKeyboardTest, aTextIsWrittenCharacterByCharacter) {
    keyboard.write("aß€😀\n\xff\xc3");
    EXPECT_THAT(view->taken(), ElementsAre("down 61 'a'", "up 61", "down df 'ß'", "up df",
                                           "down 10020ac '€'", "up 10020ac", "down 101f600 '😀'",
                                           "up 101f600", "down ff0d ''", "up ff0d"));
}

TEST_F(HeadlessKeyboardTest, tabWalksThroughWhatIsFocusableAndOutAtTheEnds) {
    view->add(1, true);
    view->add(2, false);
    view->add(3, true);
    view->add(4, false);
    view->all.back().embedded = View::initWithFrame({});
    const auto after = [&](std::uint32_t symbol) {
        keyboard.strike(symbol);
        return view->focused;
    };
    EXPECT_EQ(after(KeySymbol::Tab), 1U);
    EXPECT_EQ(after(KeySymbol::Tab), 3U);
    EXPECT_EQ(after(KeySymbol::Tab), 4U) << "a native view";
    EXPECT_EQ(after(KeySymbol::Tab), 0U);
    EXPECT_EQ(after(KeySymbol::Tab), 1U) << "in again at the first one";
    EXPECT_EQ(after(KeySymbol::BackTab), 0U);
    EXPECT_EQ(after(KeySymbol::BackTab), 4U);
    keyboard.setModifiers({.shift = true});
    EXPECT_EQ(after(KeySymbol::Tab), 3U);
    keyboard.setModifiers({.control = true});
    EXPECT_EQ(after(KeySymbol::Tab), 3U);
}

TEST_F(HeadlessKeyboardTest, aTabThatTheViewHasAUseForMovesNothing) {
    view->add(1, true);
    view->takesKeys = true;
    keyboard.strike(KeySymbol::Tab);
    EXPECT_EQ(view->focused, 0U);
    view->takesKeys = false;
    view->all.clear();
    keyboard.strike(KeySymbol::Tab);
    EXPECT_EQ(view->focused, 0U);
}

TEST_F(HeadlessKeyboardTest, leavingLetsAllKeysGoAndTakesTheFocusAway) {
    view->add(1, true);
    keyboard.strike(KeySymbol::Tab);
    keyboard.press('x');
    keyboard.press('y');
    view->taken();
    keyboard.leave();
    EXPECT_THAT(view->taken(), ElementsAre("up 78", "up 79"));
    EXPECT_EQ(view->focused, 0U);
}

TEST_F(HeadlessKeyboardTest, withoutTheViewNothingHappens) {
    keyboard.press('x');
    view.reset();
    EXPECT_FALSE(keyboard.press('y'));
    EXPECT_FALSE(keyboard.release('x'));
    EXPECT_FALSE(keyboard.strike(KeySymbol::Tab));
    keyboard.write("x");
    keyboard.leave();
}

TEST_F(HeadlessKeyboardTest, whatHandlesAKeyMayDestroyTheKeyboard) {
    class Destroying : public Typed {
     public:
        bool keyDown(const std::shared_ptr<const Event>& event) override {
            keyboard.reset();
            return Typed::keyDown(event);
        }
        std::unique_ptr<HeadlessKeyboard> keyboard;
    };
    const auto destroying = std::make_shared<Destroying>();
    destroying->keyboard = std::make_unique<HeadlessKeyboard>(destroying);
    destroying->keyboard->strike('x');
    EXPECT_THAT(destroying->taken(), ElementsAre("down 78 'x'", "up 78"));
}
