#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/windows/Modifiers.h"

namespace Mivora::platform {

class OpenGLView;

/// A keyboard that a program plays: every call delivers to a view the events that a desktop would,
/// and does what a desktop does with a Tab that the view has no use for.
///
///     HeadlessKeyboard keyboard(application->renderView());
///     keyboard.strike(KeySymbol::Tab);       // the first element that is focusable has the focus
///     keyboard.strike(KeySymbol::Return);
///     keyboard.write("Grüße");
///
/// As if the view were all that its window holds: beyond the last element the focus leaves the
/// view, and with the next Tab it comes in at the first one again. What assistive technology does,
/// a program does with the view itself: see `OpenGLView::elements` and `OpenGLView::performAction`.
///
/// What handles an event may destroy the keyboard; the call that delivered it still does what
/// follows.
///
/// Thread: main.
class MIVORA_EXPORT HeadlessKeyboard {
 public:
    /// A keyboard with no key held.
    /// @param view  held weakly; without it nothing happens
    explicit HeadlessKeyboard(const std::shared_ptr<OpenGLView>& view);
    HeadlessKeyboard(const HeadlessKeyboard&) = delete;
    HeadlessKeyboard& operator=(const HeadlessKeyboard&) = delete;

    /// Presses a key; one that is held repeats. It writes the character that its symbol stands for,
    /// unless Control or Alt is held.
    /// @param symbol  see `KeySymbol`
    /// @return whether the view had a use for it
    bool press(std::uint32_t symbol);

    /// Presses a key that writes something else, as after a dead key.
    /// @param text  UTF-8
    bool press(std::uint32_t symbol, const std::string& text);

    /// Lets a key go; one that is not held is left out.
    /// @return whether the view had a use for it
    bool release(std::uint32_t symbol);

    /// Presses and lets go.
    /// @return whether the view had a use for the press
    bool strike(std::uint32_t symbol);

    /// Strikes a key for each character. Line ends are Return, and tabs are Tab.
    /// @param text  UTF-8; what is none of it is left out
    void write(const std::string& text);

    /// The modifier keys that are held from now on; none at first. Delivers nothing by itself.
    void setModifiers(Modifiers modifiers) { state_->modifiers = modifiers; }

    /// Lets all keys go and takes the focus out of the view, as when the user turns to something
    /// else in the window.
    void leave();

    /// The keys that are held, by their symbols, in the order in which they were pressed.
    const std::vector<std::uint32_t>& held() const { return state_->held; }

 private:
    /// Outlives the keyboard while an event is being delivered.
    struct State {
        std::weak_ptr<OpenGLView> view;
        Modifiers modifiers;
        std::vector<std::uint32_t> held;

        bool press(std::uint32_t symbol, const std::string& text);
        bool release(std::uint32_t symbol);
        bool writes() const { return !modifiers.control && !modifiers.alt; }
        void moveFocus(bool forward) const;
    };

    std::shared_ptr<State> state_;
};

}  // namespace Mivora::platform
