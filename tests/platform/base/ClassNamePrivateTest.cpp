#include <gtest/gtest.h>

#include <memory>

#include "MivoraMac/platform/base/ClassNamePrivate.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::classNameOf;

TEST(ClassNamePrivateTest, classesHaveTheNamesOfTheirSources) {
    EXPECT_EQ(classNameOf(typeid(int)), "int");
    EXPECT_EQ(classNameOf(typeid(MVView)), "MVView");
    EXPECT_EQ(classNameOf(typeid(Mivora::Point2)), "Mivora::Point2");
}

TEST(ClassNamePrivateTest, anObjectIsNamedByWhatItIsRatherThanByWhatItIsHeldAs) {
    const std::shared_ptr<MVView> window = MVWindow::init();
    const MVView& view = *window;
    EXPECT_EQ(classNameOf(typeid(view)), "MVWindow");
}
