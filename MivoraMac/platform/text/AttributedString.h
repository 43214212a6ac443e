#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/text/TextAttributes.h"

namespace Mivora::platform {

/// Text with attributes by range: an immutable value, shared by whoever shows it. A copy would be
/// the same, so none is made. For several styles in one string there is `AttributedStringBuilder`.
///
/// Text is UTF-8. Bytes that are none are replaced by U+FFFD, one for each such byte; NUL and other
/// control characters are kept, but are not shown. Lines end at line feeds, carriage returns, both
/// together, vertical tabs, form feeds, U+0085, U+2028 and U+2029. All but U+2028 end the
/// paragraph, too.
///
/// Thread: any.
class MIVORA_EXPORT AttributedString {
 public:
    /// A range of the text and what it looks like.
    struct Run {
        std::size_t start = 0;      ///< the first byte
        std::size_t length = 0;     ///< in bytes, above 0
        TextAttributes attributes;  ///< of all of it

        /// Compares the range and the attributes.
        bool operator==(const Run&) const = default;
    };

    /// Text with the same attributes throughout.
    static std::shared_ptr<const AttributedString> create(std::string_view text,
                                                          TextAttributes attributes = {});

    /// Valid UTF-8.
    const std::string& text() const { return text_; }
    /// Whether there is no text.
    bool isEmpty() const { return text_.empty(); }

    /// From the beginning to the end without gaps; neighbours differ. None for an empty text.
    const std::vector<Run>& runs() const { return runs_; }

    /// Those at a byte; those of the last run beyond the end, none for an empty text.
    const TextAttributes& attributesAt(std::size_t index) const;

    /// Compares text and attributes.
    bool operator==(const AttributedString& other) const {
        return text_ == other.text_ && runs_ == other.runs_;
    }

    /// Internal to the library: this string without what is not shown, which is control characters
    /// and, of more than 30 characters in a row that have no width, those that follow; null where
    /// that is this string itself.
    std::shared_ptr<const AttributedString> mv_shown() const;

 private:
    friend struct ::MVMaker;
    friend class AttributedStringBuilder;

    AttributedString() = default;

    /// Appends text, which need not be valid.
    void append(std::string_view text, const TextAttributes& attributes);
    void appendRun(std::size_t length, const TextAttributes& attributes);

    std::string text_;
    std::vector<Run> runs_;
};

}  // namespace Mivora::platform
