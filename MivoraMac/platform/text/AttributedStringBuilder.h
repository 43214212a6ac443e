#pragma once

#include <memory>
#include <string_view>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/text/AttributedString.h"

namespace Mivora::platform {

/// Puts an attributed string together from pieces of different styles:
///
/// ```cpp
/// TextAttributes plain{TextFont{"Sans", 14}, TextColor{1, 1, 1}, std::nullopt};
/// TextAttributes bold = plain;
/// bold.font->name = "Sans Bold";
/// const auto string =
///     AttributedStringBuilder().append("A ", plain).append("loud", bold).append(" word",
///     plain).build();
/// ```
///
/// Thread: any, one at a time.
class MIVORA_EXPORT AttributedStringBuilder {
 public:
    /// Begins with no text.
    AttributedStringBuilder();
    ~AttributedStringBuilder();
    AttributedStringBuilder(const AttributedStringBuilder&) = delete;
    AttributedStringBuilder& operator=(const AttributedStringBuilder&) = delete;

    /// Adds text at the end. A character must not be split among pieces: its parts are invalid.
    AttributedStringBuilder& append(std::string_view text, const TextAttributes& attributes);
    /// Adds a string with its attributes.
    AttributedStringBuilder& append(const AttributedString& string);

    /// The string so far. More may be appended, which does not change it.
    std::shared_ptr<const AttributedString> build() const;

 private:
    std::shared_ptr<AttributedString> string_;
};

}  // namespace Mivora::platform
