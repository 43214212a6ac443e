// What of a tree assistive technology and the keyboard find.

#include "MivoraMac/views/MVElementListPrivate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/geometry/MVMath.h"
#include "MivoraMac/platform/windows/View.h"
#include "MivoraMac/views/MVBridgeView.h"
#include "MivoraMac/views/MVFilterView.h"
#include "MivoraMac/views/MVImageView.h"
#include "MivoraMac/views/MVTextView.h"
#include "tests/input/InputScene.h"
#include "tests/platform/base/ScopedEnvironment.h"

using Mivora::platform::Element;
using Mivora::platform::Rect;
using Mivora::platform::Role;
using Mivora::platform::View;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class MVElementListTest : public testing::Test {
 protected:
    std::shared_ptr<MVView> add(const std::shared_ptr<MVView>& superview, const std::string& label,
                                Mivora::Point2 position = {0, 0}, Mivora::Size2 size = {40, 30}) {
        auto view = MVView::init();
        view->setPosition(position);
        view->setSize(size);
        view->setAccessibilityLabel(label);
        superview->addSubview(view);
        return view;
    }
    std::shared_ptr<MVTextView> addText(const std::shared_ptr<MVView>& superview,
                                        const std::string& text) {
        auto view = MVTextView::init();
        view->setText(MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
            text, "Sans", 12, {0, 0, 0, 1}, 0, false));
        superview->addSubview(view);
        return view;
    }

    const std::vector<Element>& gather() { return list.gather(*window(), 400, 300); }
    const std::shared_ptr<MVWindow>& window() { return scene.window; }

    /// The labels in order, each after those of what it is in: "ring/card".
    std::vector<std::string> labels() {
        std::vector<std::string> result;
        for (const Element& element : gather()) {
            std::string path = element.label;
            for (std::uint64_t above = element.parent; above != 0;) {
                const Element* parent = find(above);
                path = parent->label + "/" + path;
                above = parent->parent;
            }
            result.push_back(path);
        }
        return result;
    }
    const Element* find(std::uint64_t identifier) {
        for (const Element& element : gather()) {
            if (element.identifier == identifier) {
                return &element;
            }
        }
        return nullptr;
    }
    Element elementOf(const std::shared_ptr<MVView>& view) {
        const Element* const found = find(view->mv_elementIdentifier());
        return found != nullptr ? *found : Element{};
    }

    Mivora::tests::ScopedEnvironment host{"MIVORA_HOST", "headless"};
    InputScene scene;
    MVElementList list;
};

void expectNear(const Rect& box, const Rect& expected) {
    EXPECT_NEAR(box.x, expected.x, 0.01);
    EXPECT_NEAR(box.y, expected.y, 0.01);
    EXPECT_NEAR(box.width, expected.width, 0.01);
    EXPECT_NEAR(box.height, expected.height, 0.01);
}

}  // namespace

// Who is one

TEST_F(MVElementListTest, plainViewsAreNone) {
    const auto view = MVView::init();
    window()->addSubview(view);
    view->addSubview(MVView::init());
    EXPECT_THAT(gather(), IsEmpty());
    EXPECT_FALSE(window()->mv_mayHaveElements());
}

TEST_F(MVElementListTest, whateverTheProgramSaysMakesAViewOne) {
    const auto make = [&](auto say) {
        auto view = MVView::init();
        say(*view);
        window()->addSubview(view);
        return elementOf(view);
    };
    EXPECT_EQ(make([](MVView&) {}).identifier, 0U);
    EXPECT_EQ(make([](MVView& view) { view.setAccessibilityLabel("a"); }).label, "a");
    EXPECT_EQ(make([](MVView& view) { view.setAccessibilityDescription("b"); }).description, "b");
    EXPECT_EQ(make([](MVView& view) { view.setAccessibilityValue("c"); }).value, "c");
    EXPECT_EQ(make([](MVView& view) { view.setAccessibilityRole(Role::Slider); }).role,
              Role::Slider);
    EXPECT_TRUE(make([](MVView& view) { view.setFocusable(true); }).focusable);
    EXPECT_THAT(make([](MVView& view) {
                    view.setAccessibilityActions({{"flip", [] {}}, {"drop", nullptr}});
                }).actions,
                ElementsAre("flip", "drop"));
    EXPECT_THAT(gather(), SizeIs(6));
    EXPECT_EQ(make([](MVView& view) { view.setFocusOrder(3); }).identifier, 0U);
    EXPECT_EQ(make([](MVView& view) { view.setCursor(MVCursor::Pointer); }).identifier, 0U);
}

TEST_F(MVElementListTest, anElementWithoutARoleIsAGroupOrWithActionsAButton) {
    const auto view = add(window(), "a");
    EXPECT_EQ(elementOf(view).role, Role::Group);
    view->setAccessibilityActions({{"press", [] {}}});
    EXPECT_EQ(elementOf(view).role, Role::Button);
    view->setAccessibilityRole(Role::CheckBox);
    EXPECT_EQ(elementOf(view).role, Role::CheckBox);
}

TEST_F(MVElementListTest, textViewsAreLabelsWithTheirTexts) {
    const auto view = addText(window(), "Grüße");
    EXPECT_EQ(elementOf(view).role, Role::Label);
    EXPECT_EQ(elementOf(view).label, "Grüße");
    view->setAccessibilityLabel("Greeting");
    view->setAccessibilityRole(Role::Heading);
    EXPECT_EQ(elementOf(view).role, Role::Heading);
    EXPECT_EQ(elementOf(view).label, "Greeting");
    view->setText(nullptr);
    view->setAccessibilityLabel("");
    view->setAccessibilityRole(Role::None);
    EXPECT_THAT(gather(), IsEmpty());
    view->setAccessibilityLabel("again");
    EXPECT_THAT(labels(), ElementsAre("again"));
}

TEST_F(MVElementListTest, aTextThatComesLaterIsFound) {
    const auto view = MVTextView::init();
    window()->addSubview(view);
    EXPECT_THAT(gather(), IsEmpty());
    EXPECT_THAT(gather(), IsEmpty());
    view->setText(MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
        "late", "Sans", 12, {0, 0, 0, 1}, 0, false));
    EXPECT_THAT(labels(), ElementsAre("late"));
}

TEST_F(MVElementListTest, imageViewsArePicturesOnceTheyHaveALabel) {
    const auto view = MVImageView::init();
    window()->addSubview(view);
    EXPECT_THAT(gather(), IsEmpty());
    view->setAccessibilityLabel("dunes");
    EXPECT_EQ(elementOf(view).role, Role::Picture);
    EXPECT_EQ(elementOf(view).label, "dunes");
}

TEST_F(MVElementListTest, nativeViewsStandAtTheirPlaces) {
    add(window(), "before");
    const auto native = View::initWithFrame({0, 0, 10, 10});
    const auto bridge = MVBridgeView::initWithBridgeView(native);
    window()->addSubview(bridge);
    add(window(), "after");
    const auto& elements = gather();
    ASSERT_THAT(elements, SizeIs(3));
    EXPECT_EQ(elements[1].embedded, native);
    EXPECT_EQ(elements[0].embedded, nullptr);
    bridge->setBridgeView(nullptr);
    EXPECT_THAT(gather(), SizeIs(2));
}

TEST_F(MVElementListTest, aButtonSpeaksForTheTextsInIt) {
    const auto button = add(window(), "");
    button->setAccessibilityRole(Role::Button);
    const auto face = MVView::init();
    button->addSubview(face);
    addText(face, "Two");
    addText(face, "words");
    EXPECT_THAT(labels(), ElementsAre("Two words"));
    button->setAccessibilityLabel("one");
    EXPECT_THAT(labels(), ElementsAre("one"));
    const auto own = addText(face, "mine");
    own->setFocusable(true);
    EXPECT_THAT(labels(), ElementsAre("one", "one/mine")) << "it is given something";
    button->setAccessibilityRole(Role::Group);
    EXPECT_THAT(labels(), ElementsAre("one", "one/Two", "one/words", "one/mine"));
}

// Order and hierarchy

TEST_F(MVElementListTest, orderAndHierarchyFollowTheTreePastPlainViews) {
    const auto ring = add(window(), "ring");
    const auto plain = MVView::init();
    ring->addSubview(plain);
    add(plain, "a");
    add(plain, "b");
    add(ring, "c");
    add(window(), "after");
    EXPECT_THAT(labels(), ElementsAre("ring", "ring/a", "ring/b", "ring/c", "after"));
}

TEST_F(MVElementListTest, theFocusOrderComesBeforeThatOfTheSubviews) {
    const auto first = MVView::init();
    const auto second = MVView::init();
    window()->addSubview(first);
    window()->addSubview(second);
    add(first, "a");
    add(first, "b")->setFocusOrder(-1);
    add(second, "c");
    add(second, "d");
    EXPECT_THAT(labels(), ElementsAre("b", "a", "c", "d"));
    first->setFocusOrder(1);
    EXPECT_THAT(labels(), ElementsAre("c", "d", "b", "a"));
}

TEST_F(MVElementListTest, hiddenViewsAreLeftOutWithAllThatIsInThem) {
    const auto outer = add(window(), "outer");
    const auto plain = MVView::init();
    outer->addSubview(plain);
    add(plain, "inner");
    plain->setHidden(true);
    EXPECT_THAT(labels(), ElementsAre("outer"));
    EXPECT_THAT(labels(), ElementsAre("outer"));
    outer->setHidden(true);
    EXPECT_THAT(labels(), IsEmpty());
    plain->setHidden(false);
    outer->setHidden(false);
    EXPECT_THAT(labels(), ElementsAre("outer", "outer/inner"));
}

TEST_F(MVElementListTest, viewsThatComeGoAndMoveAreFollowed) {
    const auto a = add(window(), "a");
    const auto plain = MVView::init();
    const auto b = add(plain, "b");
    window()->addSubview(plain);
    EXPECT_THAT(labels(), ElementsAre("a", "b"));
    plain->removeFromSuperview();
    EXPECT_THAT(labels(), ElementsAre("a"));
    a->addSubview(plain);
    EXPECT_THAT(labels(), ElementsAre("a", "a/b"));
    a->removeFromSuperview();
    EXPECT_THAT(labels(), IsEmpty());
    EXPECT_FALSE(window()->mv_mayHaveElements()) << "known once it has been looked for";
    window()->addSubview(b);
    EXPECT_THAT(labels(), ElementsAre("b"));
}

TEST_F(MVElementListTest, anElementKeepsItsIdentifierAndNoOtherHasIt) {
    const auto a = add(window(), "a");
    const auto b = add(window(), "b");
    const std::uint64_t identifier = elementOf(a).identifier;
    EXPECT_NE(identifier, 0U);
    EXPECT_NE(identifier, elementOf(b).identifier);
    a->setAccessibilityLabel("other");
    a->removeFromSuperview();
    window()->addSubview(a);
    EXPECT_EQ(elementOf(a).identifier, identifier);
    EXPECT_EQ(list.view(identifier), a);
    EXPECT_EQ(list.view(0), nullptr);
    a->removeFromSuperview();
    gather();
    EXPECT_EQ(list.view(identifier), nullptr);
}

TEST_F(MVElementListTest, whatIsDisabledFromAboveIsNotFocusable) {
    const auto outer = add(window(), "outer");
    const auto inner = add(outer, "inner");
    inner->setFocusable(true);
    EXPECT_FALSE(elementOf(inner).disabled);
    outer->setInteractionEnabled(false);
    EXPECT_TRUE(elementOf(inner).disabled);
    EXPECT_FALSE(elementOf(inner).focusable);
    EXPECT_FALSE(elementOf(outer).disabled) << "there is nothing to do with it anyway";
}

// Places

TEST_F(MVElementListTest, aBoxCountsFromTheBottomLeftCornerInPoints) {
    expectNear(elementOf(add(window(), "a", {10, 20}, {100, 50})).box, {10, 230, 100, 50});
    expectNear(elementOf(add(window(), "b", {-30, 290}, {100, 50})).box, {-30, -40, 100, 50});
    const auto scrolled = add(window(), "c", {10, 20}, {100, 50});
    scrolled->setLocalOrigin({7, 9});
    expectNear(elementOf(scrolled).box, {10, 230, 100, 50});
}

TEST_F(MVElementListTest, aBoxIsWhatIsSeenInPerspective) {
    const auto outer = add(window(), "outer", {200, 150}, {200, 160});
    outer->setAnchorPoint({0.5F, 0.5F});
    outer->setRotation3({0.6F, -0.5F, 0.4F});
    const auto view = add(outer, "inner", {30, 20}, {100, 80});
    view->setUniformScale(0.7F);
    const Rect box = elementOf(view).box;
    double left = 1e9;
    double right = -1e9;
    double bottom = 1e9;
    double top = -1e9;
    for (const Mivora::Point2 corner : {Mivora::Point2{0, 0}, {100, 0}, {100, 80}, {0, 80}}) {
        const Mivora::Point2 seen = scene.placeOf(view, corner.x, corner.y);
        left = std::min(left, static_cast<double>(seen.x));
        right = std::max(right, static_cast<double>(seen.x));
        bottom = std::min(bottom, static_cast<double>(seen.y));
        top = std::max(top, static_cast<double>(seen.y));
    }
    expectNear(box, {left, bottom, right - left, top - bottom});
}

TEST_F(MVElementListTest, whatLiesBehindTheEyeHasAnEmptyBox) {
    const auto view = add(window(), "a", {100, 100}, {50, 50});
    view->setPosition3({100, 100, 5000});
    EXPECT_EQ(elementOf(view).box, Rect());
    EXPECT_EQ(elementOf(view).label, "a");
}

TEST_F(MVElementListTest, whatReachesBehindTheEyeHasTheBoxOfWhatIsBeforeIt) {
    // Seen from its edge on: from far behind the window's plane to behind the eye.
    const auto view = add(window(), "a", {200, 200}, {2000, 20});
    view->setRotation3({0, -1.4F, 0});
    const Rect box = elementOf(view).box;
    EXPECT_TRUE(std::isfinite(box.x) && std::isfinite(box.width));
    EXPECT_GT(box.width, 0);
    EXPECT_NEAR(box.x, 200, 0.01) << "its left edge lies in the window's plane";
    EXPECT_GT(box.height, 20) << "and it grows as it comes nearer";
}

TEST_F(MVElementListTest, brokenPlacementsHaveAnEmptyBoxAndHugeOnesAnEnd) {
    const auto view = add(window(), "a");
    view->setPosition({NAN, 0});
    EXPECT_EQ(elementOf(view).box, Rect());
    view->setPosition({0, 0});
    view->setSize({INFINITY, 10});
    EXPECT_EQ(elementOf(view).box, Rect());
    view->setSize({1e20F, 10});
    EXPECT_LE(elementOf(view).box.width, 2e6);
}

TEST_F(MVElementListTest, whatAFilterViewShowsIsWhereItShowsIt) {
    // As in a plain view in its place.
    const auto plain = add(window(), "plain", {200, 150}, {200, 160});
    const auto filter = MVFilterView::init();
    filter->setPosition({200, 150});
    filter->setSize({200, 160});
    window()->addSubview(filter);
    const auto expected = add(plain, "expected", {30, 20}, {100, 80});
    const auto view = add(filter, "view", {30, 20}, {100, 80});
    for (const std::shared_ptr<MVView>& holder : {plain, std::shared_ptr<MVView>(filter)}) {
        holder->setAnchorPoint({0.5F, 0.5F});
        holder->setRotation3({0.3F, -0.2F, 0.4F});
        holder->setUniformScale(1.2F);
    }
    expectNear(elementOf(view).box, elementOf(expected).box);
}

TEST_F(MVElementListTest, viewsInAFilterViewCanHaveTheFocusOfTheWindow) {
    const auto filter = MVFilterView::init();
    window()->addSubview(filter);
    const auto view = add(filter, "view");
    view->setFocusable(true);
    EXPECT_TRUE(view->focus());
    EXPECT_EQ(window()->focusedView(), view);
    EXPECT_EQ(filter->mv_window()->focusedView(), nullptr);
    EXPECT_THAT(labels(), ElementsAre("view"));
    filter->removeFromSuperview();
    EXPECT_EQ(window()->focusedView(), nullptr);
}

// News

TEST_F(MVElementListTest, theWindowHearsOfEveryChange) {
    const auto outer = MVView::init();
    window()->addSubview(outer);
    const auto view = add(outer, "a");
    const auto text = addText(outer, "text");
    const auto filter = MVFilterView::init();
    window()->addSubview(filter);
    const auto filtered = add(filter, "b");
    const auto hears = [&](auto change) {
        window()->mv_takeElementsChanged();
        change();
        return window()->mv_takeElementsChanged();
    };
    EXPECT_TRUE(hears([&] { view->setAccessibilityLabel("other"); }));
    EXPECT_FALSE(hears([&] { view->setAccessibilityLabel("other"); }));
    EXPECT_TRUE(hears([&] { view->setAccessibilityDescription("more"); }));
    EXPECT_TRUE(hears([&] { view->setAccessibilityValue("1"); }));
    EXPECT_TRUE(hears([&] { view->setAccessibilityRole(Role::Link); }));
    EXPECT_TRUE(hears([&] { view->setAccessibilityActions({{"go", [] {}}}); }));
    EXPECT_TRUE(hears([&] { view->setFocusable(true); }));
    EXPECT_TRUE(hears([&] { view->setFocusOrder(1); }));
    EXPECT_TRUE(hears([&] { text->setText(nullptr); }));
    EXPECT_TRUE(hears([&] { outer->setInteractionEnabled(false); }));
    EXPECT_TRUE(hears([&] { filtered->setAccessibilityLabel("c"); }));
    EXPECT_TRUE(hears([&] { filtered->setAccessibilityLabel("d"); })) << "and again";
    EXPECT_TRUE(hears([&] { view->setCursor(MVCursor::Pointer); }));
    EXPECT_FALSE(hears([&] { MVView::init()->setAccessibilityLabel("nowhere"); }));
}
