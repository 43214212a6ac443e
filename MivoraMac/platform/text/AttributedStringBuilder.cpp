#include "MivoraMac/platform/text/AttributedStringBuilder.h"

namespace Mivora::platform {

AttributedStringBuilder::AttributedStringBuilder() : string_(MVMake<AttributedString>()) {}

AttributedStringBuilder::~AttributedStringBuilder() = default;

AttributedStringBuilder& AttributedStringBuilder::append(std::string_view text,
                                                         const TextAttributes& attributes) {
    string_->append(text, attributes);
    return *this;
}

AttributedStringBuilder& AttributedStringBuilder::append(const AttributedString& string) {
    string_->text_.append(string.text_);
    for (const AttributedString::Run& run : string.runs_) {
        string_->appendRun(run.length, run.attributes);
    }
    return *this;
}

std::shared_ptr<const AttributedString> AttributedStringBuilder::build() const {
    auto built = MVMake<AttributedString>();
    built->text_ = string_->text_;
    built->runs_ = string_->runs_;
    return built;
}

}  // namespace Mivora::platform
