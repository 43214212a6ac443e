#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "MivoraMac/platform/pictures/ImageLimits.h"
#include "MivoraMac/platform/pictures/ImageSource.h"
#include "MivoraMac/platform/pictures/VectorCheckPrivate.h"
#include "tests/platform/pictures/ImageFiles.h"

// SVG files: how much they may ask for.

namespace {

using Mivora::platform::ImageLimits;
using Mivora::platform::ImageSource;
using Mivora::platform::vectorClaim;
using Mivora::tests::Bytes;
using Mivora::tests::encoded;
using Mivora::tests::pictureOf;
using Mivora::tests::PNGFile;
using Mivora::tests::testPicture;
using testing::HasSubstr;

const std::string kHead =
    R"(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" )"
    R"(width="10" height="8">)";

class VectorImageTest : public testing::Test {
 protected:
    ~VectorImageTest() override { ImageSource::setLimits({}); }

    static ImageSource::Result load(const std::string& text) {
        return ImageSource::firstImageOfBytes(
            {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    }
    static void expectFailure(const std::string& text, const char* reason) {
        const ImageSource::Result result = load(text);
        EXPECT_EQ(result.image, nullptr);
        EXPECT_THAT(result.failure, HasSubstr(reason)) << text.substr(0, 300);
    }
    static std::string svg(const std::string& contents) { return kHead + contents + "</svg>"; }

    static std::string nested(int levels, int copies) {
        std::string text = R"(<g id="p0"><rect width="1" height="1"/></g>)";
        for (int i = 1; i <= levels; ++i) {
            text += "<g id=\"p" + std::to_string(i) + "\">";
            for (int k = 0; k < copies; ++k) {
                text += "<use xlink:href=\"#p" + std::to_string(i - 1) + "\"/>";
            }
            text += "</g>";
        }
        return svg(text);
    }
};

std::string base64(const Bytes& bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            bits = bits << 8 | (i + k < bytes.size() ? static_cast<std::uint8_t>(bytes[i + k]) : 0);
        }
        for (int shift = 18; shift >= 0; shift -= 6) {
            text += kDigits[bits >> shift & 63];
        }
        text += i / 3 % 19 == 0 ? "\n" : "";
    }
    return text.substr(0, (bytes.size() * 4 + 2) / 3 + bytes.size() / 57 + 1);
}

TEST_F(VectorImageTest, aPictureIsDrawnInTheSizeThatItStates) {
    const ImageSource::Result result = load(svg(R"(<rect width="5" height="8" fill="#f00"/>)"));
    ASSERT_NE(result.image, nullptr) << result.failure;
    EXPECT_EQ(result.image->size(), (Mivora::platform::PixelSize{10, 8}));
    const auto picture = pictureOf(*result.image);
    EXPECT_EQ(picture.pixel(2, 4), (std::array<std::uint8_t, 4>{255, 0, 0, 255}));
    EXPECT_EQ(picture.pixel(7, 4), (std::array<std::uint8_t, 4>{0, 0, 0, 0}));
}

TEST_F(VectorImageTest, aPictureOfTooManyPixelsFailsBeforeItIsDrawn) {
    const std::string large =
        R"(<svg xmlns="http://www.w3.org/2000/svg" width="16000" height="16000"><rect/></svg>)";
    expectFailure(large, "larger than the limit of 16777216");
    expectFailure(R"(<svg xmlns="http://www.w3.org/2000/svg" width="9in" height="900in"/>)",
                  "larger than 16384");
    ImageLimits limits;
    limits.vectorPixels = 79;
    ImageSource::setLimits(limits);
    expectFailure(svg(""), "larger than the limit of 79");
    limits.vectorPixels = 80;
    ImageSource::setLimits(limits);
    EXPECT_NE(load(svg("")).image, nullptr);
}

TEST_F(VectorImageTest, aPictureThatNestsItsOwnPartsFailsBeforeItIsDrawn) {
    EXPECT_NE(load(nested(3, 10)).image, nullptr);
    expectFailure(nested(40, 2), "more than 50000 elements");
    expectFailure(nested(5, 10), "more than 50000 elements");
    expectFailure(svg(R"(<g id="a"><use xlink:href="#a"/></g>)"), "contains itself");
    const std::string tile = R"svg(<pattern id="p" width="1" height="1"><rect fill="url(#p)"/>)svg";
    expectFailure(svg(tile + "</pattern>"), "contains itself");
    const std::string link = R"(<a id="b" xlink:href="#b"><rect/></a>)";
    EXPECT_NE(load(svg(link)).image, nullptr) << "a link draws nothing";
}

TEST_F(VectorImageTest, whatStylesReferToCountsForEveryElement) {
    std::string text = "<style>rect { marker: url(#m); } </style><marker id=\"m\">";
    for (int i = 0; i < 300; ++i) {
        text += "<rect/>";
    }
    text += "</marker>";
    expectFailure(svg(text), "elements");
}

TEST_F(VectorImageTest, elementsTextAndDepthAreLimited) {
    const auto times = [](int count, const std::string& text) {
        std::string all;
        for (int i = 0; i < count; ++i) {
            all += text;
        }
        return all;
    };
    EXPECT_NE(load(svg(times(200, "<g>") + times(200, "</g>"))).image, nullptr);
    expectFailure(svg(times(300, "<g>") + times(300, "</g>")), "nested too deep");
    expectFailure(nested(300, 1), "nested too deep");
    ImageLimits limits;
    limits.vectorElements = 10;
    limits.vectorBytes = 2000;
    ImageSource::setLimits(limits);
    EXPECT_NE(load(svg(times(7, "<rect/>"))).image, nullptr);
    expectFailure(svg(times(10, "<rect/>")), "more than 10 elements");
    expectFailure(svg(std::string(2000, ' ')), "longer than 2000 bytes");
}

TEST_F(VectorImageTest, layersAndStepsOfFiltersCountAsPictures) {
    const ImageLimits limits;
    EXPECT_EQ(vectorClaim(svg("<rect/>"), limits).surfaces, 1U);
    EXPECT_EQ(vectorClaim(svg(R"(<g opacity=".5"><g opacity=".5"/></g><g opacity=".5"/>)"), limits)
                  .surfaces,
              5U);
    std::string steps = R"(<filter id="f">)";
    for (int i = 0; i < 40; ++i) {
        steps += R"(<feFlood result="a"/>)";
    }
    steps += R"svg(</filter><rect filter="url(#f)"/>)svg";
    EXPECT_EQ(vectorClaim(svg(steps), limits).surfaces, 43U);
    std::string large = svg(steps);
    large.replace(large.find("width=\"10\" height=\"8\""), 21, "width=\"4000\" height=\"4000\"");
    expectFailure(large, "larger than the limit of");
}

TEST_F(VectorImageTest, theTilesOfPatternsAreLimitedHoweverTheyAreMagnified) {
    const auto pattern = [](const std::string& name, const std::string& attributes) {
        return "<pattern id='" + name + "' " + attributes +
               "><rect width='9' height='9'/></pattern>";
    };
    const std::string kFilled = "<rect width='1' height='1' fill='url(#p)'/>";
    const auto filled = [&](const std::string& tile, const std::string& around,
                            const std::string& shape = "width='10' height='8'") {
        return svg(pattern("p", tile) + "<g " + around + "><rect " + shape +
                   " fill='url(#p)'/></g>");
    };
    const std::string kUnits = "patternUnits='userSpaceOnUse' ";
    const std::string kSmall = kUnits + "width='5' height='5'";
    const char* const kReason = "tiles of patterns";

    EXPECT_NE(load(filled(kSmall, "")).image, nullptr);
    EXPECT_NE(load(filled(kSmall, "transform='matrix(0 90,-90 0 1 1)'")).image, nullptr);
    EXPECT_NE(load(filled(kSmall, "transform='scale(900) scale(.01)'")).image, nullptr);
    expectFailure(filled(kUnits + "width='5000' height='5000'", ""), kReason);
    expectFailure(filled(kUnits + "width='90in' height='5000'", ""), kReason);
    expectFailure(filled(kSmall, "transform='translate(3) scale(900)'"), kReason);
    expectFailure(filled(kSmall, "transform='scale(90) matrix(0 90 -90 0 1 1)'"), kReason);
    expectFailure(filled(kSmall, "transform='skewX(89.99)'"), kReason);
    expectFailure(filled(kSmall, "style='transform: scale(900)'"), kReason);
    expectFailure(filled(kSmall + " patternTransform='scale(900)'", ""), kReason);

    // Relative to the shape, as it is unless it says so.
    EXPECT_NE(load(filled("width='.5' height='.5'", "")).image, nullptr);
    EXPECT_NE(load(filled("width='100%' height='50%'", "")).image, nullptr);
    expectFailure(filled("width='.5' height='.5'", "transform='scale(2000)'"), kReason);
    expectFailure(filled("width='.5' height='.5'", "", "width='9000' height='9000'"), kReason);
    expectFailure(filled("width='9000' height='900'", ""), kReason);
    for (const char* const path : {"M0 0H9000V9000Z", "m1 2 3e999 4", "M0 0A9000 9000 0 0 0 1 1"}) {
        expectFailure(
            svg(pattern("p", "width='1' height='1'") + "<path fill='url(#p)' d='" + path + "'/>"),
            kReason);
    }
    expectFailure(svg(pattern("p", "width='1' height='1'") + "<text fill='url(#p)'>a</text>"),
                  kReason);

    // By way of others.
    expectFailure(svg(pattern("q", kUnits + "width='5000' height='5000'") +
                      "<pattern id='p' xlink:href='#q'/>" + kFilled),
                  kReason);
    expectFailure(svg(pattern("p", kSmall) + "<g id='g'>" + kFilled +
                      "</g><use transform='scale(900)' xlink:href='#g'/>"),
                  kReason);
    expectFailure(
        svg(pattern("p", kSmall) + "<g fill='url(#p)'><rect transform='scale(900)'/></g>"),
        kReason);
    expectFailure(svg(pattern("p", kSmall) + "<svg viewBox='0 0 .01 .01'>" + kFilled + "</svg>"),
                  kReason);
    expectFailure(svg(pattern("p", kSmall) +
                      "<style>rect { fill: url(#p) }</style><g transform='scale(900)'><rect/></g>"),
                  kReason);
    expectFailure(
        svg(pattern("p", kSmall) + "<style>rect { transform: scale(900) }</style>" + kFilled),
        "style");
    std::string magnified = filled(kSmall, "");
    magnified.insert(magnified.find("width=\"10\""), "viewBox='0 0 .01 .008' ");
    expectFailure(magnified, kReason);
}

TEST_F(VectorImageTest, thePixelsOfEmbeddedPicturesAreLimited) {
    const auto with = [&](const std::string& data) {
        return svg("<image width=\"10\" height=\"8\" xlink:href=\"" + data + "\"/>");
    };
    const std::string small = base64(encoded(testPicture(3, 3, true), "png", true));
    EXPECT_NE(load(with("data:image/png;base64," + small)).image, nullptr);
    const Bytes huge = PNGFile(16000, 16000, 1, PNGFile::Grey).pixels("x").end();
    expectFailure(with("data:image/png;base64," + base64(huge)), "embedded");
    expectFailure(with("data:image/svg+xml;base64," + base64(svg(""))), "embedded");
    expectFailure(with("data:image/svg+xml,<svg/>"), "embedded");
    expectFailure(with("data:image/png;base64,@@@@"), "embedded picture is damaged");
}

TEST_F(VectorImageTest, whatIsWrittenInWaysThatAreNotFollowedFails) {
    const auto declared = [](const std::string& declarations) {
        return "<?xml version=\"1.0\"?><!DOCTYPE svg [" + declarations + "]>" + svg("<rect/>");
    };
    EXPECT_NE(load(declared("<!ENTITY ns \"http://example.org/\">")).image, nullptr);
    expectFailure(declared("<!ENTITY a \"&b;\"><!ENTITY b \"x\">"), "entity");
    expectFailure(declared("<!ENTITY a \"<g/>\">"), "entity");
    expectFailure(declared("<!ENTITY a SYSTEM \"file:///etc/passwd\">"), "entity");
    expectFailure(declared("<!ENTITY % a \"x\">"), "entity");
    expectFailure("<?xml-stylesheet href=\"a.css\"?>" + svg(""), "style");
    expectFailure(svg("<style>@import url(a.css);</style>"), "style");
    expectFailure("<?xml version=\"1.0\" encoding=\"UTF-7\"?>" + svg(""), "encoding");
    expectFailure(svg("<xi:include href=\"a.svg\"/>"), "another file");
    std::string bomb = "<!DOCTYPE svg [<!ENTITY a \"" + std::string(40000, 'x') + "\">]>";
    expectFailure(bomb + svg("<text>" +
                             [] {
                                 std::string all;
                                 for (int i = 0; i < 200; ++i) {
                                     all += "&a;";
                                 }
                                 return all;
                             }() +
                             "</text>"),
                  "entities stand for too much text");
}

TEST_F(VectorImageTest, whatIsNoPictureOfVectorsFails) {
    expectFailure("<svg", "");
    expectFailure(svg("<rect").substr(0, 60), "");
    expectFailure("<html><body>no picture</body></html>", "");
    expectFailure(svg("<g>").substr(0, kHead.size() + 3), "");
}

TEST_F(VectorImageTest, drawingThatMayTakeNoTimeFails) {
    ImageLimits limits;
    limits.vectorSeconds = 0;
    ImageSource::setLimits(limits);
    expectFailure(svg("<rect/>"), "no thread");
}

}  // namespace
