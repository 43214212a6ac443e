#include "Card.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <numbers>
#include <vector>

#include <epoxy/gl.h>

#include "Colors.h"
#include "FingersOn.h"

using Mivora::platform::KeySymbol;

namespace {

constexpr float kPi = std::numbers::pi_v<float>;

/// How far what is blurred reaches beyond the card, in four points.
constexpr int kBlurMargin = static_cast<int>(3 * Card::kBlurRadius) - 1;

/// How long a card takes to turn over and to light up, in seconds.
constexpr float kTurnTime = 0.6F;
constexpr float kGlowTime = 0.15F;

std::shared_ptr<MVColorView> fill(Mivora::ColorRGBA color, Mivora::Rect2 rect) {
    auto view = MVColorView::initWithColor(color);
    view->setPosition(rect.origin);
    view->setSize(rect.size);
    return view;
}

/// A text that wraps, and ends in "…" where it is too long for its place.
MVTextView::AttributedStringPointer styled(const std::string& text, const std::string& font,
                                           float size, Mivora::ColorRGBA color) {
    constexpr int kLeft = 0;
    constexpr bool kShouldClip = true;
    return MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
        text, font, size, color, kLeft, kShouldClip);
}

std::shared_ptr<MVTextView> write(const MVTextView::AttributedStringPointer& text,
                                  Mivora::Rect2 rect) {
    auto view = MVTextView::init();
    view->setText(text);
    view->setPosition(rect.origin);
    view->setSize(rect.size);
    // Cards come close to the eye: more pixels keep their letters sharp.
    view->setTextureScaleFactor(2);
    return view;
}

/// A face of the card. Its parts are not hit themselves: the card is.
std::shared_ptr<MVView> makeFace() {
    auto face = MVView::init();
    face->setSize(Card::kSize);
    face->setAnchorPoint({0.5F, 0.5F});
    face->setPosition({Card::kSize.width / 2, Card::kSize.height / 2});
    face->setInteractionEnabled(false);
    return face;
}

/// A pattern for cards without a picture: bars that grow to the right.
void addPattern(MVView& face, float hue, Mivora::Rect2 rect) {
    face.addSubview(fill(hsb(hue, 0.55F, 0.35F), rect));
    constexpr int kBars = 9;
    const float step = rect.size.width / kBars;
    for (int i = 0; i < kBars; ++i) {
        const float share = static_cast<float>(i + 1) / kBars;
        const float height = rect.size.height * (0.15F + 0.7F * share * share);
        face.addSubview(fill(hsb(hue + 0.12F * share, 0.75F, 0.5F + 0.5F * share),
                             {{rect.origin.x + step * static_cast<float>(i) + 2,
                               rect.origin.y + rect.size.height - height},
                              {step - 4, height}}));
    }
}

/// The pattern on the back: how far the diamonds reach to the sides, the first being the largest,
/// and their colours.
constexpr std::array<float, 3> kDiamonds = {59, 41, 23};

Mivora::ColorRGBA diamondColor(float hue, std::size_t diamond) {
    return hsb(hue + 0.5F, 0.2F + 0.2F * static_cast<float>(diamond), 0.95F, 0.55F);
}

/// The back from afar: a picture of it with a margin, in a quarter of its points, that is blurred
/// here once and for all. A filter on a view is for what changes; it is run in every frame.
std::shared_ptr<MVImage> makeBlurredBack(float hue, const std::shared_ptr<MVFilter>& haze) {
    constexpr int kWidth = static_cast<int>(Card::kSize.width) / 4 + 2 * kBlurMargin;
    constexpr int kHeight = static_cast<int>(Card::kSize.height) / 4 + 2 * kBlurMargin;
    std::vector<std::uint8_t> pixels;
    pixels.reserve(std::size_t{4} * kWidth * kHeight);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const float right = 2 * static_cast<float>(2 * x + 1 - kWidth);
            const float down = 2 * static_cast<float>(2 * y + 1 - kHeight);
            Mivora::ColorRGBA color = hsb(hue, 0.65F, 0.55F);
            for (std::size_t i = 0; i < kDiamonds.size(); ++i) {
                if (std::abs(right) + std::abs(down) < kDiamonds[i]) {
                    const Mivora::ColorRGBA top = diamondColor(hue, i);
                    color.red += (top.red - color.red) * top.alpha;
                    color.green += (top.green - color.green) * top.alpha;
                    color.blue += (top.blue - color.blue) * top.alpha;
                }
            }
            const bool isOnCard = x >= kBlurMargin && x < kWidth - kBlurMargin &&
                                  y >= kBlurMargin && y < kHeight - kBlurMargin;
            for (const float part : {color.red, color.green, color.blue, 1.0F}) {
                pixels.push_back(isOnCard ? static_cast<std::uint8_t>(part * 255) : 0);
            }
        }
    }
    constexpr float kScale = 0.25F;
    const auto processor = MVImageProcessor::init();
    processor->setSourceImage(
        MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            pixels.data(), kWidth, kHeight, kScale, 0, true, GL_RGBA));
    processor->setFilter(haze);
    return processor->filterImage();
}

float towards(float value, float goal, float step) {
    return value < goal ? std::min(value + step, goal) : std::max(value - step, goal);
}

/// Starts and ends gently.
float ease(float share) {
    return share * share * (3 - 2 * share);
}

}  // namespace

std::shared_ptr<Card> Card::make(float hue, const std::shared_ptr<MVView>& picture,
                                 const std::string& title, const std::string& text,
                                 const std::shared_ptr<MVFilter>& haze) {
    auto card = MVMake<Card>(hue, picture, title, text, haze);
    card->addRecognizers();
    return card;
}

Card::Card(float hue, const std::shared_ptr<MVView>& picture, const std::string& title,
           const std::string& text, const std::shared_ptr<MVFilter>& haze)
    : hue_(hue), title_(write(nullptr, {{8, 137}, {134, 16}})) {
    setSize(kSize);
    setAnchorPoint({0.5F, 0.5F});
    setMouseHoverEnabled(true);
    setCursor(MVCursor::Pointer);
    setAccessibilityRole(Mivora::platform::Role::Button);
    setAccessibilityDescription(text);
    setAccessibilityActions({{"Turn over", [this] { flip(); }}});
    sayWhichSide();

    front_ = makeFace();
    front_->addSubview(fill(hsb(hue, 0.12F, 1), {{0, 0}, kSize}));
    if (picture) {
        picture->setPosition(kPictureRect.origin);
        picture->setSize(kPictureRect.size);
        front_->addSubview(picture);
    } else {
        addPattern(*front_, hue, kPictureRect);
    }
    setTitle(title);
    front_->addSubview(title_);
    front_->addSubview(
        write(styled(text, "Sans", 9.5F, hsb(hue, 0.4F, 0.4F)), {{8, 155}, {134, 36}}));
    addSubview(front_);

    // The back is turned about, so that it reads right from behind.
    back_ = makeFace();
    back_->setRotation3({0, kPi, 0});
    back_->addSubview(fill(hsb(hue, 0.65F, 0.55F), {{0, 0}, kSize}));
    back_->addSubview(fill(hsb(hue, 0.7F, 0.4F), {{8, 8}, {134, 180}}));
    for (std::size_t i = 0; i < kDiamonds.size(); ++i) {
        auto diamond = MVColorView::initWithColor(diamondColor(hue, i));
        const float side = kDiamonds[i] * std::numbers::sqrt2_v<float>;
        diamond->setSize({side, side});
        diamond->setAnchorPoint({0.5F, 0.5F});
        diamond->setPosition({kSize.width / 2, kSize.height / 2});
        diamond->setRotation(kPi / 4);
        back_->addSubview(diamond);
    }
    back_->setHidden(true);
    addSubview(back_);
    blurredBack_ = MVImageView::initWithImage(makeBlurredBack(hue, haze));
    blurredBack_->setAnchorPoint({0.5F, 0.5F});
    blurredBack_->setPosition({kSize.width / 2, kSize.height / 2});
    blurredBack_->setInteractionEnabled(false);
    blurredBack_->setHidden(true);
    addSubview(blurredBack_);

    light_ = fill({1, 1, 1, 0.3F}, {{0, 0}, kSize});
    light_->setInteractionEnabled(false);
    light_->setHidden(true);
    addSubview(light_);
}

void Card::addRecognizers() {
    const auto tap = MVTapGestureRecognizer::initWithTargetAction(MVSelf(this), &Card::tapped);
    tap->setMaximumDuration(std::numeric_limits<double>::infinity());
    pinch_ = MVMake<FingersOn<MVPinchGestureRecognizer, Surface::Screen>>();
    pinch_->addTargetAction(MVSelf(this), &Card::pinched);
    rotation_ = MVMake<FingersOn<MVRotationGestureRecognizer, Surface::Screen>>();
    rotation_->addTargetAction(MVSelf(this), &Card::pinched);
    for (const auto& recognizer :
         std::initializer_list<std::shared_ptr<MVGestureRecognizer>>{tap, pinch_, rotation_}) {
        recognizer->setDelegate(MVSelf(this));
        addGestureRecognizer(recognizer);
    }
}

/// What is recognized on the card goes together; what is on the ring competes with it.
bool Card::gestureRecognizerShouldRecognizeSimultaneouslyWithGestureRecognizer(
    const std::shared_ptr<MVGestureRecognizer>& recognizer,
    const std::shared_ptr<MVGestureRecognizer>& other) {
    return recognizer->view() == other->view();
}

void Card::tapped(const std::shared_ptr<MVTapGestureRecognizer>& tap) {
    if (tap->state() == MVGestureRecognizerStateEnded) {
        flip();
    }
}

void Card::pinched(const std::shared_ptr<MVGestureRecognizer>& /*recognizer*/) {
    boundScale(*pinch_, kLeastScale, kLargestScale);
    wake();
}

void Card::wake() const {
    if (wake_) {
        wake_();
    }
}

void Card::setTitle(const std::string& title) {
    setAccessibilityLabel(title);
    title_->setText(styled(title, "Sans Bold", 12, hsb(hue_, 0.7F, 0.35F)));
}

bool Card::animate(float seconds) {
    const float glowGoal = hovered_ ? 1.0F : 0.0F;
    const float turnGoal = flipped_ ? 1.0F : 0.0F;
    glow_ = towards(glow_, glowGoal, seconds / kGlowTime);
    turn_ = towards(turn_, turnGoal, seconds / kTurnTime);
    light_->setHidden(glow_ == 0);
    light_->setOpacity(glow_);
    setUniformScale(pinch_->scale() * (1 + 0.08F * ease(glow_)));
    setRotation3({ringRotation_.x, ringRotation_.y + kPi * ease(turn_),
                  ringRotation_.z + rotation_->rotation()});
    return glow_ != glowGoal || turn_ != turnGoal;
}

void Card::flip() {
    flipped_ = !flipped_;
    sayWhichSide();
    wake();
}

void Card::sayWhichSide() {
    setAccessibilityValue(flipped_ ? "back" : "front");
}

void Card::place(Mivora::Point3 position, Mivora::Point3 rotation, bool isFar) {
    setPosition3(position);
    ringRotation_ = rotation;
    isFar_ = isFar;
}

void Card::showFacingSide() {
    // In world space the eye is the origin. It sees the front if it lies before the card's plane.
    const glm::mat4 world = transformMatrix();
    const glm::vec4 centre = world * glm::vec4(kSize.width / 2, kSize.height / 2, 0, 1);
    const glm::vec4 normal = world * glm::vec4(0, 0, 1, 0);
    const bool seesFront = normal.x * centre.x + normal.y * centre.y + normal.z * centre.z < 0;
    front_->setHidden(!seesFront);
    back_->setHidden(seesFront || isFar_);
    blurredBack_->setHidden(seesFront || !isFar_);
}

void Card::mouseHoverBegan(const std::shared_ptr<MVMouse>& /*mouse*/) {
    hovered_ = true;
    wake();
}

void Card::mouseHoverEnded(const std::shared_ptr<MVMouse>& /*mouse*/) {
    hovered_ = false;
    wake();
}

bool Card::keyBegan(const std::shared_ptr<MVKey>& key) {
    switch (key->symbol()) {
        case KeySymbol::Return:
        case KeySymbol::KeypadEnter:
        case KeySymbol::Space:
            if (!key->isRepeat()) {
                flip();
            }
            return true;
        default:
            return MVView::keyBegan(key);
    }
}
