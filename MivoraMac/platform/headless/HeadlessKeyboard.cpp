#include "MivoraMac/platform/headless/HeadlessKeyboard.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "MivoraMac/platform/windows/KeySymbol.h"
#include "MivoraMac/platform/windows/OpenGLView.h"

namespace Mivora::platform {

namespace {

constexpr std::uint32_t kUnicode = 0x01000000;

bool isLatin1(std::uint32_t number) {
    return (number >= 0x20 && number < 0x7f) || (number >= 0xa0 && number <= 0xff);
}

/// The character that a symbol stands for; none for a key that writes nothing.
std::optional<std::uint32_t> characterOf(std::uint32_t symbol) {
    if (isLatin1(symbol)) {
        return symbol;
    }
    if (symbol == KeySymbol::KeypadSpace) {
        return KeySymbol::Space;
    }
    if (symbol > kUnicode + 0xff && symbol <= kUnicode + 0x10ffff) {
        return symbol - kUnicode;
    }
    return std::nullopt;
}

std::string utf8(std::uint32_t character) {
    const auto tail = [character](unsigned shift) {
        return static_cast<char>(0x80U | ((character >> shift) & 0x3fU));
    };
    if (character < 0x80) {
        return {static_cast<char>(character)};
    }
    if (character < 0x800) {
        return {static_cast<char>(0xc0U | (character >> 6U)), tail(0)};
    }
    if (character < 0x10000) {
        return {static_cast<char>(0xe0U | (character >> 12U)), tail(6), tail(0)};
    }
    return {static_cast<char>(0xf0U | (character >> 18U)), tail(12), tail(6), tail(0)};
}

/// Takes the first character off a text; none for a byte that begins none, which is taken off, too.
std::optional<std::uint32_t> takeCharacter(std::string_view& text) {
    const auto first = static_cast<unsigned char>(text.front());
    const std::size_t length = first < 0x80   ? 1
                               : first < 0xc2 ? 0
                               : first < 0xe0 ? 2
                               : first < 0xf0 ? 3
                               : first < 0xf5 ? 4
                                              : 0;
    std::uint32_t character = length == 1 ? first : first & (0x7fU >> length);
    bool isWhole = length != 0 && length <= text.size();
    for (std::size_t i = 1; isWhole && i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        isWhole = (byte & 0xc0U) == 0x80;
        character = character << 6U | (byte & 0x3fU);
    }
    text.remove_prefix(isWhole ? length : 1);
    return isWhole ? std::optional(character) : std::nullopt;
}

std::optional<std::uint32_t> symbolOf(std::uint32_t character) {
    if (character == '\n' || character == '\r') {
        return KeySymbol::Return;
    }
    if (character == '\t') {
        return KeySymbol::Tab;
    }
    if (isLatin1(character)) {
        return character;
    }
    return character > 0xff ? std::optional(kUnicode + character) : std::nullopt;
}

}  // namespace

HeadlessKeyboard::HeadlessKeyboard(const std::shared_ptr<OpenGLView>& view)
    : state_(std::make_shared<State>()) {
    state_->view = view;
}

bool HeadlessKeyboard::press(std::uint32_t symbol) {
    const auto character = state_->writes() ? characterOf(symbol) : std::nullopt;
    return press(symbol, character ? utf8(*character) : std::string());
}

bool HeadlessKeyboard::press(std::uint32_t symbol, const std::string& text) {
    const std::shared_ptr<State> state = state_;
    return state->press(symbol, text);
}

bool HeadlessKeyboard::release(std::uint32_t symbol) {
    const std::shared_ptr<State> state = state_;
    return state->release(symbol);
}

bool HeadlessKeyboard::strike(std::uint32_t symbol) {
    const std::shared_ptr<State> state = state_;
    const bool isHandled = press(symbol);
    state->release(symbol);
    return isHandled;
}

void HeadlessKeyboard::write(const std::string& text) {
    const std::shared_ptr<State> state = state_;
    for (std::string_view rest = text; !rest.empty();) {
        const std::optional<std::uint32_t> character = takeCharacter(rest);
        if (const auto symbol = character ? symbolOf(*character) : std::nullopt) {
            const bool writes = state->writes() && characterOf(*symbol).has_value();
            state->press(*symbol, writes ? utf8(*character) : std::string());
            state->release(*symbol);
        }
    }
}

void HeadlessKeyboard::leave() {
    const std::shared_ptr<State> state = state_;
    while (!state->held.empty()) {
        state->release(state->held.front());
    }
    if (const std::shared_ptr<OpenGLView> target = state->view.lock()) {
        target->elementDidBlur(target->focusedElement());
    }
}

bool HeadlessKeyboard::State::press(std::uint32_t symbol, const std::string& text) {
    const std::shared_ptr<OpenGLView> target = view.lock();
    if (!target) {
        return false;
    }
    const auto event = std::make_shared<Event>();
    event->type = Event::Type::KeyDown;
    event->key = symbol;
    event->text = text;
    event->modifiers = modifiers;
    event->isRepeat = std::find(held.begin(), held.end(), symbol) != held.end();
    if (!event->isRepeat) {
        held.push_back(symbol);
    }
    const bool isHandled = target->deliverKey(event);
    const bool isTab = symbol == KeySymbol::Tab || symbol == KeySymbol::BackTab;
    if (!isHandled && isTab && writes()) {
        moveFocus(symbol == KeySymbol::Tab && !modifiers.shift);
    }
    return isHandled;
}

bool HeadlessKeyboard::State::release(std::uint32_t symbol) {
    const std::shared_ptr<OpenGLView> target = view.lock();
    if (std::erase(held, symbol) == 0 || !target) {
        return false;
    }
    const auto event = std::make_shared<Event>();
    event->type = Event::Type::KeyUp;
    event->key = symbol;
    event->modifiers = modifiers;
    return target->deliverKey(event);
}

/// To the next element that is focusable or has a native view, or out of the view.
void HeadlessKeyboard::State::moveFocus(bool forward) const {
    const std::shared_ptr<OpenGLView> target = view.lock();
    if (!target) {
        return;
    }
    std::vector<std::uint64_t> stops;
    for (const Element& element : target->elements()) {
        if (element.focusable || element.embedded) {
            stops.push_back(element.identifier);
        }
    }
    if (!forward) {
        std::reverse(stops.begin(), stops.end());
    }
    const std::uint64_t focused = target->focusedElement();
    const auto current = std::find(stops.begin(), stops.end(), focused);
    const auto next = current == stops.end() ? stops.begin() : current + 1;
    if (next != stops.end()) {
        target->elementDidFocus(*next);
    } else {
        target->elementDidBlur(focused);
    }
}

}  // namespace Mivora::platform
