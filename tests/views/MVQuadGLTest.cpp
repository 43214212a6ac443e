#include <epoxy/gl.h>

#include <array>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/views/MVQuadPrivate.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/base/ThreadsafeDeathTest.h"
#include "tests/support/GLTest.h"
#include "tests/support/QueueGate.h"
#include "tests/views/CallText.h"

using Mivora::Rect2;
using Mivora::Size2;
using Mivora::tests::callText;
using Mivora::tests::QueueGate;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr Rect2 kWholeTexture{{0.0F, 0.0F}, {1.0F, 1.0F}};

class MVQuadTest : public Mivora::tests::GLTest {
 protected:
    template <class Quad = MVQuad>
    std::unique_ptr<Quad> make() {
        gl_->clear();
        auto quad = std::make_unique<Quad>();
        finish();
        vertexArray_ = gl_->callsOf("glGenVertexArrays").at(0).names.at(0);
        vertexBuffer_ = gl_->callsOf("glGenBuffers").at(0).names.at(0);
        made_ = gl_->texts();
        gl_->clear();
        return quad;
    }

    std::vector<std::string> texts() {
        finish();
        return gl_->texts();
    }

    /// The vertices that were uploaded last.
    std::vector<float> uploaded() {
        finish();
        const auto calls = gl_->callsOf("glBufferData");
        return calls.empty() ? std::vector<float>() : calls.back().floats;
    }

    GLuint vertexArray_ = 0;
    GLuint vertexBuffer_ = 0;
    std::vector<std::string> made_;
};

TEST_F(MVQuadTest, aQuadOfPositionsIsMadeOfZeros) {
    auto quad = std::make_unique<MVQuad>();
    finish();
    EXPECT_THAT(uploaded(), ElementsAreArray(std::vector<float>(8, 0.0F)));
    quad = make();
    EXPECT_THAT(made_,
                ElementsAre(callText("glGenVertexArrays", 1, 1),          //
                            callText("glBindVertexArray", vertexArray_),  //
                            callText("glGenBuffers", 1, 1),               //
                            callText("glBindBuffer", GL_ARRAY_BUFFER, vertexBuffer_),
                            callText("glBufferData", GL_ARRAY_BUFFER, 32, 1, GL_DYNAMIC_DRAW),
                            callText("glEnableVertexAttribArray", 0),
                            callText("glVertexAttribPointer", 0, 2, GL_FLOAT, GL_FALSE, 0, 0),
                            callText("glBindVertexArray", 0)));
    EXPECT_FALSE(quad->isDirty());
    EXPECT_EQ(quad->context(), context_);
}

TEST_F(MVQuadTest, aQuadWithTextureCoordinatesInterleavesThem) {
    const auto quad = make<MVTextureQuad>();
    EXPECT_THAT(made_,
                ElementsAre(callText("glGenVertexArrays", 1, 1),          //
                            callText("glBindVertexArray", vertexArray_),  //
                            callText("glGenBuffers", 1, 1),               //
                            callText("glBindBuffer", GL_ARRAY_BUFFER, vertexBuffer_),
                            callText("glBufferData", GL_ARRAY_BUFFER, 64, 1, GL_DYNAMIC_DRAW),
                            callText("glEnableVertexAttribArray", 0),
                            callText("glVertexAttribPointer", 0, 2, GL_FLOAT, GL_FALSE, 16, 0),
                            callText("glEnableVertexAttribArray", 5),
                            callText("glVertexAttribPointer", 5, 2, GL_FLOAT, GL_FALSE, 16, 1),
                            callText("glBindVertexArray", 0)));
}

TEST_F(MVQuadTest, buildingRewritesTheVerticesOfAMarkedQuad) {
    const auto quad = make();
    quad->setSize({10.0F, 20.0F});
    EXPECT_TRUE(quad->isDirty());
    quad->build({10.0F, 20.0F});
    EXPECT_FALSE(quad->isDirty());
    EXPECT_THAT(texts(),
                ElementsAre(callText("glBindBuffer", GL_ARRAY_BUFFER, vertexBuffer_),
                            callText("glBufferData", GL_ARRAY_BUFFER, 32, 1, GL_DYNAMIC_DRAW),
                            callText("glBindBuffer", GL_ARRAY_BUFFER, 0)));
    EXPECT_THAT(uploaded(), ElementsAre(0, 0, 10, 0, 0, 20, 10, 20));
}

TEST_F(MVQuadTest, textureCoordinatesFollowTheCorners) {
    const auto quad = make<MVTextureQuad>();
    quad->setDirty();
    quad->build({10.0F, 20.0F}, kWholeTexture);
    EXPECT_THAT(uploaded(), ElementsAre(0, 0, 0, 0, 10, 0, 1, 0, 0, 20, 0, 1, 10, 20, 1, 1));
    quad->setDirty();
    quad->build({10.0F, 20.0F}, {{0.25F, 0.5F}, {0.5F, 0.25F}});
    EXPECT_THAT(uploaded(), ElementsAre(0, 0, 0.25F, 0.5F, 10, 0, 0.75F, 0.5F,  //
                                        0, 20, 0.25F, 0.75F, 10, 20, 0.75F, 0.75F));
    finish();
    EXPECT_THAT(gl_->callsOf("glBufferData"), SizeIs(2));
    EXPECT_EQ(gl_->callsOf("glBufferData")[0].arguments[1], 64);
}

TEST_F(MVQuadTest, aQuadThatIsNotMarkedIsNotRebuilt) {
    const auto quad = make();
    quad->build({10.0F, 20.0F});
    quad->setSize({0.0F, 0.0F});
    EXPECT_FALSE(quad->isDirty()) << "the size it was made with";
    quad->build({0.0F, 0.0F});
    EXPECT_THAT(texts(), IsEmpty());
}

TEST_F(MVQuadTest, aSizeIsComparedWithWhatWasBuiltLast) {
    const auto quad = make();
    quad->setSize({10.0F, 20.0F});
    quad->setSize({0.0F, 0.0F});
    EXPECT_TRUE(quad->isDirty()) << "a mark is not taken back";
    quad->build({10.0F, 20.0F});
    quad->setSize({10.0F, 20.0F});
    EXPECT_FALSE(quad->isDirty());
    quad->setSize({10.0F, 21.0F});
    EXPECT_TRUE(quad->isDirty());
    quad->build({10.0F, 21.0F});
    quad->setSize({11.0F, 21.0F});
    EXPECT_TRUE(quad->isDirty());
}

TEST_F(MVQuadTest, sizesThatAreNoSizesAreBuiltAsTheyAre) {
    const auto quad = make();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    quad->setSize({nan, -5.0F});
    quad->build({nan, -5.0F});
    EXPECT_THAT(uploaded(), ElementsAre(0, 0, testing::IsNan(), 0, 0, -5, testing::IsNan(), -5));
    quad->setSize({nan, -5.0F});
    EXPECT_TRUE(quad->isDirty()) << "NaN never equals what was built";
}

struct BlendCase {
    const char* name;
    MVQuad::Blend blend;
    std::vector<std::string> calls;
};

class MVQuadBlendTest : public MVQuadTest, public testing::WithParamInterface<BlendCase> {};

TEST_P(MVQuadBlendTest, drawingMakesTheseCalls) {
    const auto quad = make();
    quad->draw(GetParam().blend);
    std::vector<std::string> expected = {callText("glDisable", GL_DEPTH_TEST)};
    expected.insert(expected.end(), GetParam().calls.begin(), GetParam().calls.end());
    for (const std::string& text :
         {callText("glBindVertexArray", vertexArray_),
          callText("glDrawArrays", GL_TRIANGLE_STRIP, 0, 4), callText("glBindVertexArray", 0),
          callText("glDisable", GL_BLEND)}) {
        expected.push_back(text);
    }
    EXPECT_THAT(texts(), ElementsAreArray(expected));
}

INSTANTIATE_TEST_SUITE_P(
    With, MVQuadBlendTest,
    testing::Values(BlendCase{"noBlending", MVQuad::Blend::Off, {callText("glDisable", GL_BLEND)}},
                    BlendCase{"straightAlpha",
                              MVQuad::Blend::Straight,
                              {callText("glEnable", GL_BLEND),
                               callText("glBlendFunc", GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)}},
                    BlendCase{"premultipliedAlpha",
                              MVQuad::Blend::Premultiplied,
                              {callText("glEnable", GL_BLEND),
                               callText("glBlendFunc", GL_ONE, GL_ONE_MINUS_SRC_ALPHA)}}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(MVQuadTest, destructionDeletesArrayAndBuffer) {
    auto quad = make();
    quad.reset();
    EXPECT_THAT(texts(), ElementsAre(callText("glBindVertexArray", 0),        //
                                     callText("glDeleteVertexArrays", 1, 1),  //
                                     callText("glBindBuffer", GL_ARRAY_BUFFER, 0),
                                     callText("glDeleteBuffers", 1, 1)));
    EXPECT_THAT(gl_->callsOf("glDeleteVertexArrays").at(0).names, ElementsAre(vertexArray_));
    EXPECT_THAT(gl_->callsOf("glDeleteBuffers").at(0).names, ElementsAre(vertexBuffer_));
}

TEST_F(MVQuadTest, verticesAreThoseOfTheMomentTheyWereBuilt) {
    const auto quad = make();
    {
        QueueGate gate(*context_->dispatchQueue());
        quad->setSize({10.0F, 20.0F});
        quad->build({10.0F, 20.0F});
        quad->setSize({30.0F, 40.0F});
        quad->build({30.0F, 40.0F});
        quad->setSize({50.0F, 60.0F});
        gate.open();
        finish();
    }
    const auto uploads = gl_->callsOf("glBufferData");
    ASSERT_THAT(uploads, SizeIs(2));
    EXPECT_THAT(uploads[0].floats, ElementsAre(0, 0, 10, 0, 0, 20, 10, 20));
    EXPECT_THAT(uploads[1].floats, ElementsAre(0, 0, 30, 0, 0, 40, 30, 40));
}

TEST_F(MVQuadTest, aQuadMayGoWhileItsCallsWait) {
    {
        QueueGate gate(*context_->dispatchQueue());
        auto quad = std::make_unique<MVQuad>();
        quad->setSize({10.0F, 20.0F});
        quad->build({10.0F, 20.0F});
        quad->draw(MVQuad::Blend::Off);
        quad.reset();
        gate.open();
        finish();
    }
    const double vertexArray = gl_->callsOf("glGenVertexArrays").at(0).names.at(0);
    EXPECT_THAT(gl_->callsOf("glDrawArrays"), SizeIs(1));
    EXPECT_EQ(gl_->callsOf("glBindVertexArray").at(2).arguments.at(0), vertexArray)
        << "bound to draw";
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
    EXPECT_EQ(gl_->names().back(), "glDeleteBuffers");
}

TEST_F(MVQuadTest, theQuadKeepsToTheContextItWasMadeIn) {
    auto quad = make();
    const auto other = MVRenderContext::initWithSharedContext(context_);
    MVRenderContext::mv_setActiveContext(other);
    EXPECT_EQ(quad->context(), context_);
    quad->draw(MVQuad::Blend::Off);
    MVRenderContext::mv_setActiveContext(nullptr);
    quad->draw(MVQuad::Blend::Off);
    quad.reset();
    finish();
    EXPECT_THAT(gl_->callsOf("glDrawArrays"), SizeIs(2));
    EXPECT_THAT(gl_->callsOf("glDeleteBuffers"), SizeIs(1));
}

TEST_F(MVQuadTest, theQuadKeepsItsContextAlive) {
    auto quad = make();
    MVRenderContext::mv_setActiveContext(nullptr);
    const std::weak_ptr<MVRenderContext> watched = context_;
    EXPECT_GT(watched.use_count(), 1);
    quad.reset();
    finish();
}

TEST_F(MVQuadTest, withoutAnActiveContextNothingIsDrawn) {
    MVRenderContext::mv_setActiveContext(nullptr);
    MVQuad plain;
    EXPECT_EQ(plain.context(), nullptr);
    plain.setSize({10.0F, 20.0F});
    plain.build({10.0F, 20.0F});
    EXPECT_FALSE(plain.isDirty());
    plain.draw(MVQuad::Blend::Straight);
    MVTextureQuad textured;
    EXPECT_EQ(textured.context(), nullptr);
    textured.setSize({10.0F, 20.0F});
    textured.build({10.0F, 20.0F}, kWholeTexture);
    EXPECT_FALSE(textured.isDirty());
    textured.draw(MVQuad::Blend::Straight);
    EXPECT_THAT(texts(), IsEmpty());
}

/// Where the machine offers no GL at all.
using MVQuadWithoutGLTest = Mivora::tests::ThreadsafeDeathTest;

[[noreturn]] void drawAndExit() {
    const auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    {
        MVTextureQuad quad;
        quad.setSize({10.0F, 20.0F});
        quad.build({10.0F, 20.0F}, kWholeTexture);
        quad.draw(MVQuad::Blend::Straight);
    }
    context->mv_dispatchBlockSync([] {});
    std::exit(0);
}

TEST_F(MVQuadWithoutGLTest, aContextWithoutGLDrawsNothing) {
    // Where the driver is not chosen by this variable, the quad is drawn.
    const Mivora::tests::ScopedEnvironment noDriver("__EGL_VENDOR_LIBRARY_FILENAMES",
                                                    "/nonexistent");
    EXPECT_EXIT(drawAndExit(), testing::ExitedWithCode(0), "");
}

}  // namespace
