#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "MivoraMac/images/HighResolutionImagePathPrivate.h"
#include "tests/images/ImageTest.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/base/TemporaryFolder.h"

namespace {

using Mivora::highResolutionImagePath;
using Mivora::ImageVariant;
using Mivora::imageVariants;
using Mivora::tests::ScopedEnvironment;
using Mivora::tests::ScopedScreenScale;
using Mivora::tests::TemporaryFolder;
using testing::ElementsAre;

struct Search {
    const char* name;
    double screenScale;
    std::vector<const char*> files;
    const char* chosen;
    float scale;
};

class HighResolutionImagePathTest : public testing::TestWithParam<Search> {};

TEST_P(HighResolutionImagePathTest, theBestFileThereIsIsChosen) {
    const Search& search = GetParam();
    const TemporaryFolder folder;
    for (const char* file : search.files) {
        folder.write(file, "x");
    }
    const ScopedScreenScale scale(search.screenScale);
    const ImageVariant variant = highResolutionImagePath((folder.path() / "a.png").string());
    EXPECT_EQ(variant.path, (folder.path() / search.chosen).string());
    EXPECT_EQ(variant.scale, search.scale);
}

INSTANTIATE_TEST_SUITE_P(
    AllSearches, HighResolutionImagePathTest,
    testing::Values(
        Search{"plainOnOne", 1, {"a.png"}, "a.png", 1},
        Search{"plainWinsOnOne",
               1,
               {"a.png", "a@2x.png", "a@3x.png", "a@4x.png", "a@1x.png"},
               "a.png",
               1},
        Search{"largestOnOneWithoutPlain", 1, {"a@2x.png", "a@3x.png"}, "a@3x.png", 3},
        Search{"fourBeforeThreeOnOne", 1, {"a@3x.png", "a@4x.png"}, "a@4x.png", 4},
        Search{"twoOnOneWithoutOthers", 1, {"a@2x.png"}, "a@2x.png", 2},
        Search{"oneMarkedIsNotLookedForOnOne", 1, {"a@1x.png"}, "a.png", 1},
        Search{"nothingOnOne", 1, {}, "a.png", 1},
        Search{"exactOnTwo", 2, {"a.png", "a@2x.png", "a@3x.png", "a@4x.png"}, "a@2x.png", 2},
        Search{"largestOnTwoWithoutExact", 2, {"a@3x.png", "a@4x.png"}, "a@4x.png", 4},
        Search{"threeOnTwoWithoutOthers", 2, {"a.png", "a@3x.png"}, "a@3x.png", 3},
        Search{"plainOnTwo", 2, {"a.png"}, "a.png", 1}, Search{"nothingOnTwo", 2, {}, "a.png", 1},
        Search{"exactOnThree", 3, {"a@2x.png", "a@3x.png", "a@4x.png"}, "a@3x.png", 3},
        Search{"exactOnFive", 5, {"a@4x.png", "a@5x.png"}, "a@5x.png", 5},
        Search{"largestOnFiveWithoutExact", 5, {"a@4x.png", "a@6x.png"}, "a@4x.png", 4},
        Search{"aFractionIsRoundedUp", 1.25, {"a.png", "a@2x.png", "a@4x.png"}, "a@2x.png", 2},
        Search{"aFractionBelowOneIsOne", 0.5, {"a.png", "a@2x.png"}, "a.png", 1},
        Search{"justAboveTwoIsThree", 2.01, {"a@2x.png", "a@3x.png"}, "a@3x.png", 3},
        Search{"twoForAllAFloatCanSay", 2.0000000001, {"a@2x.png", "a@3x.png"}, "a@2x.png", 2}),
    [](const testing::TestParamInfo<Search>& test) { return std::string(test.param.name); });

TEST(ImageVariantsTest, variantsAreMarkedBeforeTheExtension) {
    EXPECT_THAT(imageVariants("/f/a.b.png", 2),
                ElementsAre(ImageVariant{"/f/a.b@2x.png", 2}, ImageVariant{"/f/a.b@4x.png", 4},
                            ImageVariant{"/f/a.b@3x.png", 3}, ImageVariant{"/f/a.b@2x.png", 2}));
    EXPECT_EQ(imageVariants("/f/a.png", 1)[0], (ImageVariant{"/f/a.png", 1}));
}

TEST(ImageVariantsTest, aDotOfAFolderOrAtTheStartOfANameIsNoExtension) {
    EXPECT_EQ(imageVariants("/f.d/name", 2)[0].path, "/f.d/name@2x.");
    EXPECT_EQ(imageVariants("/f/.name", 2)[0].path, "/f/.name@2x.");
    EXPECT_EQ(imageVariants(".name", 2)[0].path, ".name@2x.");
    EXPECT_EQ(imageVariants("", 2)[0].path, "@2x.");
    EXPECT_EQ(imageVariants("name.", 2)[0].path, "name@2x.");
}

TEST(ImageVariantsTest, absurdScalesAreNoTrouble) {
    EXPECT_EQ(imageVariants("a.png", 1e300).size(), 4U);
    EXPECT_EQ(imageVariants("a.png", 1e-300).size(), 4U);
}

TEST(HighResolutionImagePathTildeTest, aTildeIsExpandedToLookAndStaysInTheResult) {
    const TemporaryFolder home;
    const ScopedEnvironment variable("HOME", home.path().c_str());
    const ScopedScreenScale scale(1);
    home.write("f/a@3x.png", "x");
    EXPECT_EQ(highResolutionImagePath("~/f/a.png"), (ImageVariant{"~/f/a@3x.png", 3}));
    EXPECT_EQ(highResolutionImagePath("~/f/b.png"), (ImageVariant{"~/f/b.png", 1}));
    EXPECT_EQ(highResolutionImagePath("~nobody-of-that-name/a.png"),
              (ImageVariant{"~nobody-of-that-name/a.png", 1}));
}

}  // namespace
