#include "MivoraMac/views/MVTextView.h"

#include <epoxy/gl.h>

#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <string>

#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/text/AttributedStringBuilder.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/text/ToolkitText.h"
#include "tests/support/QueueGate.h"
#include "tests/views/RenderedViewTest.h"

using Mivora::Size2;
using Mivora::platform::BitmapImage;
using Mivora::platform::MainThread;
using Mivora::platform::ParagraphStyle;
using Mivora::platform::Picture;
using Mivora::platform::TextAlignment;
using Mivora::platform::TextAttributes;
using Mivora::tests::callText;
using Mivora::tests::drawnByToolkit;
using Mivora::tests::LogCapture;
using Mivora::tests::QueueGate;
using Mivora::tests::ToolkitText;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using Specifier = ParagraphStyle::Setting::Specifier;
using Setting = ParagraphStyle::Setting;

namespace {

MVTextView::AttributedStringPointer string(const std::string& text, float size = 14,
                                           std::int32_t alignment = 0, bool shouldClip = false,
                                           Mivora::ColorRGBA color = {0, 0, 0, 1}) {
    return MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
        text, "DejaVu Sans", size, color, alignment, shouldClip);
}

class MVTextViewTest : public Mivora::tests::RenderedViewTest {
 protected:
    /// A view in the window.
    std::shared_ptr<MVTextView> show(const MVTextView::AttributedStringPointer& text, Size2 size,
                                     Mivora::Point2 position = {0, 0}) {
        auto view = MVTextView::init();
        window_->addSubview(view);
        view->setPosition(position);
        view->setText(text);
        view->setSize(size);
        return view;
    }
};

}  // namespace

// Strings

TEST(MVTextAlignementTest, valuesBeyondTheThreeAreLeft) {
    EXPECT_EQ(MVTextAlignementToCTTextAlignment(0), 0);
    EXPECT_EQ(MVTextAlignementToCTTextAlignment(1), 1);
    EXPECT_EQ(MVTextAlignementToCTTextAlignment(2), 2);
    EXPECT_EQ(MVTextAlignementToCTTextAlignment(3), 0);
    EXPECT_EQ(MVTextAlignementToCTTextAlignment(7), 0);
    EXPECT_EQ(MVTextAlignementToCTTextAlignment(0xFFFFFFFFU), 0);
}

TEST(MVTextViewStringTest, hasFontColourAndParagraphStyle) {
    const auto text = MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
        "Text", "Sans Bold", 17, {0.25F, 0.5F, 0.75F, 0.5F}, 1, false);
    EXPECT_EQ(text->text(), "Text");
    ASSERT_THAT(text->runs(), SizeIs(1));
    const TextAttributes& attributes = text->attributesAt(0);
    EXPECT_EQ(attributes.font, (Mivora::platform::TextFont{"Sans Bold", 17}));
    EXPECT_EQ(attributes.foregroundColor, (Mivora::platform::TextColor{0.25F, 0.5F, 0.75F, 0.5F}));
    EXPECT_EQ(attributes.paragraphStyle->alignment(), TextAlignment::Right);
}

TEST(MVTextViewStringTest, aStyleThatDoesNotClipHasOneSettingAndOneThatDoesHasTwo) {
    EXPECT_THAT(string("a", 14, 2, false)->attributesAt(0).paragraphStyle->settings(),
                ElementsAre(Setting{Specifier::Alignment, 2}));
    EXPECT_THAT(
        string("a", 14, 2, true)->attributesAt(0).paragraphStyle->settings(),
        ElementsAre(Setting{Specifier::Alignment, 2}, Setting{Specifier::LineBreakMode, 4}));
}

TEST(MVTextViewStringTest, anAlignmentThatIsNoneIsLeft) {
    for (const std::int32_t alignment : {-1, 3, 1 << 30}) {
        EXPECT_THAT(string("a", 14, alignment)->attributesAt(0).paragraphStyle->settings(),
                    ElementsAre(Setting{Specifier::Alignment, 0}));
    }
}

TEST(MVTextViewStringTest, knowsTheSizeForAWidthInWholePoints) {
    const Size2 one = MVTextView::sizeOfAttributedString(string("word"));
    EXPECT_GT(one.width, 30);
    EXPECT_EQ(one.width, std::ceil(one.width));
    EXPECT_EQ(one.height, 17);
    const Size2 two = MVTextView::sizeOfAttributedString(string("word word"), one.width);
    EXPECT_LE(two.width, one.width);
    EXPECT_EQ(two.height, 33);
    EXPECT_EQ(MVTextView::sizeOfAttributedString(nullptr), Size2::kZero);
    EXPECT_EQ(MVTextView::sizeOfAttributedString(string("")), Size2::kZero);
    EXPECT_GT(MVTextView::sizeOfAttributedString(string("m"), 0).width, 5) << "nothing is lost";
    EXPECT_GT(MVTextView::sizeOfAttributedString(string("m"), std::nanf("")).width, 5);
}

TEST(MVTextViewStringTest, aViewOfThatSizeShowsAllOfTheText) {
    for (int width = 20; width < 300; width += 9) {
        const auto text = string("Some words of different lengths, so that lines break.", 13.7F);
        const Size2 size = MVTextView::sizeOfAttributedString(text, static_cast<float>(width));
        EXPECT_EQ(MVTextView::sizeOfAttributedString(text, size.width).height, size.height);
    }
}

// When it is drawn

TEST_F(MVTextViewTest, aNewViewHasNoTextAndDrawsNothing) {
    const auto view = MVTextView::init();
    EXPECT_EQ(view->text(), nullptr);
    EXPECT_EQ(view->textureScaleFactor(), 1.0F);
    EXPECT_EQ(view->mv_textImage(), nullptr);
    window_->addSubview(view);
    EXPECT_THAT(drawing(), IsEmpty());
}

TEST_F(MVTextViewTest, drawsItsTextWithTheTexturedShaderBlendedAsPremultiplied) {
    const auto view = show(string("a"), {40, 20});
    view->setOpacity(0.5F);
    drawing();
    const auto texts = drawing();
    EXPECT_THAT(texts, Contains(callText("glBlendFunc", GL_ONE, GL_ONE_MINUS_SRC_ALPHA)));
    EXPECT_THAT(gl_->callsOf("glTexImage2D"), IsEmpty());
    EXPECT_THAT(capture().size.width, 200);
}

TEST_F(MVTextViewTest, theSameObjectAgainIsNotDrawnAnewButAnEqualOneIs) {
    const auto text = string("text");
    const auto view = show(text, {40, 20});
    EXPECT_EQ(uploads(), 1U);
    EXPECT_EQ(uploads(), 0U);
    window_->redrawRequests = 0;
    view->setText(text);
    EXPECT_EQ(window_->redrawRequests, 0);
    EXPECT_EQ(uploads(), 0U);
    view->setText(string("text"));
    EXPECT_EQ(window_->redrawRequests, 1);
    EXPECT_EQ(uploads(), 1U);
}

TEST_F(MVTextViewTest, aViewWithoutASizeHasNoImageAndDrawsNothingUntilItHasOne) {
    const auto view = show(string("text"), {0, 0});
    EXPECT_THAT(drawing(), IsEmpty());
    EXPECT_EQ(view->mv_textImage(), nullptr);
    view->setSize({0, 20});
    EXPECT_THAT(drawing(), IsEmpty());
    view->setSize({40, 20});
    EXPECT_EQ(uploads(), 1U);
    EXPECT_NE(view->mv_textImage(), nullptr);
}

TEST_F(MVTextViewTest, theTextureHasThePixelsOfTheViewTimesTheTextureScale) {
    useScale(2);
    const auto view = show(string("a"), {10, 10});
    view->setTextureScaleFactor(1.5F);
    drawing();
    EXPECT_THAT(uploadedSize(), ElementsAre(30, 30));
    EXPECT_EQ(view->mv_textImage()->scale(), 2.0F) << "the content's scale alone";
    EXPECT_EQ(view->mv_textImage()->size(), (Size2{15, 15}));
    EXPECT_TRUE(view->mv_textImage()->premultipliedAlpha());
    EXPECT_EQ(view->mv_textImage()->coordinateSystem(), 0);
}

TEST_F(MVTextViewTest, pixelsAreRoundedUp) {
    useScale(1.5F);
    show(string("a"), {10.1F, 11});
    drawing();
    EXPECT_THAT(uploadedSize(), ElementsAre(16, 17));
}

TEST_F(MVTextViewTest, anEqualTextureScaleAsksForNothing) {
    const auto view = show(string("a"), {10, 10});
    drawing();
    window_->redrawRequests = 0;
    view->setTextureScaleFactor(1);
    EXPECT_EQ(window_->redrawRequests, 0);
    EXPECT_EQ(uploads(), 0U);
    view->setTextureScaleFactor(2);
    EXPECT_EQ(window_->redrawRequests, 1);
    EXPECT_EQ(uploads(), 1U);
}

TEST_F(MVTextViewTest, withAnotherTextureScaleEverySizeThatIsSetDrawsAnew) {
    const auto view = show(string("a"), {10, 10});
    view->setTextureScaleFactor(2);
    drawing();
    view->setSize({10, 10});
    EXPECT_EQ(uploads(), 1U);
    view->setTextureScaleFactor(1);
    drawing();
    view->setSize({10, 10});
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(MVTextViewTest, anotherSizeDrawsAnewIntoTheSameTextureAndAsksForRedraws) {
    const auto view = show(string("a"), {10, 10});
    drawing();
    const auto image = view->mv_textImage();
    const auto texture = image->mv_texture();
    window_->redrawRequests = 0;
    view->setSize({20, 10});
    EXPECT_GE(window_->redrawRequests, 1);
    window_->redrawRequests = 0;
    EXPECT_EQ(uploads(), 1U);
    EXPECT_EQ(window_->redrawRequests, 1) << "for the vertices";
    EXPECT_EQ(view->mv_textImage(), image);
    EXPECT_EQ(image->mv_texture(), texture);
    EXPECT_EQ(image->size(), (Size2{20, 10}));
    window_->redrawRequests = 0;
    EXPECT_EQ(uploads(), 0U);
    EXPECT_EQ(window_->redrawRequests, 0);
}

TEST_F(MVTextViewTest, aDepthAloneDrawsNothingAnew) {
    const auto view = show(string("a"), {10, 10});
    drawing();
    view->setSize3({10, 10, 5});
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(MVTextViewTest, textsAreThereBeforeTheFirstViewIsDrawn) {
    show(string("a"), {10, 10});
    show(string("b"), {10, 10});
    finish();
    gl_->clear();
    window_->mv_prepareForDrawVisit();
    finish();
    EXPECT_THAT(gl_->callsOf("glTexImage2D"), SizeIs(2));
    EXPECT_EQ(uploads(), 0U);
}

TEST_F(MVTextViewTest, theMainThreadDoesNotWaitForUploads) {
    const auto view = show(string("a"), {10, 10});
    {
        QueueGate gate(*context_->dispatchQueue());
        window_->mv_drawVisit();
        view->setText(string("b"));
        window_->mv_drawVisit();
        gate.open();
    }
    finish();
    EXPECT_THAT(gl_->callsOf("glTexImage2D"), SizeIs(2));
}

TEST_F(MVTextViewTest, aViewThatGoesBeforeItsUploadLeavesNothing) {
    {
        QueueGate gate(*context_->dispatchQueue());
        auto view = show(string("a"), {10, 10});
        view->mv_buildTextImage();
        view->removeFromSuperview();
        view.reset();
        gate.open();
    }
    finish();  // TearDown counts the textures
}

TEST_F(MVTextViewTest, isDrawnWhileImagesAreLoadedInTheBackground) {
    Picture picture;
    picture.size = {64, 64};
    picture.rgba.assign(std::size_t{64} * 64 * 4, 128);
    const auto bitmap = BitmapImage::createWithPicture(picture);
    constexpr int kImages = 20;
    std::vector<std::shared_ptr<MVImage>> images;
    int loaded = 0;
    const auto view = show(nullptr, {60, 20});
    for (int i = 0; i < kImages; ++i) {
        images.push_back(MVImage::initWithCGImageScaleCompletionBlock(
            bitmap, 1, [&loaded](const auto&, bool success) { loaded += success ? 1 : 0; }));
        view->setText(string("text " + std::to_string(i)));
        EXPECT_EQ(uploads(), 1U);
    }
    MainThread::runUntil([&] { return loaded == kImages; }, 30);
    EXPECT_EQ(loaded, kImages);
}

// What it looks like

TEST_F(MVTextViewTest, noTextIsAClearBitmap) {
    for (const auto& text : {MVTextView::AttributedStringPointer(), string("")}) {
        useScale(1);
        const auto view = show(nullptr, {40, 20});
        view->setText(string("A"));
        drawing();
        view->setText(text);
        EXPECT_EQ(uploads(), 1U);
        EXPECT_THAT(capture().rgba, Each(255));
    }
}

TEST_F(MVTextViewTest, looksLikeTheToolkitsTextAtEveryScale) {
    for (const float scale : {1.0F, 1.5F, 2.0F}) {
        useScale(scale);
        show(string("Centred text, שלום, 😀 and so on and on", 14, 2, true), {120, 36}, {20, 30});
        ToolkitText expected;
        expected.markup = "Centred text, שלום, 😀 and so on and on";
        expected.alignment = PANGO_ALIGN_CENTER;
        expected.truncates = true;
        expected.width = 120;
        expected.height = 36;
        expected.scale = static_cast<double>(scale);
        expectAlike(capture("view-" + std::to_string(scale).substr(0, 3)),
                    static_cast<int>(20 * scale), static_cast<int>(30 * scale),
                    drawnByToolkit(expected));
    }
}

TEST_F(MVTextViewTest, fadesWithItsOpacity) {
    const auto view = show(string("█", 60), {60, 80});
    const Picture opaque = capture();
    view->setOpacity(0.5F);
    const Picture faded = capture();
    EXPECT_THAT(rgb(opaque, 20, 40), ElementsAre(0, 0, 0));
    EXPECT_NEAR(rgb(faded, 20, 40)[0], 128, 1);
}

TEST_F(MVTextViewTest, turnsWithItsView) {
    const auto view = show(string("Turned about", 20), {140, 30}, {100, 60});
    view->setAnchorPoint({0.5F, 0.5F});
    const Picture upright = capture("turned-0");
    view->setRotation(std::numbers::pi_v<float>);
    const Picture turned = capture("turned-180");
    int worst = 0;
    for (int y = 0; y < 120; ++y) {
        for (int x = 0; x < 200; ++x) {
            worst =
                std::max(worst, std::abs(rgb(upright, x, y)[0] - rgb(turned, 199 - x, 119 - y)[0]));
        }
    }
    EXPECT_LE(worst, 2);
    view->setRotation3({0, std::numbers::pi_v<float> / 2, 0});
    EXPECT_THAT(capture().rgba, Each(255)) << "seen from its edge";
}

TEST_F(MVTextViewTest, stylesOfSeveralKindsAreShownInOneView) {
    const auto text = Mivora::platform::AttributedStringBuilder()
                          .append(*string("█", 40, 0, false, {1, 0, 0, 1}))
                          .append(*string("█", 40, 0, false, {0, 0, 1, 0.5F}))
                          .build();
    show(text, {100, 60});
    const Picture picture = capture();
    EXPECT_THAT(rgb(picture, 10, 25), ElementsAre(255, 0, 0));
    EXPECT_NEAR(rgb(picture, 42, 25)[0], 128, 1);
    EXPECT_NEAR(rgb(picture, 42, 25)[2], 255, 1);
}

// Bad sizes

TEST_F(MVTextViewTest, aViewOfMorePixelsThanATextureCanHaveIsNotDrawnButSaysSoOnce) {
    const LogCapture log;
    GLint largest = 0;
    onQueue([&] { glGetIntegerv(GL_MAX_TEXTURE_SIZE, &largest); });
    const auto view = show(string("text"), {20, 20});
    drawing();
    view->setSize({static_cast<float>(largest) + 1, 20});
    EXPECT_EQ(uploads(), 0U);
    EXPECT_THAT(gl_->callsOf("glDrawArrays"), IsEmpty());
    drawing();
    ASSERT_THAT(log.lines(), SizeIs(1));
    EXPECT_THAT(log.lines()[0], Pair(LogCapture::Category::Images, HasSubstr("x 20 pixels")));
    view->setSize({20, std::numeric_limits<float>::infinity()});
    drawing();
    EXPECT_THAT(log.lines(), SizeIs(2));
    view->setSize({20, 20});
    EXPECT_EQ(uploads(), 1U) << "nothing is lost";
    EXPECT_EQ(view->text()->text(), "text");
}

TEST_F(MVTextViewTest, sizesAndScalesThatAreNoneDrawNothing) {
    const auto view = show(string("text"), {std::nanf(""), 20});
    EXPECT_THAT(drawing(), IsEmpty());
    view->setSize({-5, 20});
    EXPECT_THAT(drawing(), IsEmpty());
    view->setSize({20, 20});
    for (const float scale : {0.0F, -1.0F, std::nanf("")}) {
        view->setTextureScaleFactor(scale);
        EXPECT_THAT(drawing(), IsEmpty());
    }
    view->setTextureScaleFactor(1);
    view->setContentScaleFactor(0);
    EXPECT_THAT(drawing(), IsEmpty());
    view->setContentScaleFactor(1);
    EXPECT_EQ(uploads(), 1U);
}

TEST_F(MVTextViewTest, endlessAndBrokenTextsAreDrawnInBoundedTime) {
    std::string marks = "e";
    for (int i = 0; i < 1'000'000; ++i) {
        marks += "\xCC\x81";
    }
    const std::string texts[] = {
        std::string(1'000'000, 'm'),  std::string(100'000, '\n') + "end", marks,
        std::string(100'000, '\xFF'), std::string(100'000, '\0'),         "\x1B[1mcontrol\x07"};
    const auto view = show(nullptr, {60, 40});
    for (const std::string& text : texts) {
        for (const float size : {0.0F, -1.0F, std::nanf(""), 10'000.0F}) {
            view->setText(string(text, size));
            EXPECT_EQ(uploads(), 1U);
        }
    }
}
