#include "MivoraMac/MivoraMac.h"

#include <gtest/gtest.h>

#include <string>

TEST(MivoraMacTest, versionNumberIsMajorAndMinor) {
    EXPECT_EQ(MivoraMacVersionNumber, 1.0);
}

TEST(MivoraMacTest, versionStringIsThatOfTheProject) {
    EXPECT_STREQ(MivoraMacVersionString, MIVORA_PROJECT_VERSION);
}

TEST(MivoraMacTest, versionStringBeginsWithTheVersionNumber) {
    EXPECT_EQ(std::stod(MivoraMacVersionString), MivoraMacVersionNumber);
    EXPECT_EQ(std::string(MivoraMacVersionString).rfind("1.0.", 0), 0U);
}
