#include "MivoraMac/app/MVDisplayLink.h"

#include <memory>

#include "MivoraMac/platform/threads/RunLoop.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "tests/support/GLTest.h"

using Mivora::platform::RunLoop;

namespace {

struct Target {
    void fired(const std::shared_ptr<MVDisplayLink>&) {}
};

class MVDisplayLinkGLTest : public Mivora::tests::GLTest {};

TEST_F(MVDisplayLinkGLTest, aLinkIsBoundToTheContextThatIsActiveWhenItIsMade) {
    const auto target = std::make_shared<Target>();
    auto bound = MVRenderContext::initWithSharedContext(context_);
    const std::weak_ptr<MVRenderContext> weak = bound;
    MVRenderContext::mv_setActiveContext(bound);
    auto link =
        MVDisplayLink::displayLinkWithTargetSelectorThread(target, &Target::fired, RunLoop::main());
    MVRenderContext::mv_setActiveContext(context_);
    bound = nullptr;
    EXPECT_FALSE(weak.expired());
    link = nullptr;
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVDisplayLinkGLTest, aLinkIsBoundToTheContextThatIsGiven) {
    const auto target = std::make_shared<Target>();
    auto bound = MVRenderContext::initWithSharedContext(context_);
    const std::weak_ptr<MVRenderContext> weak = bound;
    auto link = MVDisplayLink::initWithTargetSelectorThreadRenderContext(target, &Target::fired,
                                                                         RunLoop::main(), bound);
    bound = nullptr;
    EXPECT_FALSE(weak.expired());
    link = nullptr;
    EXPECT_TRUE(weak.expired());
}

}  // namespace
