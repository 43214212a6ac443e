#include "MivoraMac/platform/text/AttributedString.h"

#include <glib.h>

#include <algorithm>
#include <utility>

namespace Mivora::platform {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// The most characters without a width in a row that are shown: what the standard's format for
/// streams of text bears.
constexpr int kMostWithoutWidth = 30;

bool isASCII(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

/// Whether a byte of ASCII is a control character that means nothing to the layout.
bool isControl(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return (value < 0x20 && (value < '\t' || value > '\r')) || value == 0x7F;
}

/// Which characters of a text are shown, one by one.
class Filter {
 public:
    bool shows(gunichar character) {
        constexpr gunichar kNextLine = 0x85;
        if (character < 0x80) {
            withoutWidth_ = 0;
            return !isControl(static_cast<char>(character));
        }
        if (character < 0xA0) {
            return character == kNextLine;
        }
        withoutWidth_ = g_unichar_iszerowidth(character) ? withoutWidth_ + 1 : 0;
        return withoutWidth_ <= kMostWithoutWidth;
    }

 private:
    int withoutWidth_ = 0;
};

/// The bytes of the valid character that `at` points to.
std::size_t lengthOfCharacter(const char* at) {
    return static_cast<std::size_t>(g_utf8_next_char(at) - at);
}

}  // namespace

std::shared_ptr<const AttributedString> AttributedString::create(std::string_view text,
                                                                 TextAttributes attributes) {
    auto string = MVMake<AttributedString>();
    string->append(text, attributes);
    return string;
}

const TextAttributes& AttributedString::attributesAt(std::size_t index) const {
    static const TextAttributes none;
    if (runs_.empty()) {
        return none;
    }
    const auto after =
        std::upper_bound(runs_.begin(), runs_.end(), index,
                         [](std::size_t at, const Run& run) { return at < run.start; });
    return after == runs_.begin() ? runs_.front().attributes : std::prev(after)->attributes;
}

void AttributedString::append(std::string_view text, const TextAttributes& attributes) {
    const std::size_t before = text_.size();
    while (!text.empty()) {
        const char* end = nullptr;
        g_utf8_validate_len(text.data(), text.size(), &end);
        const auto valid = static_cast<std::size_t>(end - text.data());
        text_.append(text.substr(0, valid));
        text.remove_prefix(valid);
        if (!text.empty()) {
            // NUL, which counts as invalid there, or a byte that is.
            text_.append(text.front() == '\0' ? std::string_view("\0", 1) : kReplacement);
            text.remove_prefix(1);
        }
    }
    appendRun(text_.size() - before, attributes);
}

void AttributedString::appendRun(std::size_t length, const TextAttributes& attributes) {
    if (length == 0) {
        return;
    }
    if (!runs_.empty() && runs_.back().attributes == attributes) {
        runs_.back().length += length;
    } else {
        const std::size_t start = runs_.empty() ? 0 : runs_.back().start + runs_.back().length;
        runs_.push_back({start, length, attributes});
    }
}

std::shared_ptr<const AttributedString> AttributedString::mv_shown() const {
    if (std::all_of(text_.begin(), text_.end(),
                    [](char byte) { return isASCII(byte) && !isControl(byte); })) {
        return nullptr;
    }
    auto shown = MVMake<AttributedString>();
    shown->text_.reserve(text_.size());
    Filter filter;
    for (const Run& run : runs_) {
        const std::size_t before = shown->text_.size();
        const char* const end = text_.data() + run.start + run.length;
        for (const char* at = text_.data() + run.start; at < end;) {
            const std::size_t length = lengthOfCharacter(at);
            if (filter.shows(g_utf8_get_char(at))) {
                shown->text_.append(at, length);
            }
            at += length;
        }
        shown->appendRun(shown->text_.size() - before, run.attributes);
    }
    return shown->text_.size() == text_.size() ? nullptr : shown;
}

}  // namespace Mivora::platform
