#include "MivoraMac/views/MVColorView.h"

#include <epoxy/gl.h>

#include <cstdlib>
#include <glm/gtc/type_ptr.hpp>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/render/MVShaderCache.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/base/ThreadsafeDeathTest.h"
#include "tests/support/GLTest.h"
#include "tests/support/QueueGate.h"
#include "tests/views/CallText.h"
#include "tests/views/RecordingView.h"

using Mivora::ColorRGBA;
using Mivora::tests::callText;
using Mivora::tests::QueueGate;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Pointwise;
using testing::SizeIs;

namespace {

using Texts = std::vector<std::string>;

constexpr ColorRGBA kOpaque{0.25F, 0.5F, 0.75F, 1.0F};
constexpr ColorRGBA kTranslucent{0.25F, 0.5F, 0.75F, 0.5F};

Texts operator+(Texts left, const Texts& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

class MVColorViewTest : public Mivora::tests::GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        cache_ = MVShaderCache::init();
        cache_->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(cache_);
        window_ = CountingWindow::make();
        window_->setSize({800.0F, 600.0F});
        window_->mv_layoutVisit();
        gl_->clear();
        // What the shader calls its program and uniforms shows when it is used.
        cache_->shaderForKey("MVShaderPositionUniformColor")->use();
        finish();
        program_ = gl_->callsOf("glUseProgram").at(0).arguments.at(0);
        matrixUniform_ = gl_->callsOf("glUniformMatrix4fv").at(0).arguments.at(0);
        colorUniform_ =
            cache_->shaderForKey("MVShaderPositionUniformColor")->uniformLocation("u_color");
        gl_->clear();
    }

    void TearDown() override {
        window_.reset();
        cache_.reset();
        GLTest::TearDown();
    }

    /// A view in the window, with its size uploaded.
    std::shared_ptr<MVColorView> make(ColorRGBA color) {
        gl_->clear();
        auto view = MVColorView::initWithColor(color);
        finish();
        vertexArray_ = gl_->callsOf("glGenVertexArrays").at(0).names.at(0);
        vertexBuffer_ = gl_->callsOf("glGenBuffers").at(0).names.at(0);
        window_->addSubview(view);
        view->setSize({10.0F, 20.0F});
        view->mv_buildQuadVertices();
        finish();
        gl_->clear();
        window_->redrawRequests = 0;
        return view;
    }

    Texts texts() {
        finish();
        return gl_->texts();
    }
    Texts drawing() {
        gl_->clear();
        window_->mv_drawVisit();
        return texts();
    }

    /// The calls of one drawing whose colour comes out as `color`.
    Texts drawn(ColorRGBA color) const {
        Texts blending = {callText("glDisable", GL_BLEND)};
        if (color.alpha < 1.0F) {
            blending = {callText("glEnable", GL_BLEND),
                        callText("glBlendFunc", GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)};
        }
        return Texts{callText("glUseProgram", program_),
                     callText("glUniformMatrix4fv", matrixUniform_, 1, GL_FALSE, 1),
                     callText("glUniform4f", colorUniform_, color.red, color.green, color.blue,
                              color.alpha),
                     callText("glDisable", GL_DEPTH_TEST)} +
               blending +
               Texts{callText("glBindVertexArray", vertexArray_),
                     callText("glDrawArrays", GL_TRIANGLE_STRIP, 0, 4),
                     callText("glBindVertexArray", 0), callText("glDisable", GL_BLEND)};
    }

    Texts uploadedVertices() const {
        return {callText("glBindBuffer", GL_ARRAY_BUFFER, vertexBuffer_),
                callText("glBufferData", GL_ARRAY_BUFFER, 32, 1, GL_DYNAMIC_DRAW),
                callText("glBindBuffer", GL_ARRAY_BUFFER, 0)};
    }

    std::shared_ptr<MVShaderCache> cache_;
    std::shared_ptr<CountingWindow> window_;
    double program_ = 0;
    double matrixUniform_ = 0;
    double colorUniform_ = 0;
    GLuint vertexArray_ = 0;
    GLuint vertexBuffer_ = 0;
};

// Creation and destruction

TEST_F(MVColorViewTest, aNewViewIsOpaqueWhiteAndHasNoExtent) {
    const auto view = MVColorView::init();
    EXPECT_EQ(view->color(), (ColorRGBA{1.0F, 1.0F, 1.0F, 1.0F}));
    EXPECT_EQ(view->size(), Mivora::Size2::kZero);
    EXPECT_EQ(MVColorView::initWithColor(kTranslucent)->color(), kTranslucent);
}

TEST_F(MVColorViewTest, creationMakesAnArrayAndABufferOfZeros) {
    const auto view = MVColorView::init();
    finish();
    const auto vertexArray = gl_->callsOf("glGenVertexArrays").at(0).names.at(0);
    const auto vertexBuffer = gl_->callsOf("glGenBuffers").at(0).names.at(0);
    EXPECT_THAT(texts(),
                ElementsAre(callText("glGenVertexArrays", 1, 1),         //
                            callText("glBindVertexArray", vertexArray),  //
                            callText("glGenBuffers", 1, 1),              //
                            callText("glBindBuffer", GL_ARRAY_BUFFER, vertexBuffer),
                            callText("glBufferData", GL_ARRAY_BUFFER, 32, 1, GL_DYNAMIC_DRAW),
                            callText("glEnableVertexAttribArray", 0),
                            callText("glVertexAttribPointer", 0, 2, GL_FLOAT, GL_FALSE, 0, 0),
                            callText("glBindVertexArray", 0)));
    EXPECT_THAT(gl_->callsOf("glBufferData")[0].floats,
                ElementsAreArray(std::vector<float>(8, 0.0F)));
}

TEST_F(MVColorViewTest, destructionDeletesArrayAndBuffer) {
    make(kOpaque)->removeFromSuperview();
    EXPECT_THAT(texts(), ElementsAre(callText("glBindVertexArray", 0),        //
                                     callText("glDeleteVertexArrays", 1, 1),  //
                                     callText("glBindBuffer", GL_ARRAY_BUFFER, 0),
                                     callText("glDeleteBuffers", 1, 1)));
    EXPECT_THAT(gl_->callsOf("glDeleteVertexArrays")[0].names, ElementsAre(vertexArray_));
    EXPECT_THAT(gl_->callsOf("glDeleteBuffers")[0].names, ElementsAre(vertexBuffer_));
}

TEST_F(MVColorViewTest, aViewMayGoWhileItsCallsWait) {
    {
        QueueGate gate(*context_->dispatchQueue());
        auto view = MVColorView::initWithColor(kTranslucent);
        window_->addSubview(view);
        view->setSize({10.0F, 20.0F});
        window_->mv_drawVisit();
        view->removeFromSuperview();
        const std::weak_ptr<MVColorView> watched = view;
        view.reset();
        EXPECT_TRUE(watched.expired());
        gate.open();
        finish();
    }
    vertexArray_ = gl_->callsOf("glGenVertexArrays").at(0).names.at(0);
    vertexBuffer_ = gl_->callsOf("glGenBuffers").at(0).names.at(0);
    Texts all = gl_->texts();
    ASSERT_GE(all.size(), 8U);
    all.erase(all.begin(), all.begin() + 8);
    EXPECT_THAT(all, ElementsAreArray(uploadedVertices() + drawn(kTranslucent) +
                                      Texts{callText("glBindVertexArray", 0),
                                            callText("glDeleteVertexArrays", 1, 1),
                                            callText("glBindBuffer", GL_ARRAY_BUFFER, 0),
                                            callText("glDeleteBuffers", 1, 1)}));
}

// Colour

TEST_F(MVColorViewTest, anEqualColourAsksForOneRedrawOnly) {
    const auto view = make(kOpaque);
    view->setColor(kTranslucent);
    EXPECT_EQ(view->color(), kTranslucent);
    EXPECT_EQ(window_->redrawRequests, 1);
    view->setColor(kTranslucent);
    EXPECT_EQ(window_->redrawRequests, 1);
    EXPECT_THAT(texts(), IsEmpty()) << "a colour is uploaded when it is drawn";
}

TEST_F(MVColorViewTest, everyComponentOfAColourCounts) {
    const auto view = make({0.0F, 0.0F, 0.0F, 0.0F});
    int requests = 0;
    for (const ColorRGBA color :
         {ColorRGBA{1.0F, 0.0F, 0.0F, 0.0F}, ColorRGBA{1.0F, 1.0F, 0.0F, 0.0F},
          ColorRGBA{1.0F, 1.0F, 1.0F, 0.0F}, ColorRGBA{1.0F, 1.0F, 1.0F, 1.0F}}) {
        view->setColor(color);
        EXPECT_EQ(window_->redrawRequests, ++requests);
    }
}

TEST_F(MVColorViewTest, aColourThatIsNaNNeverEqualsItself) {
    const auto view = make(kOpaque);
    const ColorRGBA color{std::numeric_limits<float>::quiet_NaN(), 0.0F, 0.0F, 1.0F};
    view->setColor(color);
    view->setColor(color);
    EXPECT_EQ(window_->redrawRequests, 2);
}

TEST_F(MVColorViewTest, colourAndOpacityRewriteNoVertices) {
    const auto view = make(kOpaque);
    view->setColor(kTranslucent);
    view->setOpacity(0.5F);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn({0.25F, 0.5F, 0.75F, 0.25F})));
}

// Size

TEST_F(MVColorViewTest, aNewSizeIsUploadedWithTheNextDrawing) {
    const auto view = make(kOpaque);
    view->setSize({30.0F, 40.0F});
    EXPECT_THAT(texts(), IsEmpty());
    EXPECT_THAT(drawing(), ElementsAreArray(uploadedVertices() + drawn(kOpaque)));
    EXPECT_THAT(gl_->callsOf("glBufferData")[0].floats, ElementsAre(0, 0, 30, 0, 0, 40, 30, 40));
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(kOpaque))) << "once";
}

TEST_F(MVColorViewTest, widthAndHeightAloneAreUploadedToo) {
    const auto view = make(kOpaque);
    view->setSize({11.0F, 20.0F});
    drawing();
    EXPECT_THAT(gl_->callsOf("glBufferData").at(0).floats, ElementsAre(0, 0, 11, 0, 0, 20, 11, 20));
    view->setSize({11.0F, 21.0F});
    drawing();
    EXPECT_THAT(gl_->callsOf("glBufferData").at(0).floats, ElementsAre(0, 0, 11, 0, 0, 21, 11, 21));
}

TEST_F(MVColorViewTest, aChangeOfTheDepthAloneRewritesNothing) {
    const auto view = make(kOpaque);
    view->setSize3({10.0F, 20.0F, 30.0F});
    EXPECT_TRUE(view->mv_isLayoutDirty()) << "the size did change";
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(kOpaque)));
}

TEST_F(MVColorViewTest, anEqualSizeRewritesNothing) {
    const auto view = make(kOpaque);
    view->setSize({10.0F, 20.0F});
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(kOpaque)));
}

TEST_F(MVColorViewTest, aSizeThatComesBackBeforeTheDrawingIsStillUploaded) {
    const auto view = make(kOpaque);
    view->setSize({30.0F, 40.0F});
    view->setSize({10.0F, 20.0F});
    EXPECT_THAT(drawing(), ElementsAreArray(uploadedVertices() + drawn(kOpaque)));
    EXPECT_THAT(gl_->callsOf("glBufferData")[0].floats, ElementsAre(0, 0, 10, 0, 0, 20, 10, 20));
}

TEST_F(MVColorViewTest, aViewWithoutExtentIsDrawnAllTheSame) {
    const auto view = MVColorView::initWithColor(kOpaque);
    window_->addSubview(view);
    finish();
    vertexArray_ = gl_->callsOf("glGenVertexArrays").at(0).names.at(0);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(kOpaque)));
}

TEST_F(MVColorViewTest, verticesAreThoseOfTheMomentOfTheDrawing) {
    const auto view = make(kOpaque);
    {
        QueueGate gate(*context_->dispatchQueue());
        view->setSize({30.0F, 40.0F});
        view->setColor(kTranslucent);
        window_->mv_drawVisit();
        view->setSize({50.0F, 60.0F});
        view->setColor({1.0F, 1.0F, 1.0F, 1.0F});
        view->setOpacity(0.0F);
        gate.open();
        finish();
    }
    EXPECT_THAT(gl_->texts(), ElementsAreArray(uploadedVertices() + drawn(kTranslucent)));
    EXPECT_THAT(gl_->callsOf("glBufferData")[0].floats, ElementsAre(0, 0, 30, 0, 0, 40, 30, 40));
}

// Drawing

TEST_F(MVColorViewTest, anOpaqueFillIsDrawnWithoutBlending) {
    make(kOpaque);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(kOpaque)));
}

TEST_F(MVColorViewTest, aTranslucentFillIsBlended) {
    make(kTranslucent);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(kTranslucent)));
}

TEST_F(MVColorViewTest, theOpacityOfASuperviewFadesTheFill) {
    const auto view = make(kOpaque);
    const auto parent = MVView::init();
    parent->setOpacity(0.5F);
    window_->addSubview(parent);
    parent->addSubview(view);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn({0.25F, 0.5F, 0.75F, 0.5F})));
    view->setColor(kTranslucent);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn({0.25F, 0.5F, 0.75F, 0.25F})));
    EXPECT_EQ(view->color(), kTranslucent) << "the colour itself stays";
}

TEST_F(MVColorViewTest, anInvisibleFillIsDrawn) {
    const auto view = make({0.25F, 0.5F, 0.75F, 0.0F});
    EXPECT_THAT(drawing(), ElementsAreArray(drawn({0.25F, 0.5F, 0.75F, 0.0F})));
    view->setColor(kOpaque);
    view->setOpacity(0.0F);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn({0.25F, 0.5F, 0.75F, 0.0F})));
}

TEST_F(MVColorViewTest, componentsBeyondOneAreNotClamped) {
    make({2.0F, -1.0F, 0.0F, 3.0F});
    EXPECT_THAT(drawing(), ElementsAreArray(drawn({2.0F, -1.0F, 0.0F, 3.0F})));
}

TEST_F(MVColorViewTest, subviewsAreDrawnInFront) {
    const auto back = make(kOpaque);
    const auto front = MVColorView::initWithColor({1.0F, 0.0F, 0.0F, 1.0F});
    back->addSubview(front);
    drawing();
    const auto colors = gl_->callsOf("glUniform4f");
    ASSERT_THAT(colors, SizeIs(2));
    EXPECT_EQ(colors[0].arguments[1], 0.25);
    EXPECT_EQ(colors[1].arguments[1], 1.0);
}

TEST_F(MVColorViewTest, theMatrixIsTheProjectionTimesTheWorldTransformOfTheView) {
    const auto view = make(kOpaque);
    view->setPosition3({30.0F, 40.0F, 5.0F});
    view->setRotation3({0.1F, 0.2F, 0.3F});
    drawing();
    const glm::mat4 expected = window_->projectionMatrix() * view->transformMatrix();
    const float* const first = glm::value_ptr(expected);
    const auto calls = gl_->callsOf("glUniformMatrix4fv");
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_THAT(calls[0].floats,
                Pointwise(testing::FloatEq(), std::vector<float>(first, first + 16)));
}

TEST_F(MVColorViewTest, aCameraThatChangedWithoutALayoutIsUpToDateInTheFirstDrawing) {
    // Building the projection moves the window, so it must come before the world transform.
    const auto view = make(kOpaque);
    drawing();
    window_->setFieldOfView(0.5F);
    drawing();
    const auto calls = gl_->callsOf("glUniformMatrix4fv");
    ASSERT_THAT(calls, SizeIs(1));
    const glm::mat4 expected = window_->projectionMatrix() * view->transformMatrix();
    const float* const first = glm::value_ptr(expected);
    EXPECT_THAT(calls[0].floats,
                Pointwise(testing::FloatEq(), std::vector<float>(first, first + 16)));
}

TEST_F(MVColorViewTest, outsideAnyWindowTheMatrixIsZero) {
    const auto view = make(kOpaque);
    view->removeFromSuperview();
    view->mv_drawVisit();
    finish();
    const auto calls = gl_->callsOf("glUniformMatrix4fv");
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_THAT(calls[0].floats, ElementsAreArray(std::vector<float>(16, 0.0F)));
}

// What may be missing

TEST_F(MVColorViewTest, withoutAnActiveContextNothingIsDrawn) {
    MVRenderContext::mv_setActiveContext(nullptr);
    auto view = MVColorView::initWithColor(kTranslucent);
    window_->addSubview(view);
    view->setSize({10.0F, 20.0F});
    EXPECT_THAT(drawing(), IsEmpty());
    view->removeFromSuperview();
    view.reset();
    EXPECT_THAT(texts(), IsEmpty());
    MVRenderContext::mv_setActiveContext(context_);
}

TEST_F(MVColorViewTest, withoutAShaderNothingIsDrawn) {
    const auto other = MVShaderCache::init();
    for (const auto& cache : {std::shared_ptr<MVShaderCache>(), other}) {
        MVShaderCache::mv_setSharedCache(cache);
        const auto view = make(kOpaque);
        EXPECT_THAT(drawing(), IsEmpty());
        view->setSize({30.0F, 40.0F});
        EXPECT_THAT(drawing(), ElementsAreArray(uploadedVertices()));
        view->removeFromSuperview();
    }
}

TEST_F(MVColorViewTest, aShaderOfAnotherClassUnderItsKeyCountsAsNone) {
    const auto other = MVShaderCache::init();
    other->setShaderForKey(cache_->shaderForKey("MVShaderPositionTextureUniformColor"),
                           "MVShaderPositionUniformColor");
    MVShaderCache::mv_setSharedCache(other);
    make(kOpaque);
    EXPECT_THAT(drawing(), IsEmpty());
}

TEST_F(MVColorViewTest, aViewKeepsTheShaderItWasMadeWith) {
    make(kOpaque);
    MVShaderCache::mv_setSharedCache(nullptr);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(kOpaque)));
}

/// Where the machine offers no GL at all.
using MVColorViewWithoutGLTest = Mivora::tests::ThreadsafeDeathTest;

[[noreturn]] void drawAndExit() {
    const auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    {
        const auto window = MVWindow::init();
        window->addSubview(MVColorView::init());
        window->mv_drawVisit();
    }
    context->mv_dispatchBlockSync([] {});
    std::exit(0);
}

TEST_F(MVColorViewWithoutGLTest, aContextWithoutGLDrawsNothing) {
    // Where the driver is not chosen by this variable, the view is drawn.
    const Mivora::tests::ScopedEnvironment noDriver("__EGL_VENDOR_LIBRARY_FILENAMES",
                                                    "/nonexistent");
    EXPECT_EXIT(drawAndExit(), testing::ExitedWithCode(0), "");
}

}  // namespace
