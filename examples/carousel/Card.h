#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <MivoraMac/MivoraMac.h>

/// A card with a front and a back: it lights up while the pointer hovers over it, turns over when
/// it is clicked or tapped, when Return or Space is pressed while it has the focus and when a
/// screen reader asks it to, and two fingers on it make it larger and smaller and turn it.
class Card : public MVView, public MVGestureRecognizerDelegate {
 public:
    static constexpr Mivora::Size2 kSize{150, 196};

    /// Where a picture belongs on the front.
    static constexpr Mivora::Rect2 kPictureRect{{8, 8}, {134, 124}};

    /// How far what is out of focus is blurred, in four points of the card: a blur of a small
    /// picture costs little.
    static constexpr float kBlurRadius = 3;

    /// How small and how large fingers make it.
    static constexpr float kLeastScale = 0.5F;
    static constexpr float kLargestScale = 2;

    /// @param hue      of its colours, 0 to 1
    /// @param picture  what the front shows; null for a pattern
    /// @param title    below it, and what is written below that
    /// @param haze     puts what is far out of focus; one for all cards, since it has a program
    static std::shared_ptr<Card> make(float hue, const std::shared_ptr<MVView>& picture,
                                      const std::string& title, const std::string& text,
                                      const std::shared_ptr<MVFilter>& haze);

    /// What is written below the picture.
    void setTitle(const std::string& title);

    /// Called when the card wants `animate` to be called.
    void setWakeHandler(std::function<void()> wake) { wake_ = std::move(wake); }

    /// Moves on by one frame.
    /// @return whether there is more to do
    bool animate(float seconds);

    /// Turns the card over, or back.
    void flip();

    /// Places the card in the ring.
    /// @param rotation  without the turn of a flip
    /// @param isFar     behind the middle of the ring, where the backs of cards are out of focus
    void place(Mivora::Point3 position, Mivora::Point3 rotation, bool isFar);

    /// Shows the face that is turned to the eye.
    void showFacingSide();

    void mouseHoverBegan(const std::shared_ptr<MVMouse>& mouse) override;
    void mouseHoverEnded(const std::shared_ptr<MVMouse>& mouse) override;
    bool keyBegan(const std::shared_ptr<MVKey>& key) override;

    bool gestureRecognizerShouldRecognizeSimultaneouslyWithGestureRecognizer(
        const std::shared_ptr<MVGestureRecognizer>& recognizer,
        const std::shared_ptr<MVGestureRecognizer>& other) override;

 private:
    friend struct ::MVMaker;
    Card(float hue, const std::shared_ptr<MVView>& picture, const std::string& title,
         const std::string& text, const std::shared_ptr<MVFilter>& haze);

    void addRecognizers();
    void tapped(const std::shared_ptr<MVTapGestureRecognizer>& tap);
    void pinched(const std::shared_ptr<MVGestureRecognizer>& recognizer);
    void wake() const;
    void sayWhichSide();

    float hue_;
    std::shared_ptr<MVTextView> title_;
    std::shared_ptr<MVView> front_;
    std::shared_ptr<MVView> back_;
    std::shared_ptr<MVImageView> blurredBack_;
    std::shared_ptr<MVColorView> light_;
    std::function<void()> wake_;
    std::shared_ptr<MVPinchGestureRecognizer> pinch_;
    std::shared_ptr<MVRotationGestureRecognizer> rotation_;

    Mivora::Point3 ringRotation_ = Mivora::Point3::kZero;
    bool isFar_ = false;
    bool hovered_ = false;
    bool flipped_ = false;
    float glow_ = 0;  ///< 0 to 1, follows `hovered_`
    float turn_ = 0;  ///< 0 to 1, follows `flipped_`
};
