#include "MivoraMac/platform/base/MVException.h"

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <string>

TEST(MVExceptionTest, carriesItsNameAndItsReason) {
    const MVException exception("MyException", "the lid was open");
    EXPECT_EQ(exception.name(), "MyException");
    EXPECT_EQ(exception.reason(), "the lid was open");
}

TEST(MVExceptionTest, saysNameAndReasonAsAStandardException) {
    try {
        throw MVException(MVException::kRange, "index 3 of 2");
    } catch (const std::exception& exception) {
        EXPECT_STREQ(exception.what(), "MVRangeException: index 3 of 2");
        return;
    }
    FAIL() << "not a standard exception";
}

TEST(MVExceptionTest, emptyTextsAreKept) {
    const MVException exception("", "");
    EXPECT_EQ(exception.name(), "");
    EXPECT_EQ(exception.reason(), "");
    EXPECT_STREQ(exception.what(), ": ");
}

TEST(MVExceptionTest, aCopyOutlivesTheOriginal) {
    auto original = std::make_unique<MVException>(MVException::kInvalidArgument, "no view");
    const MVException copy = *original;
    original.reset();
    EXPECT_STREQ(copy.what(), "MVInvalidArgumentException: no view");
    EXPECT_EQ(copy.name(), MVException::kInvalidArgument);
}

TEST(MVExceptionTest, theNamesOfTheLibraryDiffer) {
    const std::string invalid = MVException::kInvalidArgument;
    const std::string range = MVException::kRange;
    const std::string inconsistency = MVException::kInternalInconsistency;
    EXPECT_NE(invalid, range);
    EXPECT_NE(range, inconsistency);
    EXPECT_NE(inconsistency, invalid);
    EXPECT_EQ(inconsistency, "MVInternalInconsistencyException");
}
