#include "MivoraMac/platform/text/TextLayoutPrivate.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "MivoraMac/platform/text/AttributedStringBuilder.h"
#include "MivoraMac/platform/text/PixelCanvasPrivate.h"
#include "tests/platform/text/ToolkitText.h"

using Mivora::platform::AttributedString;
using Mivora::platform::AttributedStringBuilder;
using Mivora::platform::ParagraphStyle;
using Mivora::platform::Picture;
using Mivora::platform::PixelCanvas;
using Mivora::platform::TextAttributes;
using Mivora::platform::TextColor;
using Mivora::platform::TextFont;
using Mivora::platform::TextLayout;
using Mivora::tests::CairoPicture;
using Mivora::tests::drawnByToolkit;
using Mivora::tests::ToolkitText;
using Specifier = ParagraphStyle::Setting::Specifier;
using StringPointer = std::shared_ptr<const AttributedString>;

namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr TextColor kBlack{0, 0, 0, 1};

TextAttributes style(const std::string& font, float size, TextColor color = kBlack,
                     std::uint8_t alignment = 0, bool truncates = false) {
    std::vector<ParagraphStyle::Setting> settings = {{Specifier::Alignment, alignment}};
    if (truncates) {
        settings.push_back({Specifier::LineBreakMode, 4});
    }
    return {TextFont{font, size}, color, ParagraphStyle(settings)};
}

StringPointer plain(const std::string& text, float size = 14) {
    return AttributedString::create(text, style("DejaVu Sans", size));
}

StringPointer truncated(const std::string& text, float size = 14) {
    return AttributedString::create(text, style("DejaVu Sans", size, kBlack, 0, true));
}

std::size_t lines(const std::string& text, double width = kInfinite, double height = kInfinite) {
    return TextLayout(plain(text), width, height).lineCount();
}

Picture draw(const StringPointer& string, double width, double height, double scale = 1) {
    const CairoPicture picture(static_cast<int>(width * scale), static_cast<int>(height * scale));
    cairo_scale(picture.context(), scale, scale);
    TextLayout(string, width, height).draw(picture.context());
    return picture.picture();
}

/// Alpha added up over a row or over all: how much there is to see.
long inkOf(const Picture& picture, int fromRow = 0, int toRow = 1 << 20) {
    long ink = 0;
    for (int y = fromRow; y < std::min(toRow, picture.size.height); ++y) {
        for (int x = 0; x < picture.size.width; ++x) {
            ink += picture.pixel(x, y)[3];
        }
    }
    return ink;
}

/// The first and the last column with something to see, or -1, -1.
std::pair<int, int> columnsOf(const Picture& picture) {
    std::pair<int, int> columns{-1, -1};
    for (int x = 0; x < picture.size.width; ++x) {
        for (int y = 0; y < picture.size.height; ++y) {
            if (picture.pixel(x, y)[3] > 40) {
                columns.first = columns.first < 0 ? x : columns.first;
                columns.second = x;
            }
        }
    }
    return columns;
}

void keep(const Picture& picture, const std::string& name) {
    if (const char* const folder = std::getenv("MIVORA_KEEP_PICTURES")) {
        Picture onWhite = picture;
        for (std::size_t i = 0; i < onWhite.rgba.size(); ++i) {
            if (i % 4 != 3) {
                onWhite.rgba[i] =
                    static_cast<std::uint8_t>(onWhite.rgba[i] + 255 - picture.rgba[i / 4 * 4 + 3]);
            } else {
                onWhite.rgba[i] = 255;
            }
        }
        onWhite.writePNG((std::filesystem::path(folder) / (name + ".png")).string());
    }
}

/// Compares pictures pixel by pixel; 1 of 255 allows for another order of rounding.
void expectAlike(const Picture& picture, const Picture& expected, const std::string& name) {
    ASSERT_EQ(picture.size, expected.size) << name;
    keep(picture, name);
    keep(expected, name + ".toolkit");
    int worst = 0;
    for (std::size_t i = 0; i < picture.rgba.size(); ++i) {
        worst = std::max(worst, std::abs(picture.rgba[i] - expected.rgba[i]));
    }
    EXPECT_LE(worst, 1) << name;
    EXPECT_GT(inkOf(expected), 0) << name << " shows nothing";
}

constexpr const char* kHebrew = "שלום עולם";
constexpr const char* kArabic = "السلام عليكم";

}  // namespace

// Against the toolkit

struct Row {
    const char* name;
    const char* text;
    double width = 120;
    double height = 60;
    std::uint8_t alignment = 0;
    bool truncates = false;
    PangoAlignment pangoAlignment = PANGO_ALIGN_LEFT;
    const char* font = "DejaVu Sans";
    float size = 14;
};

class TextLayoutPictureTest : public testing::TestWithParam<Row> {};

TEST_P(TextLayoutPictureTest, looksLikeTheToolkitsAtEveryScale) {
    const Row& row = GetParam();
    for (const double scale : {1.0, 1.5, 2.0}) {
        const Picture picture =
            draw(AttributedString::create(
                     row.text, style(row.font, row.size, kBlack, row.alignment, row.truncates)),
                 row.width, row.height, scale);
        ToolkitText expected;
        expected.markup = row.text;
        expected.font = row.font;
        expected.size = row.size;
        expected.width = row.width;
        expected.height = row.height;
        expected.scale = scale;
        expected.alignment = row.pangoAlignment;
        expected.truncates = row.truncates;
        expectAlike(picture, drawnByToolkit(expected),
                    std::string(row.name) + "-" + std::to_string(scale).substr(0, 3));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TextLayoutPictureTest,
    testing::Values(
        Row{"left", "Left aligned text that wraps"},
        Row{"right", "Right aligned text that wraps", 120, 60, 1, false, PANGO_ALIGN_RIGHT},
        Row{"centre", "Centred text that wraps", 120, 60, 2, false, PANGO_ALIGN_CENTER},
        Row{"word", "Rindfleischetikettierungsüberwachung wraps", 100, 80},
        Row{"truncated", "A long text that does not fit in there", 100, 34, 0, true},
        Row{"truncated-right", "A long text that does not fit in there", 100, 34, 1, true,
            PANGO_ALIGN_RIGHT},
        Row{"hebrew-left", kHebrew, 160, 40, 0, false, PANGO_ALIGN_RIGHT},
        Row{"hebrew-right", kHebrew, 160, 40, 1, false, PANGO_ALIGN_LEFT},
        Row{"arabic", kArabic, 160, 40, 0, false, PANGO_ALIGN_RIGHT},
        Row{"mixed-directions", "The word שלום means peace, 123", 160, 60},
        Row{"hebrew-wrapped", "אבג דהו זחט יכל מנס עפצ קרש", 70, 80, 1, false, PANGO_ALIGN_LEFT},
        Row{"hebrew-truncated", "אבג דהו זחט יכל מנס עפצ קרש", 70, 34, 1, true, PANGO_ALIGN_LEFT},
        Row{"marks", "e\xCC\x81\xCC\xA7 a\xCC\x8A o\xCC\x88\xCC\x84"},
        Row{"emoji", "ok 😀👩‍👩‍👧🇪🇺 ok", 160, 60},
        Row{"tabs", "a\tbb\tc\nlonger\tx", 200, 60},
        Row{"line-ends",
            "a\nb\r\nc\rd\xE2\x80\xA8"
            "e\xE2\x80\xA9"
            "f",
            60, 120},
        Row{"empty-lines", "a\n\n\nb", 60, 80},
        Row{"bold", "Bold words", 120, 40, 0, false, PANGO_ALIGN_LEFT, "DejaVu Sans Bold"},
        Row{"large", "Ag", 120, 100, 0, false, PANGO_ALIGN_LEFT, "DejaVu Serif", 72}),
    [](const auto& row) {
        std::string name = row.param.name;
        std::replace(name.begin(), name.end(), '-', '_');
        return name;
    });

TEST(TextLayoutTest, stylesOfSeveralKindsInOneStringLookLikeTheToolkits) {
    const auto string = AttributedStringBuilder()
                            .append("Red ", style("DejaVu Sans", 14, {1, 0, 0, 1}))
                            .append("bold", style("DejaVu Sans Bold", 18, {0, 0, 1, 1}))
                            .append("er", style("DejaVu Sans Bold", 18, {0, 0.5F, 0, 1}))
                            .append(" and small שלום", style("DejaVu Serif", 9, {0, 0, 0, 1}))
                            .build();
    for (const double scale : {1.0, 1.5, 2.0}) {
        ToolkitText expected;
        expected.markup =
            "<span color='#f00'>Red </span><span font_desc='DejaVu Sans Bold 18px' "
            "color='#00f'>bold"
            "</span><span font_desc='DejaVu Sans Bold 18px' color='#008000'>er</span>"
            "<span font_desc='DejaVu Serif 9px'> and small שלום</span>";
        expected.scale = scale;
        expected.width = 140;
        expected.height = 60;
        // Half is 127.5 of 255, which Pango's colours of 16 bits round the other way.
        expectAlike(draw(string, 140, 60, scale), drawnByToolkit(expected),
                    "styles-" + std::to_string(scale).substr(0, 3));
    }
}

// Lines

TEST(TextLayoutTest, everyEndOfALineEndsALine) {
    EXPECT_EQ(lines("a\nb\r\nc\rd\ve\ff\xC2\x85g\xE2\x80\xA8h\xE2\x80\xA9i"), 9U);
    EXPECT_EQ(lines("\n"), 1U);
    EXPECT_EQ(lines("a\n"), 1U) << "nothing comes after it";
    EXPECT_EQ(lines("a\n\n"), 2U);
    EXPECT_EQ(lines("\r\n\r\n"), 2U);
    EXPECT_EQ(lines("\n\r"), 2U);
}

TEST(TextLayoutTest, linesBreakBetweenWordsAndThenWithinThem) {
    const double word = TextLayout(plain("mmmm"), kInfinite, kInfinite).width();
    EXPECT_EQ(lines("mmmm mmmm", word + 1), 2U);
    EXPECT_EQ(lines("mmmmmmmm", word + 1), 2U);
    EXPECT_EQ(lines("mmm", 1), 3U) << "a character is never broken";
}

TEST(TextLayoutTest, linesBreakAtTheSamePlacesAtEveryScale) {
    const std::string text =
        "The quick brown fox jumps over the lazy dog, and then again, until it is tired of it.";
    for (double width = 40; width < 240; width += 7.3) {
        const auto string = plain(text, 11);
        const TextLayout layout(string, width, kInfinite);
        // The layout knows no scale; what is drawn at another one has ink in as many bands.
        const Picture once = draw(string, 240, layout.height() + 1, 1);
        const Picture twice = draw(string, 240, layout.height() + 1, 2);
        EXPECT_NEAR(static_cast<double>(inkOf(twice)) / static_cast<double>(inkOf(once)), 4, 0.25);
    }
}

TEST(TextLayoutTest, onlyWholeLinesThatFitAreThere) {
    const double line = TextLayout(plain("A"), kInfinite, kInfinite).height();
    EXPECT_EQ(lines("A\nA\nA", 100, 3 * line), 3U);
    EXPECT_EQ(lines("A\nA\nA", 100, 3 * line - 0.1), 2U);
    EXPECT_EQ(lines("A\nA\nA", 100, line), 1U);
    EXPECT_EQ(lines("A\nA\nA", 100, line - 0.1), 0U);
    EXPECT_EQ(lines("A", 100, 0), 0U);
    EXPECT_EQ(lines("A", 100, -5), 0U);
    EXPECT_EQ(lines("A", 100, std::nan("")), 0U);
}

TEST(TextLayoutTest, aLineThatDoesNotFitLeavesNoInk) {
    const double line = TextLayout(plain("A"), kInfinite, kInfinite).height();
    const Picture picture = draw(plain("A\nA"), 40, 2 * line - 1);
    EXPECT_GT(inkOf(picture, 0, static_cast<int>(line)), 0);
    EXPECT_EQ(inkOf(picture, static_cast<int>(line) + 1), 0);
}

TEST(TextLayoutTest, aTextThatFitsIsNotTruncated) {
    const TextLayout whole(plain("Fits in"), kInfinite, kInfinite);
    const TextLayout layout(truncated("Fits in"), std::ceil(whole.width()), whole.height());
    EXPECT_EQ(layout.width(), whole.width());
}

TEST(TextLayoutTest, theLastLineThatFitsEndsInAnEllipsisWhereMoreFollows) {
    const double line = TextLayout(plain("A"), kInfinite, kInfinite).height();
    const double a = TextLayout(plain("A"), kInfinite, kInfinite).width();
    const double ellipsis = TextLayout(plain("…"), kInfinite, kInfinite).width();
    EXPECT_NEAR(TextLayout(truncated("A\nB"), 100, line).width(), a + ellipsis, 0.01);
    EXPECT_NEAR(TextLayout(truncated("A\xE2\x80\xA8"
                                     "B"),
                           100, line)
                    .width(),
                a + ellipsis, 0.01);
    EXPECT_NEAR(TextLayout(truncated("A\n\n"), 100, line).width(), a, 0.01) << "only line ends";
    EXPECT_NEAR(TextLayout(plain("A\nB"), 100, line).width(), a, 0.01);
    EXPECT_EQ(TextLayout(truncated("A B C D E F G"), 4 * a, 2 * line).lineCount(), 2U);
    EXPECT_EQ(TextLayout(truncated("A"), 100, line / 2).lineCount(), 0U);
}

TEST(TextLayoutTest, theEllipsisHasTheColourOfItsLine) {
    const auto string =
        AttributedStringBuilder()
            .append("green ", style("DejaVu Sans", 14, {0, 1, 0, 1}, 0, true))
            .append("red that goes on and on", style("DejaVu Sans", 14, {1, 0, 0, 1}, 0, true))
            .build();
    const Picture picture = draw(string, 90, 20);
    const int right = columnsOf(picture).second;
    int red = 0;
    int green = 0;
    for (int y = 0; y < picture.size.height; ++y) {
        red += picture.pixel(right, y)[0];
        green += picture.pixel(right, y)[1];
    }
    EXPECT_GT(red, 0);
    EXPECT_EQ(green, 0);
}

TEST(TextLayoutTest, paragraphsOfOneStringStandAtDifferentSides) {
    const auto string = AttributedStringBuilder()
                            .append("l\n", style("DejaVu Sans", 14, kBlack, 0))
                            .append("r\n", style("DejaVu Sans", 14, kBlack, 1))
                            .append("c", style("DejaVu Sans", 14, kBlack, 2))
                            .build();
    const double line = TextLayout(plain("A"), kInfinite, kInfinite).height();
    const Picture picture = draw(string, 100, 60);
    const auto band = [&](int i) {
        Picture part;
        const int from = static_cast<int>(i * line);
        part.size = {100, static_cast<int>(line)};
        part.rgba.assign(picture.rgba.begin() + from * 400,
                         picture.rgba.begin() + (from + part.size.height) * 400);
        return columnsOf(part);
    };
    EXPECT_LT(band(0).second, 10);
    EXPECT_GT(band(1).first, 90);
    EXPECT_NEAR((band(2).first + band(2).second) / 2.0, 49.5, 1.5);
}

// Fonts and colours

TEST(TextLayoutTest, namesOfFontsAreFamiliesOrFamiliesWithStylesOrPostScriptNames) {
    const auto width = [](const char* font) {
        return TextLayout(AttributedString::create("Some words", style(font, 30)), kInfinite,
                          kInfinite)
            .width();
    };
    EXPECT_NE(width("DejaVu Sans"), width("DejaVu Sans Bold"));
    EXPECT_NE(width("DejaVu Sans"), width("DejaVu Serif"));
    EXPECT_EQ(width("DejaVuSans-Bold"), width("DejaVu Sans Bold"));
    EXPECT_EQ(width("DejaVuSans"), width("DejaVu Sans"));
    EXPECT_EQ(width("DejaVuSerif-Bold"), width("DejaVu Serif Bold"));
    EXPECT_EQ(width("DejaVuSansMono-Bold"), width("DejaVu Sans Mono Bold"));
    EXPECT_NE(width("NoSuchFont-Bold"), width("NoSuchFont")) << "the style holds all the same";
}

TEST(TextLayoutTest, anUnknownFontFallsBack) {
    for (const char* const name : {"No Such Font At All", "NoSuchFont-Bold", "", "-", "12",
                                   "Foo 12", "\xFF\xFE", ",", "Sans,", "@wght=1", "No-Such-Font"}) {
        EXPECT_GT(TextLayout(AttributedString::create("A", style(name, 14)), kInfinite, kInfinite)
                      .width(),
                  0)
            << name;
    }
    EXPECT_GT(TextLayout(AttributedString::create("A", style(std::string(100'000, 'x'), 14)),
                         kInfinite, kInfinite)
                  .width(),
              0);
}

TEST(TextLayoutTest, aSizeThatIsNoneCountsAsTwelvePoints) {
    const auto height = [](float size) {
        return TextLayout(plain("A", size), kInfinite, kInfinite).height();
    };
    const double twelve = height(12);
    EXPECT_EQ(height(0), twelve);
    EXPECT_EQ(height(-3), twelve);
    EXPECT_EQ(height(std::nanf("")), twelve);
    EXPECT_EQ(height(std::numeric_limits<float>::infinity()), twelve);
    EXPECT_NEAR(height(10'000), twelve * 10'000 / 12, twelve * 10);
    EXPECT_EQ(height(1e30F), height(TextFont::kLargestSize));
    EXPECT_EQ(height(1e-30F), height(TextFont::kSmallestSize));
}

TEST(TextLayoutTest, textWithoutAttributesIsBlackAndOfTheDefaultFont) {
    const auto bare = AttributedString::create("Bare");
    const auto dressed = AttributedString::create("Bare", style("Sans", 12));
    EXPECT_EQ(draw(bare, 50, 20).rgba, draw(dressed, 50, 20).rgba);
}

TEST(TextLayoutTest, coloursArePremultipliedAndClamped) {
    const auto block = AttributedString::create("█", style("DejaVu Sans", 40, {1, 0.5F, 0, 0.5F}));
    const auto inside = draw(block, 40, 60).pixel(10, 25);
    EXPECT_NEAR(inside[0], 128, 1);
    EXPECT_NEAR(inside[1], 64, 1);
    EXPECT_EQ(inside[2], 0);
    EXPECT_NEAR(inside[3], 128, 1);
    const auto loud =
        AttributedString::create("█", style("DejaVu Sans", 40, {9, -1, std::nanf(""), 7}));
    EXPECT_THAT(draw(loud, 40, 60).pixel(10, 25), testing::ElementsAre(255, 0, 0, 255));
}

TEST(TextLayoutTest, copyingLeavesNeitherHolesNorSumsWhereTranslucentGlyphsOverlap) {
    // Two runs, so that they are drawn one after the other, over what is already there.
    const auto half = style("DejaVu Sans", 40, {0, 0, 0, 0.5F});
    const auto string = AttributedString::create("█", half);
    const CairoPicture picture(40, 60);
    cairo_set_operator(picture.context(), CAIRO_OPERATOR_SOURCE);
    const TextLayout layout(string, 40, 60);
    layout.draw(picture.context());
    cairo_translate(picture.context(), 5, 0);
    layout.draw(picture.context());
    EXPECT_EQ(cairo_get_operator(picture.context()), CAIRO_OPERATOR_SOURCE);
    const Picture drawn = picture.picture();
    EXPECT_NEAR(drawn.pixel(2, 25)[3], 128, 1) << "the first alone is still there";
    EXPECT_NEAR(drawn.pixel(15, 25)[3], 128, 1) << "both";
    EXPECT_EQ(drawn.pixel(38, 25)[3], 0);
}

TEST(TextLayoutTest, translucentTextThatBlendsAddsUp) {
    const auto string = AttributedString::create("█", style("DejaVu Sans", 40, {0, 0, 0, 0.5F}));
    const CairoPicture picture(40, 60);
    const TextLayout layout(string, 40, 60);
    layout.draw(picture.context());
    layout.draw(picture.context());
    EXPECT_NEAR(picture.picture().pixel(15, 25)[3], 191, 1);
}

TEST(TextLayoutTest, emojiKeepTheirColoursAndFadeWithTheText) {
    const auto emoji = [](float alpha, cairo_operator_t op) {
        const CairoPicture picture(60, 60);
        cairo_set_operator(picture.context(), op);
        TextLayout(AttributedString::create("😀", style("DejaVu Sans", 40, {0, 0, 1, alpha})), 60,
                   60)
            .draw(picture.context());
        return picture.picture();
    };
    const Picture opaque = emoji(1, CAIRO_OPERATOR_OVER);
    const auto isYellow = [](const std::array<std::uint8_t, 4>& pixel) {
        return pixel[0] > 200 && pixel[1] > 150 && pixel[2] < 120 && pixel[3] == 255;
    };
    int yellow = 0;
    const Picture faded = emoji(0.5F, CAIRO_OPERATOR_SOURCE);
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 60; ++x) {
            const auto pixel = opaque.pixel(x, y);
            if (isYellow(pixel)) {
                ++yellow;
                EXPECT_NEAR(faded.pixel(x, y)[3], 128, 1);
                EXPECT_NEAR(faded.pixel(x, y)[0], pixel[0] / 2.0, 2);
            }
        }
    }
    EXPECT_GT(yellow, 300);
    EXPECT_EQ(emoji(1, CAIRO_OPERATOR_SOURCE).rgba, opaque.rgba);
}

// Sizes

TEST(TextLayoutTest, knowsTheSizeOfWhatItLaidOut) {
    const TextLayout one(plain("word"), kInfinite, kInfinite);
    const TextLayout two(plain("word\nword"), kInfinite, kInfinite);
    EXPECT_GT(one.width(), 20);
    EXPECT_EQ(two.width(), one.width());
    EXPECT_DOUBLE_EQ(two.height(), 2 * one.height());
    const TextLayout none(nullptr, 100, 100);
    EXPECT_EQ(none.lineCount(), 0U);
    EXPECT_EQ(none.width(), 0);
    EXPECT_EQ(none.height(), 0);
    EXPECT_EQ(TextLayout(plain(""), 100, 100).lineCount(), 0U);
}

TEST(TextLayoutTest, textsAreLaidOutAndDrawnOnSeveralThreadsAtOnce) {
    const Picture expected = draw(plain("Threads שלום"), 100, 20);
    std::vector<std::thread> threads;
    std::atomic<int> equal = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                equal += draw(plain("Threads שלום"), 100, 20).rgba == expected.rgba ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(equal, 80);
}

// Large and bad input

TEST(TextLayoutTest, aMegabyteInASmallRectangleIsLaidOutAsFarAsItFits) {
    std::string text;
    while (text.size() < (1U << 20)) {
        text += "many words in a row ";
    }
    const TextLayout layout(plain(text), 200, 100);
    const TextLayout beginning(plain(text.substr(0, 1000)), 200, 100);
    EXPECT_EQ(layout.lineCount(), beginning.lineCount());
    EXPECT_EQ(layout.width(), beginning.width());
}

TEST(TextLayoutTest, aLongParagraphBreaksAsItDoesInOnePiece) {
    std::string text;
    for (int i = 0; text.size() < 9000; ++i) {
        text += "word" + std::to_string(i * 7919 % 1000) + (i % 3 == 0 ? " שלום " : " ");
    }
    const TextLayout layout(plain(text), 300, kInfinite);
    ToolkitText expected;
    expected.markup = text;
    expected.width = 300;
    expected.height = std::ceil(layout.height());
    expectAlike(draw(plain(text), 300, expected.height), drawnByToolkit(expected), "long");
}

TEST(TextLayoutTest, aHundredThousandLinesHaveAHeight) {
    std::string text;
    for (int i = 0; i < 100'000; ++i) {
        text += "line\n";
    }
    const TextLayout layout(plain(text), 200, kInfinite);
    EXPECT_EQ(layout.lineCount(), 100'000U);
    EXPECT_NEAR(layout.height() / TextLayout(plain("line"), 200, kInfinite).height(), 100'000,
                1e-3);
}

TEST(TextLayoutTest, ofMoreThanItsLimitTheBeginningIsLaidOut) {
    const std::string text(3 * TextLayout::kMostBytes, '\n');
    EXPECT_EQ(lines(text), TextLayout::kMostBytes);
}

TEST(TextLayoutTest, aMillionCombiningMarksAreLeftOut) {
    std::string text = "e";
    for (int i = 0; i < 1'000'000; ++i) {
        text += "\xCC\x81";
    }
    text += " end";
    EXPECT_EQ(lines(text, 100, 100), 1U);
}

TEST(TextLayoutTest, aLineWithoutAnEndIsCut) {
    EXPECT_GT(lines(std::string(200'000, 'i')), 1U);
    EXPECT_LT(lines(std::string(200'000, 'i')), 10U);
}

TEST(TextLayoutTest, whatIsNoTextTakesNoRoom) {
    const double width = TextLayout(plain("ab"), kInfinite, kInfinite).width();
    EXPECT_EQ(TextLayout(plain(std::string("a\0b\x01\x1B", 5)), kInfinite, kInfinite).width(),
              width);
    EXPECT_GT(TextLayout(plain("\xFF\xFE"), kInfinite, kInfinite).width(), 0) << "replaced";
}

TEST(TextLayoutTest, manyFontsOneAfterTheOtherDoNotDisturbEarlierLayouts) {
    const auto string = plain("Kept");
    const TextLayout kept(string, 100, 40);
    const Picture expected = draw(string, 100, 40);
    for (int i = 0; i < 1100; ++i) {
        const TextLayout other(plain("x", 5 + 0.01F * static_cast<float>(i)), 100, 100);
    }
    const CairoPicture picture(100, 40);
    kept.draw(picture.context());
    EXPECT_EQ(picture.picture().rgba, expected.rgba);
    EXPECT_EQ(draw(string, 100, 40).rgba, expected.rgba);
}

// Glyphs above 512 pixels are not drawn from images of them.
TEST(TextLayoutTest, hugeGlyphsLieWhereSmallOnesMagnifiedWould) {
    for (const char* const text : {"\u2588", "H", "\U0001F600"}) {
        const Picture small = draw(plain(text, 400), 600, 600);
        const Picture huge = draw(plain(text, 800), 1200, 1200);
        const auto componentAt = [](const Picture& picture, int x, int y, int component) {
            return static_cast<int>(
                picture
                    .rgba[static_cast<std::size_t>((y * picture.size.width + x) * 4 + component)]);
        };
        int different = 0;
        for (int y = 0; y < 600; ++y) {
            for (int x = 0; x < 600; ++x) {
                for (int component = 0; component < 4; ++component) {
                    const int distance = std::abs(componentAt(small, x, y, component) -
                                                  componentAt(huge, 2 * x, 2 * y, component));
                    different += distance > 64 ? 1 : 0;
                }
            }
        }
        // At the edges, where one has half pixels and the other whole ones.
        EXPECT_LT(different, 4 * 8 * 600) << text;
        EXPECT_GT(std::count_if(huge.rgba.begin(), huge.rgba.end(),
                                [](std::uint8_t value) { return value > 128; }),
                  40000)
            << text;
    }
}
