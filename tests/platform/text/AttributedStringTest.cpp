#include "MivoraMac/platform/text/AttributedString.h"

#include <gmock/gmock.h>

#include <string>

#include "MivoraMac/platform/text/AttributedStringBuilder.h"

using Mivora::platform::AttributedString;
using Mivora::platform::AttributedStringBuilder;
using Mivora::platform::TextAttributes;
using Mivora::platform::TextColor;
using Mivora::platform::TextFont;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Range = AttributedString::Run;

namespace {

const TextAttributes kLarge{TextFont{"Sans", 20}, {}, {}};
const TextAttributes kRed{{}, TextColor{1, 0, 0, 1}, {}};

std::string shown(const std::string& text) {
    const auto string = AttributedString::create(text);
    const auto shown = string->mv_shown();
    return shown ? shown->text() : string->text();
}

}  // namespace

TEST(AttributedStringTest, holdsTextWithTheSameAttributesThroughout) {
    const auto string = AttributedString::create("Grüße", kLarge);
    EXPECT_EQ(string->text(), "Grüße");
    EXPECT_THAT(string->runs(), ElementsAre(Range{0, 7, kLarge}));
    EXPECT_EQ(string->attributesAt(3), kLarge);
    EXPECT_EQ(string->attributesAt(300), kLarge);
}

TEST(AttributedStringTest, anEmptyTextHasNoRunsAndNoAttributes) {
    const auto string = AttributedString::create("", kLarge);
    EXPECT_TRUE(string->isEmpty());
    EXPECT_THAT(string->runs(), IsEmpty());
    EXPECT_EQ(string->attributesAt(0), TextAttributes());
}

TEST(AttributedStringTest, isEqualByTextAndAttributes) {
    EXPECT_EQ(*AttributedString::create("a", kLarge), *AttributedString::create("a", kLarge));
    EXPECT_FALSE(*AttributedString::create("a", kLarge) == *AttributedString::create("a", kRed));
    EXPECT_FALSE(*AttributedString::create("a", kLarge) == *AttributedString::create("b", kLarge));
}

TEST(AttributedStringTest, everyInvalidByteIsReplaced) {
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(AttributedString::create("a\xFF\xFE z")->text(),
              "a" + replacement + replacement + " z");
    EXPECT_EQ(AttributedString::create("\xC3")->text(), replacement) << "cut off";
    EXPECT_EQ(AttributedString::create("\xED\xA0\x80")->text(),
              replacement + replacement + replacement)
        << "half of a pair";
    EXPECT_EQ(AttributedString::create("\xC0\x80")->text(), replacement + replacement)
        << "too long";
}

TEST(AttributedStringTest, keepsNULButDoesNotShowIt) {
    const std::string text("a\0b\0", 4);
    EXPECT_EQ(AttributedString::create(text)->text(), text);
    EXPECT_EQ(shown(text), "ab");
}

TEST(AttributedStringTest, showsNoControlCharactersButTabsAndTheEndsOfLines) {
    EXPECT_EQ(shown("a\x01\x08\x0E\x1B\x1F\x7F\xC2\x80\xC2\x9F z"), "a z");
    EXPECT_EQ(shown("a\t\n\v\f\r\xC2\x85\xE2\x80\xA8\xE2\x80\xA9z"),
              "a\t\n\v\f\r\xC2\x85\xE2\x80\xA8\xE2\x80\xA9z");
}

TEST(AttributedStringTest, showsThirtyCharactersWithoutWidthInARow) {
    std::string marks;
    for (int i = 0; i < 30; ++i) {
        marks += "\xCC\x81";
    }
    EXPECT_EQ(shown("e" + marks + "z"), "e" + marks + "z");
    EXPECT_EQ(shown("e" + marks + "\xCC\x81\xCC\x81z" + marks), "e" + marks + "z" + marks);
}

TEST(AttributedStringTest, whatIsNotShownTakesItsAttributesWithIt) {
    const auto string = AttributedStringBuilder()
                            .append("a\x01", kLarge)
                            .append("\x02", kRed)
                            .append("b", kLarge)
                            .build();
    ASSERT_THAT(string->runs(), SizeIs(3));
    EXPECT_THAT(string->mv_shown()->runs(), ElementsAre(Range{0, 2, kLarge}));
}

TEST(AttributedStringTest, mostStringsAreShownAsTheyAre) {
    EXPECT_EQ(AttributedString::create("plain text")->mv_shown(), nullptr);
    EXPECT_EQ(AttributedString::create("Grüße")->mv_shown(), nullptr);
}

TEST(AttributedStringBuilderTest, putsPiecesTogetherAndJoinsThoseOfOneStyle) {
    AttributedStringBuilder builder;
    builder.append("one", kLarge).append(" two", kLarge).append("", kRed).append(" three", kRed);
    const auto string = builder.build();
    EXPECT_EQ(string->text(), "one two three");
    EXPECT_THAT(string->runs(), ElementsAre(Range{0, 7, kLarge}, Range{7, 6, kRed}));
    EXPECT_EQ(string->attributesAt(6), kLarge);
    EXPECT_EQ(string->attributesAt(7), kRed);
}

TEST(AttributedStringBuilderTest, appendsStringsWithTheirAttributes) {
    const auto two = AttributedStringBuilder().append("a", kLarge).append("b", kRed).build();
    const auto string =
        AttributedStringBuilder().append("c", kRed).append(*two).append(*two).build();
    EXPECT_THAT(string->runs(),
                ElementsAre(Range{0, 1, kRed}, Range{1, 1, kLarge}, Range{2, 1, kRed},
                            Range{3, 1, kLarge}, Range{4, 1, kRed}));
}

TEST(AttributedStringBuilderTest, whatIsAppendedLaterLeavesTheStringAsItWas) {
    AttributedStringBuilder builder;
    EXPECT_TRUE(builder.build()->isEmpty());
    const auto string = builder.append("a", kRed).build();
    builder.append("b", kRed);
    EXPECT_EQ(string->text(), "a");
    EXPECT_EQ(builder.build()->text(), "ab");
}
