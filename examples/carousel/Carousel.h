#pragma once

#include <MivoraMac/MivoraMac.h>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Card.h"

/// A ring of cards in two storeys that turns with drags, with the wheel and with the arrow keys,
/// and glides to rest. Two fingers on a touchpad zoom it.
///
/// Of its cards one can have the focus at a time, so that the Tab key comes to the ring and goes on
/// behind it: the one in front or, while an arrow key turns the ring, the one that it turns to.
///
/// It fills its superview's width and height. At rest it does nothing: it listens to the animation
/// clock only while something moves.
class Carousel : public MVView, public MVAnimationClockTick {
 public:
    static constexpr int kCards = 60;

    /// How far away and how near a touchpad brings it, as multiples of its size.
    static constexpr float kLeastZoom = 0.6F;
    static constexpr float kLargestZoom = 2;

    /// @param clock  what moves it
    static std::shared_ptr<Carousel> make(const std::shared_ptr<MVAnimationClock>& clock);

    /// The cards, by number.
    const std::vector<std::shared_ptr<Card>>& cards() const { return cards_; }

    /// The names of the cards, by number.
    const std::vector<std::string>& names() const { return names_; }

    /// Gives a card another name, which it shows.
    void setName(int card, const std::string& name);

    /// The number of the card in front.
    int frontCard() const { return front_; }

    /// Called when another card has come to the front.
    void setFrontHandler(std::function<void()> handler) { frontHandler_ = std::move(handler); }

    /// Turns the ring until a card is in front.
    void turnTo(int card);

    /// Turns the ring as an arrow key says, Home or End. Left and right go round, up and down to
    /// the other storey.
    /// @return whether it is one of these keys
    bool turnByKey(const MVKey& key);

    /// The card that can have the focus.
    const std::shared_ptr<Card>& currentCard() const {
        return cards_[static_cast<std::size_t>(current_)];
    }

    /// Turns the ring, which then goes on by itself and slows down.
    /// @param velocity  in radians a second
    void spin(float velocity);

    void tickVideoSync(double step, double sync) override;

    void scrollBegan(const std::shared_ptr<MVScroll>& scroll) override;
    void scrollMoved(const std::shared_ptr<MVScroll>& scroll) override;
    bool keyBegan(const std::shared_ptr<MVKey>& key) override;

 protected:
    void layoutSubviews() override;

 private:
    friend struct ::MVMaker;
    explicit Carousel(const std::shared_ptr<MVAnimationClock>& clock);

    void build();
    void panned(const std::shared_ptr<MVGestureRecognizer>& recognizer);
    void zoomed(const std::shared_ptr<MVPinchGestureRecognizer>& recognizer);
    void scaleStage();
    void wake();
    void placeCards();
    void noteFront();
    void setCurrent(int card);
    std::shared_ptr<MVView> makeRibbon();
    void moveRibbon();

    std::shared_ptr<MVAnimationClock> clock_;
    std::vector<std::shared_ptr<Card>> cards_;
    std::vector<std::shared_ptr<Card>> order_;  ///< from the back to the front
    std::shared_ptr<MVPanGestureRecognizer> pan_;
    std::shared_ptr<MVPinchGestureRecognizer> zoom_;
    std::vector<std::shared_ptr<MVColorView>> backdrop_;
    std::shared_ptr<MVView> stage_;  ///< Holds the cards; scaled to the size there is.
    std::shared_ptr<MVView> ribbon_;
    std::vector<std::shared_ptr<MVView>> tiles_;  ///< of the ribbon, one for each column

    std::vector<std::string> names_;
    int front_ = -1;
    int current_ = 0;     ///< the card that can have the focus
    int turningTo_ = -1;  ///< the card that a key turns the ring to, or -1
    std::function<void()> frontHandler_;

    float angle_ = 0;  ///< How far the ring is turned, in radians.
    float velocity_ = 0;
    float pannedSoFar_ = 0;
    bool ticking_ = false;
};
