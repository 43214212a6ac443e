#include "Carousel.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>

#include "Colors.h"
#include "FingersOn.h"
#include "Plot.h"

using Mivora::platform::KeySymbol;

namespace {

constexpr float kTurn = 2 * std::numbers::pi_v<float>;

constexpr int kStoreys = 2;
constexpr int kColumns = Carousel::kCards / kStoreys;
constexpr float kRadius = 900;
constexpr float kStoreyHeight = 224;

/// How far the ring's axis lies behind the window's plane, and how far it leans to the viewer.
constexpr float kAxisDepth = 790;
constexpr float kLean = 0.14F;

/// The part of its speed that a spinning ring loses in a second is 1 - exp(-kFriction).
constexpr float kFriction = 1.9F;
constexpr float kLeastVelocity = 0.02F;

/// How far a point of dragging or scrolling turns the ring, in radians.
constexpr float kAnglePerPoint = 1 / kRadius;

/// The size that everything is laid out for; other sizes scale it.
constexpr Mivora::Size2 kDesignSize{1280, 800};

/// The stage reaches far beyond that: a pointer meets a view's subviews only within its box.
constexpr Mivora::Size2 kStageSize{6000, 6000};

/// What a click of the wheel adds to the speed, for each point that it scrolls.
constexpr float kImpulse = 6 * kAnglePerPoint;

constexpr int kBackdropStrips = 32;

struct Caption {
    const char* title;
    const char* text;
};

/// What the cards with pictures say; the files are called as the titles, without capitals.
constexpr std::array<Caption, 8> kPictures = {{
    {"Dunes", "Sand that the wind has put into waves, one behind the other."},
    {"Mountains", "Ranges of blue, each paler than the one before it."},
    {"Night", "Stars above a dark land. Nobody has lit a lamp."},
    {"Sea", "Water as far as the eye can see, and a sun that is about to leave it."},
    {"Forest", "Firs in the mist: the further away, the less of them."},
    {"Planet", "A world with a ring, seen from one of its moons."},
    {"Balloons", "Up they go. There is no hurry, and hardly any wind."},
    {"City", "Windows at dusk, some of them lit already."},
}};

/// What those with a pattern say.
constexpr std::array<Caption, 4> kPatterns = {{
    {"Levels", "Nine bars, each a little higher than the one before it 📈"},
    {"Growth", "Bars that grow with the square of their distance from the left."},
    {"שלום", "עברית נקראת מימין לשמאל, גם על כרטיס מסתובב."},
    {"Steps", "A staircase of colours: nothing but rectangles."},
}};

/// The card that shows a plot.
constexpr int kPlotCard = 1;

/// "Dunes" as "dunes.jpg".
std::string fileOf(std::string title) {
    title[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(title[0])));
    return title + ".jpg";
}

/// Where in the ring a card is, in turns.
float placeOf(int card) {
    // The storeys stand shifted, so that all of the lower one is seen.
    const float column = static_cast<float>(card % kColumns) + (card >= kColumns ? 0.5F : 0.0F);
    return column / kColumns;
}

float hueOf(int column) {
    return 0.55F + static_cast<float>(column) / kColumns;
}

}  // namespace

std::shared_ptr<Carousel> Carousel::make(const std::shared_ptr<MVAnimationClock>& clock) {
    auto carousel = MVMake<Carousel>(clock);
    carousel->build();
    return carousel;
}

Carousel::Carousel(const std::shared_ptr<MVAnimationClock>& clock) : clock_(clock) {}

void Carousel::build() {
    for (int i = 0; i < kBackdropStrips; ++i) {
        const float share = static_cast<float>(i) / (kBackdropStrips - 1);
        auto strip = MVColorView::initWithColor(
            hsb(0.66F + 0.08F * share, 0.75F - 0.2F * share, 0.1F + 0.26F * share));
        strip->setInteractionEnabled(false);
        backdrop_.push_back(strip);
        addSubview(strip);
    }

    stage_ = MVView::init();
    stage_->setSize(kStageSize);
    stage_->setAnchorPoint({0.5F, 0.5F});
    addSubview(stage_);

    const auto weak = MVWeakSelf(this);
    const auto haze = MVBlurFilter::initWithBlurRadius(Card::kBlurRadius);
    for (int i = 0; i < kCards; ++i) {
        const int column = i % kColumns;
        const auto number = static_cast<std::size_t>(i / 2);
        std::shared_ptr<MVView> picture;
        Caption caption = kPatterns[number % kPatterns.size()];
        if (i == kPlotCard) {
            picture = Plot::make(hueOf(column));
            caption = {"Plot", "A curve that the program itself draws, with Cairo."};
        } else if (i % 2 == 0) {
            caption = kPictures[number % kPictures.size()];
            picture = MVImageView::initWithImage(MVImage::imageNamed(fileOf(caption.title)));
        }
        auto card = Card::make(hueOf(column), picture, caption.title, caption.text, haze);
        card->setWakeHandler([weak] {
            if (const auto carousel = weak.lock()) {
                carousel->wake();
            }
        });
        cards_.push_back(card);
        names_.emplace_back(caption.title);
        stage_->addSubview(card);
    }
    for (int i = 0; i < kCards; ++i) {
        // The order of the subviews is that of drawing, which changes.
        cards_[static_cast<std::size_t>(i)]->setFocusOrder(i);
    }
    setCursor(MVCursor::Grab);
    setAccessibilityRole(Mivora::platform::Role::Group);
    setAccessibilityLabel("Ring of cards");
    setAccessibilityDescription("The arrow keys turn it, Return turns a card over.");
    order_ = cards_;
    ribbon_ = makeRibbon();
    addSubview(ribbon_);

    pan_ = MVPanGestureRecognizer::initWithTargetAction(MVSelf(this), &Carousel::panned);
    addGestureRecognizer(pan_);
    zoom_ = MVMake<FingersOn<MVPinchGestureRecognizer, Surface::Touchpad>>();
    zoom_->addTargetAction(MVSelf(this), &Carousel::zoomed);
    addGestureRecognizer(zoom_);
    placeCards();
}

/// A strip at the bottom that shows which part of the ring is in front. Its tiles reach beyond it;
/// a stencil with pointed ends cuts them off.
std::shared_ptr<MVView> Carousel::makeRibbon() {
    constexpr Mivora::Size2 kSize{460, 34};
    auto ribbon = MVColorView::initWithColor({0, 0, 0, 0.5F});
    ribbon->setSize(kSize);
    ribbon->setAnchorPoint({0.5F, 0.5F});
    ribbon->setInteractionEnabled(false);

    auto shape = MVView::init();
    auto bar = MVColorView::init();
    bar->setPosition({kSize.height / 2, 0});
    bar->setSize({kSize.width - kSize.height, kSize.height});
    shape->addSubview(bar);
    for (const float x : {kSize.height / 2, kSize.width - kSize.height / 2}) {
        auto point = MVColorView::init();
        const float side = kSize.height / std::numbers::sqrt2_v<float>;
        point->setSize({side, side});
        point->setAnchorPoint({0.5F, 0.5F});
        point->setPosition({x, kSize.height / 2});
        point->setRotation(kTurn / 8);
        shape->addSubview(point);
    }
    ribbon->setStencilView(shape);

    for (int i = 0; i < kColumns; ++i) {
        auto tile = MVColorView::initWithColor(hsb(hueOf(i), 0.6F, 0.95F));
        tile->setSize({38, 24});
        tile->setAnchorPoint({0.5F, 0.5F});
        ribbon->addSubview(tile);
        tiles_.push_back(tile);
    }
    return ribbon;
}

void Carousel::spin(float velocity) {
    velocity_ = velocity;
    wake();
}

void Carousel::wake() {
    if (!ticking_) {
        ticking_ = true;
        clock_->startTick(MVSelf(this));
    }
}

void Carousel::tickVideoSync(double step, double /*sync*/) {
    const auto seconds = static_cast<float>(step);
    angle_ += velocity_ * seconds;
    velocity_ *= std::exp(-kFriction * seconds);
    if (std::abs(velocity_) < kLeastVelocity) {
        velocity_ = 0;
    }
    placeCards();
    bool moves = velocity_ != 0 || pan_->state() == MVGestureRecognizerStateChanged ||
                 pan_->state() == MVGestureRecognizerStateBegan;
    for (const auto& card : cards_) {
        moves = card->animate(seconds) || moves;
        card->showFacingSide();
    }
    if (!moves) {
        ticking_ = false;
        clock_->stopTick(MVSelf(this));
    }
}

void Carousel::placeCards() {
    for (int i = 0; i < kCards; ++i) {
        const int storey = i / kColumns;
        const float angle = angle_ + kTurn * placeOf(i);
        const float y = (static_cast<float>(storey) - 0.5F) * kStoreyHeight;
        const float z = kRadius * std::cos(angle);
        // The ring leans about the horizontal axis through its middle.
        cards_[static_cast<std::size_t>(i)]->place(
            {kStageSize.width / 2 + kRadius * std::sin(angle),
             kStageSize.height / 2 - 90 + y * std::cos(kLean) + z * std::sin(kLean),
             z * std::cos(kLean) - y * std::sin(kLean) - kAxisDepth},
            {-kLean, angle, 0}, z < 0);
        const float front = 0.5F + 0.5F * z / kRadius;
        cards_[static_cast<std::size_t>(i)]->setOpacity(0.5F + 0.5F * front);
    }
    // Views are drawn in their order, so what is farther away has to come first.
    std::stable_sort(order_.begin(), order_.end(), [](const auto& a, const auto& b) {
        return a->position3().z < b->position3().z;
    });
    const auto subviews = stage_->subviews();
    for (std::size_t i = 0; i < order_.size(); ++i) {
        if ((*subviews)[i] != order_[i]) {
            for (std::size_t j = i; j < order_.size(); ++j) {
                stage_->insertSubviewAtIndex(order_[j], static_cast<std::int64_t>(j));
            }
            break;
        }
    }
    moveRibbon();
    noteFront();
}

void Carousel::noteFront() {
    const auto card = std::find(cards_.begin(), cards_.end(), order_.back());
    const int front = static_cast<int>(card - cards_.begin());
    if (front == turningTo_) {
        turningTo_ = -1;
    }
    if (turningTo_ < 0) {
        setCurrent(front);
    }
    if (std::exchange(front_, front) != front && frontHandler_) {
        frontHandler_();
    }
}

/// Makes a card the one that can have the focus, which goes along if it is in the ring.
void Carousel::setCurrent(int card) {
    const std::shared_ptr<Card> before = currentCard();
    current_ = card;
    const std::shared_ptr<Card>& now = currentCard();
    now->setFocusable(true);
    if (before->isFocused()) {
        now->focus();
    }
    if (before != now) {
        before->setFocusable(false);
    }
}

bool Carousel::turnByKey(const MVKey& key) {
    const int storey = current_ / kColumns;
    const int column = current_ % kColumns;
    int card = current_;
    switch (key.symbol()) {
        case KeySymbol::Left:
            card = storey * kColumns + (column + kColumns - 1) % kColumns;
            break;
        case KeySymbol::Right:
            card = storey * kColumns + (column + 1) % kColumns;
            break;
        case KeySymbol::Up:
            card = column;
            break;
        case KeySymbol::Down:
            card = kColumns + column;
            break;
        case KeySymbol::Home:
            card = 0;
            break;
        case KeySymbol::End:
            card = kCards - 1;
            break;
        default:
            return false;
    }
    turnTo(card);
    turningTo_ = card == front_ ? -1 : card;
    setCurrent(card);
    return true;
}

bool Carousel::keyBegan(const std::shared_ptr<MVKey>& key) {
    return turnByKey(*key) || MVView::keyBegan(key);
}

void Carousel::setName(int card, const std::string& name) {
    names_[static_cast<std::size_t>(card)] = name;
    cards_[static_cast<std::size_t>(card)]->setTitle(name);
}

void Carousel::turnTo(int card) {
    // The shorter way round; gliding to rest, a velocity covers itself divided by the friction.
    const float way = std::remainder(-kTurn * placeOf(card) - angle_, kTurn);
    spin(way * kFriction);
}

void Carousel::moveRibbon() {
    constexpr float kStep = 46;
    const float middle = ribbon_->size().width / 2;
    for (std::size_t i = 0; i < tiles_.size(); ++i) {
        float column = static_cast<float>(i) + angle_ / kTurn * kColumns;
        column -= kColumns * std::round(column / kColumns);
        tiles_[i]->setPosition({middle + column * kStep, 17});
        tiles_[i]->setRotation(0.25F * column / kColumns);
    }
}

void Carousel::panned(const std::shared_ptr<MVGestureRecognizer>& /*recognizer*/) {
    const auto self = shared_from_this();
    const float translation = pan_->translationInView(self).x;
    switch (pan_->state()) {
        case MVGestureRecognizerStateBegan:
            pannedSoFar_ = 0;
            velocity_ = 0;
            turningTo_ = -1;
            break;
        case MVGestureRecognizerStateChanged:
            angle_ += (translation - pannedSoFar_) * kAnglePerPoint;
            pannedSoFar_ = translation;
            break;
        case MVGestureRecognizerStateEnded:
            velocity_ = pan_->velocityInView(self).x * kAnglePerPoint;
            break;
        default:
            break;
    }
    wake();
}

void Carousel::zoomed(const std::shared_ptr<MVPinchGestureRecognizer>& zoom) {
    boundScale(*zoom, kLeastZoom, kLargestZoom);
    scaleStage();
}

void Carousel::scaleStage() {
    stage_->setUniformScale(zoom_->scale() * std::min(size().width / kDesignSize.width,
                                                      size().height / kDesignSize.height));
}

void Carousel::scrollBegan(const std::shared_ptr<MVScroll>& scroll) {
    // A wheel begins with how far it was turned, and that is all there is; fingers and the press of
    // a button begin with nothing.
    const Mivora::Point2 translation = scroll->translation();
    turningTo_ = -1;
    velocity_ = translation == Mivora::Point2::kZero
                    ? 0
                    : velocity_ + (translation.x + translation.y) * kImpulse;
    wake();
}

void Carousel::scrollMoved(const std::shared_ptr<MVScroll>& scroll) {
    const Mivora::Point2 translation = scroll->translation();
    velocity_ = 0;
    angle_ += (translation.x + translation.y) * kAnglePerPoint;
    wake();
}

void Carousel::layoutSubviews() {
    const Mivora::Size2 extent = size();
    const float strip = std::ceil(extent.height / kBackdropStrips);
    for (std::size_t i = 0; i < backdrop_.size(); ++i) {
        backdrop_[i]->setPosition({0, static_cast<float>(i) * strip});
        backdrop_[i]->setSize({extent.width, strip});
    }
    stage_->setPosition({extent.width / 2, extent.height / 2});
    scaleStage();
    ribbon_->setPosition({extent.width / 2, extent.height - 36});
    for (const auto& card : cards_) {
        card->animate(0);
        card->showFacingSide();
    }
}
