#pragma once

#include <cstdint>
#include <vector>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// At which side the lines of a paragraph stand, whichever way it is read.
enum class TextAlignment : std::uint8_t { Left = 0, Right = 1, Center = 2 };

/// What becomes of the part of a paragraph that there is no room for. Lines are broken between
/// words in any case, and within words that are wider than a line.
enum class LineBreakMode : std::uint8_t {
    WordWrapping = 0,    ///< it is left out
    TruncatingTail = 4,  ///< it is left out, and the last line that fits ends in "…"
};

/// How a paragraph is set: a short list of settings. What is not set is as the comments say.
class MIVORA_EXPORT ParagraphStyle {
 public:
    /// One setting.
    struct Setting {
        /// What is set.
        enum class Specifier : std::uint32_t { Alignment = 0, LineBreakMode = 6 };
        /// What is set.
        Specifier specifier;
        /// What to: the number of a `TextAlignment` or of a `LineBreakMode`.
        std::uint8_t value;
        /// Compares both.
        bool operator==(const Setting&) const = default;
    };

    /// Nothing is set.
    ParagraphStyle() = default;
    /// Of settings of one specifier the last one counts. Values that mean nothing count as 0.
    explicit ParagraphStyle(std::vector<Setting> settings);

    /// In the order they were given.
    const std::vector<Setting>& settings() const { return settings_; }

    /// Left unless set.
    TextAlignment alignment() const;
    /// Word wrapping unless set.
    LineBreakMode lineBreakMode() const;

    /// Compares the settings one by one.
    bool operator==(const ParagraphStyle&) const = default;

 private:
    std::uint8_t valueOf(Setting::Specifier specifier) const;

    std::vector<Setting> settings_;
};

}  // namespace Mivora::platform
