#include "MivoraMac/platform/gtk/GtkKeysPrivate.h"

#include <utility>

#include "MivoraMac/platform/windows/KeySymbol.h"

namespace Mivora::platform {

namespace {

Event keyEvent(Event::Type type, std::uint32_t symbol, guint code) {
    Event event;
    event.type = type;
    event.key = symbol;
    event.keyCode = code;
    return event;
}

}  // namespace

GtkKeys::~GtkKeys() {
    if (composer_ != nullptr) {
        g_signal_handlers_disconnect_by_data(composer_, this);
        g_object_unref(composer_);
    }
}

GtkKeys::Meaning GtkKeys::read(GdkEvent* event) {
    Meaning meaning;
    const guint code = gdk_key_event_get_keycode(event);
    const std::uint32_t symbol = gdk_key_event_get_keyval(event);
    if (gdk_event_get_event_type(event) == GDK_KEY_RELEASE) {
        if (held_.erase(code) != 0) {
            meaning.event = keyEvent(Event::Type::KeyUp, symbol, code);
        }
        return meaning;
    }
    std::string text = compose(event, meaning.isTaken);
    if (!meaning.isTaken) {
        meaning.event = keyEvent(Event::Type::KeyDown, symbol, code);
        meaning.event->text = std::move(text);
        meaning.event->isRepeat = !held_.emplace(code, symbol).second;
    }
    return meaning;
}

/// @param isTaken  set where the press only takes back what is being composed
/// @return what the press writes
std::string GtkKeys::compose(GdkEvent* event, bool& isTaken) {
    if ((gdk_event_get_modifier_state(event) & (GDK_CONTROL_MASK | GDK_ALT_MASK)) != 0) {
        return {};
    }
    if (composer_ == nullptr) {
        composer_ = gtk_im_context_simple_new();
        g_signal_connect(composer_, "commit",
                         G_CALLBACK(+[](GtkIMContext*, const char* text, gpointer self) {
                             static_cast<GtkKeys*>(self)->composed_ += text;
                         }),
                         this);
    }
    composed_.clear();
    const bool isUsed = gtk_im_context_filter_keypress(composer_, event) != FALSE;
    const std::uint32_t symbol = gdk_key_event_get_keyval(event);
    isTaken = isUsed && composed_.empty() &&
              (symbol == KeySymbol::BackSpace || symbol == KeySymbol::Escape);
    return std::move(composed_);
}

std::vector<Event> GtkKeys::releaseAll() {
    std::vector<Event> events;
    for (const auto& [code, symbol] : std::exchange(held_, {})) {
        events.push_back(keyEvent(Event::Type::KeyUp, symbol, code));
    }
    if (composer_ != nullptr) {
        gtk_im_context_reset(composer_);
    }
    return events;
}

}  // namespace Mivora::platform
