#include "tests/support/GLTest.h"

namespace Mivora::tests {

void GLTest::SetUp() {
    gl_ = std::make_unique<GLCallRecorder>();
    context_ = MVRenderContext::init();
    ASSERT_NE(context_->mv_context(), nullptr) << "no headless GL context on this machine";
    MVRenderContext::mv_setActiveContext(context_);
    // What is looked at are calls: drawings make those of each view.
    context_->setBatching(false);
    gl_->clear();
}

void GLTest::TearDown() {
    if (!gl_) {
        return;
    }
    if (context_) {
        finish();
        context_->setShader(nullptr);
        finish();
    }
    context_.reset();
    EXPECT_THAT(gl_->liveObjects(), testing::IsEmpty()) << "GL objects outlive the test";
    gl_.reset();
}

}  // namespace Mivora::tests
