#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/windows/Modifiers.h"

class MVView;
struct MVMaker;

namespace Mivora::platform {
struct Event;
}

/// One press of a key until it is let go. The same record is sent to the hooks of views throughout,
/// also as often as the key repeats; see `MVKeyDispatcher`.
///
/// It is about keys, not about writing: text that is composed with an input method is the business
/// of an embedded entry of the toolkit (`MVBridgeView`).
///
/// Thread: main.
class MIVORA_EXPORT MVKey {
 public:
    /// A record without symbol and text, with no view.
    static std::shared_ptr<MVKey> init();
    /// A record with what the event says.
    /// @param event  null makes it `init`
    static std::shared_ptr<MVKey> initWithEvent(
        const std::shared_ptr<const Mivora::platform::Event>& event);

    ~MVKey();
    MVKey(const MVKey&) = delete;
    MVKey& operator=(const MVKey&) = delete;

    /// What is on the key; see `Mivora::platform::KeySymbol`.
    std::uint32_t symbol() const { return symbol_; }
    void setSymbol(std::uint32_t symbol) { symbol_ = symbol; }

    /// What the press writes, as UTF-8, after dead keys what results; empty for none.
    const std::string& text() const { return text_; }
    void setText(std::string text);

    /// The modifier keys that were held at the latest event.
    Mivora::platform::Modifiers modifiers() const { return modifiers_; }
    void setModifiers(Mivora::platform::Modifiers modifiers) { modifiers_ = modifiers; }

    /// Whether the latest event came from the key being held.
    bool isRepeat() const { return repeat_; }
    void setRepeat(bool repeat) { repeat_ = repeat; }

    /// The view whose hook is being called, as far as that is the library's, and after that the one
    /// that had a use for the key; null before and where nobody had. Held weakly.
    std::shared_ptr<MVView> view() const { return view_.lock(); }
    void setView(const std::shared_ptr<MVView>& view) { view_ = view; }

    /// Whether the key has been let go, or counts so: nothing passes it on any more.
    bool mv_isOver() const { return over_; }
    void mv_setOver() { over_ = true; }

 protected:
    friend struct MVMaker;
    MVKey();

 private:
    std::uint32_t symbol_ = 0;
    std::string text_;
    Mivora::platform::Modifiers modifiers_;
    bool repeat_ = false;
    bool over_ = false;
    std::weak_ptr<MVView> view_;
};
