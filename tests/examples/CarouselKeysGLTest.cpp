// The carousel without a mouse: what keys do, and what a screen reader finds.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/MivoraMac.h"
#include "examples/carousel/CardList.h"
#include "examples/carousel/Carousel.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/support/GLTest.h"

using Mivora::platform::Element;
using Mivora::platform::HeadlessKeyboard;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::KeySymbol;
using Mivora::platform::Role;
using testing::ElementsAre;

namespace {

class CarouselKeysTest : public Mivora::tests::GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        application_ = MVApplication::init();
        carousel_ = Carousel::make(application_->animationClock());
        carousel_->setSize({800, 500});
        application_->window()->addSubview(carousel_);
        frame_ = HeadlessWindow::create("", {0, 0, 800, 500});
        frame_->setContentView(application_->renderView());
        frame_->show();
        keyboard_ = std::make_unique<HeadlessKeyboard>(application_->renderView());
        passSeconds(0.1);
    }
    void TearDown() override {
        keyboard_.reset();
        carousel_.reset();
        frame_.reset();
        application_.reset();
        Mivora::platform::MainThread::runUntil([] { return false; }, 0);
        GLTest::TearDown();
    }

    /// Runs frames without drawing them.
    void passSeconds(double seconds) {
        for (double passed = 0; passed < seconds; passed += 1.0 / 60) {
            application_->animationClock()->tickVideoSync(1.0 / 60, 0);
        }
    }

    std::vector<Element> elements() { return application_->renderView()->elements(); }
    Element focused() {
        for (const Element& element : elements()) {
            if (element.identifier == application_->renderView()->focusedElement()) {
                return element;
            }
        }
        return {};
    }
    Element elementOf(const std::string& label) {
        for (const Element& element : elements()) {
            if (element.label == label) {
                return element;
            }
        }
        return {};
    }

    std::shared_ptr<MVApplication> application_;
    std::shared_ptr<Carousel> carousel_;
    std::shared_ptr<HeadlessWindow> frame_;
    std::unique_ptr<HeadlessKeyboard> keyboard_;
};

}  // namespace

TEST_F(CarouselKeysTest, tabComesToTheCardInFrontAndGoesOnBehindTheRing) {
    keyboard_->strike(KeySymbol::Tab);
    EXPECT_EQ(focused().label,
              carousel_->names()[static_cast<std::size_t>(carousel_->frontCard())]);
    EXPECT_EQ(focused().role, Role::Button);
    keyboard_->strike(KeySymbol::Tab);
    EXPECT_EQ(focused().identifier, 0U);
}

TEST_F(CarouselKeysTest, arrowKeysTurnTheRingAndTheFocusGoesAlong) {
    keyboard_->strike(KeySymbol::Tab);
    const int front = carousel_->frontCard();
    for (const std::uint32_t key : {KeySymbol::Right, KeySymbol::Right, KeySymbol::Left}) {
        EXPECT_TRUE(keyboard_->strike(key));
    }
    EXPECT_TRUE(carousel_->currentCard()->isFocused()) << "at once";
    const std::shared_ptr<Card> chosen = carousel_->currentCard();
    passSeconds(6);
    EXPECT_EQ(carousel_->currentCard(), chosen);
    EXPECT_EQ(carousel_->frontCard() % 30, (front + 1) % 30);
    EXPECT_TRUE(chosen->isFocused());
    EXPECT_FALSE(keyboard_->strike(KeySymbol::Escape)) << "the window's";
}

TEST_F(CarouselKeysTest, aRingThatIsTurnedOtherwiseTakesTheFocusAlongToTheCardInFront) {
    keyboard_->strike(KeySymbol::Tab);
    carousel_->spin(2);
    passSeconds(6);
    EXPECT_EQ(focused().label,
              carousel_->names()[static_cast<std::size_t>(carousel_->frontCard())]);
}

TEST_F(CarouselKeysTest, returnAndSpaceTurnTheCardOver) {
    keyboard_->strike(KeySymbol::Tab);
    EXPECT_EQ(focused().value, "front");
    EXPECT_TRUE(keyboard_->press(KeySymbol::Return));
    EXPECT_TRUE(keyboard_->press(KeySymbol::Return)) << "a held key turns it once";
    keyboard_->release(KeySymbol::Return);
    EXPECT_EQ(focused().value, "back");
    EXPECT_TRUE(keyboard_->strike(KeySymbol::Space));
    EXPECT_EQ(focused().value, "front");
}

TEST_F(CarouselKeysTest, aScreenReaderFindsTheCardsInTheirOrderAndTurnsThemOver) {
    const std::vector<Element> all = elements();
    ASSERT_EQ(all.size(), 1U + Carousel::kCards)
        << "the ring and its cards, and no texts of theirs";
    EXPECT_EQ(all[0].label, "Ring of cards");
    std::vector<std::string> labels;
    for (std::size_t i = 1; i < all.size(); ++i) {
        EXPECT_EQ(all[i].parent, all[0].identifier);
        labels.push_back(all[i].label);
    }
    EXPECT_EQ(labels, carousel_->names()) << "whatever the order of drawing is";
    EXPECT_THAT(all[1].actions, ElementsAre("Turn over"));
    EXPECT_TRUE(application_->renderView()->performAction(all[1].identifier, 0));
    EXPECT_EQ(elements()[1].value, "back");
    carousel_->setName(0, "Renamed");
    EXPECT_EQ(elements()[1].label, "Renamed");
    EXPECT_NE(elementOf("Renamed").identifier, 0U);
}

TEST_F(CarouselKeysTest, theListOfNamesIsWalkedThroughByKeys) {
    const auto list = CardList::make(carousel_->names());
    list->setSize({CardList::kWidth, 300});
    application_->window()->addSubview(list);
    std::vector<int> chosen;
    list->setChooseHandler([&](int card) { chosen.push_back(card); });
    list->setFrontCard(3);
    keyboard_->strike(KeySymbol::Tab);
    keyboard_->strike(KeySymbol::Tab);
    EXPECT_EQ(focused().label, "Names of the cards");
    EXPECT_EQ(focused().value, carousel_->names()[3]);
    keyboard_->strike(KeySymbol::Down);
    EXPECT_EQ(focused().value, carousel_->names()[4]);
    keyboard_->strike(KeySymbol::End);
    EXPECT_EQ(list->contentOffset().y, 300.0F - 30 * 60) << "it scrolls along";
    keyboard_->strike(KeySymbol::PageUp);
    keyboard_->strike(KeySymbol::Home);
    keyboard_->strike(KeySymbol::Up);
    EXPECT_EQ(list->contentOffset().y, 0);
    EXPECT_THAT(chosen, ElementsAre(4, 59, 50, 0, 0));
}
