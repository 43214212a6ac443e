#include "MivoraMac/platform/text/ParagraphStyle.h"

#include <gmock/gmock.h>

using Mivora::platform::LineBreakMode;
using Mivora::platform::ParagraphStyle;
using Mivora::platform::TextAlignment;
using Specifier = ParagraphStyle::Setting::Specifier;

TEST(ParagraphStyleTest, isLeftAndWrappedUnlessSet) {
    EXPECT_EQ(ParagraphStyle().alignment(), TextAlignment::Left);
    EXPECT_EQ(ParagraphStyle().lineBreakMode(), LineBreakMode::WordWrapping);
}

TEST(ParagraphStyleTest, theLastSettingOfAKindCounts) {
    const ParagraphStyle style(
        {{Specifier::Alignment, 1}, {Specifier::LineBreakMode, 4}, {Specifier::Alignment, 2}});
    EXPECT_EQ(style.alignment(), TextAlignment::Center);
    EXPECT_EQ(style.lineBreakMode(), LineBreakMode::TruncatingTail);
}

TEST(ParagraphStyleTest, valuesThatMeanNothingCountAsZero) {
    const ParagraphStyle style({{Specifier::Alignment, 3}, {Specifier::LineBreakMode, 7}});
    EXPECT_EQ(style.alignment(), TextAlignment::Left);
    EXPECT_EQ(style.lineBreakMode(), LineBreakMode::WordWrapping);
}

TEST(ParagraphStyleTest, isEqualBySettings) {
    EXPECT_EQ(ParagraphStyle({{Specifier::Alignment, 1}}),
              ParagraphStyle({{Specifier::Alignment, 1}}));
    EXPECT_FALSE(ParagraphStyle({{Specifier::Alignment, 0}}) == ParagraphStyle());
}
