// What drawing with stencil views asks of GL.

#include <epoxy/gl.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/views/MVView.h"
#include "tests/support/GLTest.h"
#include "tests/support/QueueGate.h"
#include "tests/views/CallText.h"
#include "tests/views/RecordingView.h"

using Mivora::tests::callText;
using Mivora::tests::QueueGate;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

using Texts = std::vector<std::string>;
using Recorded = std::shared_ptr<RecordingView>;

Texts operator+(Texts left, const Texts& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// The state is saved and the drawing of a level begins.
Texts levelBegins(std::uint32_t bit) {
    return {callText("glIsEnabled", GL_STENCIL_TEST),
            callText("glGetIntegerv", GL_STENCIL_WRITEMASK, 1),
            callText("glGetIntegerv", GL_STENCIL_FUNC, 1),
            callText("glGetIntegerv", GL_STENCIL_REF, 1),
            callText("glGetIntegerv", GL_STENCIL_VALUE_MASK, 1),
            callText("glGetIntegerv", GL_STENCIL_FAIL, 1),
            callText("glGetIntegerv", GL_STENCIL_PASS_DEPTH_FAIL, 1),
            callText("glGetIntegerv", GL_STENCIL_PASS_DEPTH_PASS, 1),
            callText("glGetBooleanv", GL_DEPTH_WRITEMASK, 1),
            callText("glEnable", GL_STENCIL_TEST),
            callText("glStencilMask", bit),
            callText("glDepthMask", GL_FALSE),
            callText("glClearStencil", 0),
            callText("glClear", GL_STENCIL_BUFFER_BIT),
            callText("glStencilFunc", GL_NEVER, bit, bit),
            callText("glStencilOp", GL_REPLACE, GL_KEEP, GL_KEEP)};
}

/// The level is drawn; from here on it limits what is drawn.
Texts levelLimits(std::uint32_t mask, GLboolean depthMask = GL_TRUE) {
    return {callText("glDepthMask", depthMask), callText("glStencilFunc", GL_EQUAL, mask, mask),
            callText("glStencilOp", GL_KEEP, GL_KEEP, GL_KEEP)};
}

/// The state is put back.
Texts stateReturns(const MVStencilState& state) {
    return {callText(state.enabled ? "glEnable" : "glDisable", GL_STENCIL_TEST),
            callText("glStencilMask", state.writeMask),
            callText("glStencilFunc", state.function, state.reference, state.readMask),
            callText("glStencilOp", state.stencilFail, state.depthFail, state.depthPass)};
}

/// What a level's owner finds and puts back when it is nested in the level with these bits.
Texts enclosingStateReturns(std::uint32_t bit, std::uint32_t mask) {
    return stateReturns(
        {true, bit, GL_EQUAL, static_cast<std::int32_t>(mask), mask, GL_KEEP, GL_KEEP, GL_KEEP});
}

/// The same while that level is being drawn.
Texts drawingStateReturns(std::uint32_t bit) {
    return stateReturns(
        {true, bit, GL_NEVER, static_cast<std::int32_t>(bit), bit, GL_REPLACE, GL_KEEP, GL_KEEP});
}

/// What `MVViewStencilTest::view` queues when it is drawn.
Texts drawn(int number) {
    return {callText("glClearColor", number, 0, 0, 1)};
}

class MVViewStencilTest : public Mivora::tests::GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        surface_ = MVRenderSurface::init();
        window_ = MVWindow::init();
        window_->setMv_surface(surface_);
        onQueue([this] {
            bindFramebuffer();
            usual_ = surface_->stencilState();
        });
        gl_->clear();
    }

    void TearDown() override {
        window_.reset();
        surface_.reset();
        onQueue([this] {
            glDeleteFramebuffers(1, &framebuffer_);
            glDeleteRenderbuffers(1, &depthStencil_);
        });
        GLTest::TearDown();
    }

    /// Binds a framebuffer with stencil bits: GL cuts off reference values that exceed what is
    /// bound.
    void bindFramebuffer() {
        glGenFramebuffers(1, &framebuffer_);
        glGenRenderbuffers(1, &depthStencil_);
        glBindRenderbuffer(GL_RENDERBUFFER, depthStencil_);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, 4, 4);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER,
                                  depthStencil_);
        glDrawBuffer(GL_NONE);
        glReadBuffer(GL_NONE);
        EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER),
                  static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
    }

    /// A view that queues a call with its number when it is drawn.
    Recorded view(int number) {
        auto made = RecordingView::make(std::to_string(number), nullptr);
        made->onDraw = [context = context_, number] {
            context->dispatchBlock(
                [number] { glClearColor(static_cast<float>(number), 0.0F, 0.0F, 1.0F); });
        };
        return made;
    }

    /// The calls that drawing a view makes.
    Texts drawing(MVView& view) {
        gl_->clear();
        view.mv_drawVisit();
        finish();
        return gl_->texts();
    }
    Texts drawing() { return drawing(*window_); }

    void setState(const MVStencilState& state) {
        onQueue([&] { surface_->setStencilState(state); });
    }
    MVStencilState state() {
        MVStencilState result;
        onQueue([&] { result = surface_->stencilState(); });
        return result;
    }

    void setDepthMask(GLboolean mask) {
        onQueue([mask] { glDepthMask(mask); });
    }
    GLboolean depthMask() {
        GLboolean mask = GL_FALSE;
        onQueue([&] { glGetBooleanv(GL_DEPTH_WRITEMASK, &mask); });
        return mask;
    }

    std::shared_ptr<MVRenderSurface> surface_;
    std::shared_ptr<MVWindow> window_;
    GLuint framebuffer_ = 0;
    GLuint depthStencil_ = 0;
    MVStencilState usual_;  ///< What the driver begins with.
};

// One level

TEST_F(MVViewStencilTest, viewsWithoutAStencilViewMakeNoCallsOfTheirOwn) {
    const auto owner = view(1);
    owner->addSubview(view(2));
    window_->addSubview(owner);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(1) + drawn(2)));
}

TEST_F(MVViewStencilTest, theStencilViewIsDrawnIntoTheFirstBitAndLimitsTheOwnerAndItsSubviews) {
    const auto owner = view(1);
    const auto stencil = view(2);
    stencil->addSubview(view(3));
    owner->setStencilView(stencil);
    owner->addSubview(view(4));
    window_->addSubview(owner);
    window_->addSubview(view(5));
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + drawn(3) + levelLimits(1) +
                                            drawn(1) + drawn(4) + stateReturns(usual_) + drawn(5)));
}

TEST_F(MVViewStencilTest, everyFrameBeginsWithTheFirstBitAgain) {
    const auto owner = view(1);
    owner->setStencilView(view(2));
    window_->addSubview(owner);
    const Texts first = drawing();
    EXPECT_EQ(drawing(), first);
}

TEST_F(MVViewStencilTest, siblingsTakeTheSameBitOneAfterTheOther) {
    for (const int number : {1, 3}) {
        const auto owner = view(number);
        owner->setStencilView(view(number + 1));
        window_->addSubview(owner);
    }
    const Texts back = stateReturns(usual_);
    EXPECT_THAT(drawing(),
                ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) + drawn(1) + back +
                                 levelBegins(1) + drawn(4) + levelLimits(1) + drawn(3) + back));
}

TEST_F(MVViewStencilTest, aStencilViewThatIsASubviewTooIsDrawnASecondTimeInItsPlace) {
    const auto owner = view(1);
    const auto stencil = view(2);
    owner->addSubview(view(3));
    owner->addSubview(stencil);
    owner->addSubview(view(4));
    owner->setStencilView(stencil);
    window_->addSubview(owner);
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) + drawn(1) +
                                            drawn(3) + drawn(2) + drawn(4) + stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, aStencilViewThatIsPlacedElsewhereLimitsItsOwnerToo) {
    const auto owner = view(1);
    const auto stencil = view(2);
    window_->addSubview(stencil);
    window_->addSubview(owner);
    owner->setStencilView(stencil);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(2) + levelBegins(1) + drawn(2) + levelLimits(1) +
                                            drawn(1) + stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, aTransparentStencilViewIsDrawn) {
    const auto owner = view(1);
    const auto stencil = view(2);
    stencil->setOpacity(0.0F);
    owner->setStencilView(stencil);
    window_->addSubview(owner);
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) + drawn(1) +
                                            stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, aReplacedStencilViewIsNotDrawn) {
    const auto owner = view(1);
    owner->setStencilView(view(2));
    owner->setStencilView(view(3));
    window_->addSubview(owner);
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(3) + levelLimits(1) + drawn(1) +
                                            stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, theWindowItselfMayHaveAStencilView) {
    window_->setStencilView(view(1));
    window_->addSubview(view(2));
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(1) + levelLimits(1) + drawn(2) +
                                            stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, applyingAndCleaningUpAnswerWhetherALevelWasTaken) {
    const auto owner = view(1);
    window_->addSubview(owner);
    EXPECT_FALSE(owner->applyStencil());
    owner->setStencilView(view(2));
    EXPECT_TRUE(owner->applyStencil());
    owner->cleanupStencil();
    finish();
    EXPECT_EQ(state(), usual_);
    owner->cleanupStencil();
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) + drawn(1) +
                                            stateReturns(usual_)))
        << "there was nothing left to give back";
}

// What is drawn without a limit

TEST_F(MVViewStencilTest, aHiddenStencilViewIsNoLimit) {
    const auto owner = view(1);
    const auto stencil = view(2);
    stencil->setHidden(true);
    owner->setStencilView(stencil);
    window_->addSubview(owner);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(1)));
    stencil->setHidden(false);
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) + drawn(1) +
                                            stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, onlyTheStencilViewsOwnFlagHidesIt) {
    const auto hidden = view(1);
    const auto owner = view(2);
    const auto stencil = view(3);
    hidden->setHidden(true);
    hidden->addSubview(stencil);
    owner->setStencilView(stencil);
    window_->addSubview(owner);
    ASSERT_TRUE(stencil->isEffectivelyHidden());
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(3) + levelLimits(1) + drawn(2) +
                                            stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, aHiddenOwnerTakesNoLevel) {
    const auto owner = view(1);
    owner->setStencilView(view(2));
    owner->setHidden(true);
    window_->addSubview(owner);
    EXPECT_THAT(drawing(), IsEmpty());
}

TEST_F(MVViewStencilTest, withoutAWindowOrASurfaceThereIsNoLimitAndTheStencilViewIsNotDrawn) {
    const auto owner = view(1);
    owner->setStencilView(view(2));
    EXPECT_THAT(drawing(*owner), ElementsAreArray(drawn(1))) << "no window";
    window_->addSubview(owner);
    window_->setMv_surface(nullptr);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(1))) << "no surface";
    window_->setMv_surface(surface_);
    MVRenderContext::mv_setActiveContext(nullptr);
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(1))) << "no active context";
    MVRenderContext::mv_setActiveContext(context_);
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) + drawn(1) +
                                            stateReturns(usual_)));
}

// Nested levels

TEST_F(MVViewStencilTest, levelsWithinEachOtherTakeOneBitEachAndLimitTogether) {
    const auto outer = view(1);
    const auto middle = view(2);
    const auto inner = view(3);
    outer->setStencilView(view(11));
    middle->setStencilView(view(12));
    inner->setStencilView(view(13));
    window_->addSubview(outer);
    outer->addSubview(middle);
    middle->addSubview(inner);
    outer->addSubview(view(4));
    EXPECT_THAT(drawing(),
                ElementsAreArray(levelBegins(1) + drawn(11) + levelLimits(1) + drawn(1) +     //
                                 levelBegins(2) + drawn(12) + levelLimits(3) + drawn(2) +     //
                                 levelBegins(4) + drawn(13) + levelLimits(7) + drawn(3) +     //
                                 enclosingStateReturns(2, 3) + enclosingStateReturns(1, 1) +  //
                                 drawn(4) + stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, aStencilViewWithAStencilViewTakesTheNextLevelWhileItIsDrawn) {
    const auto owner = view(1);
    const auto stencil = view(2);
    const auto nested = view(3);
    stencil->setStencilView(nested);
    owner->setStencilView(stencil);
    window_->addSubview(owner);
    // Depth writing is off already when the inner level begins, and stays off when it ends.
    EXPECT_THAT(drawing(),
                ElementsAreArray(levelBegins(1) + levelBegins(2) + drawn(3) +
                                 levelLimits(3, GL_FALSE) + drawn(2) + drawingStateReturns(1) +
                                 levelLimits(1) + drawn(1) + stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, eightLevelsMaskAndDeeperOnesAreDrawnWithoutALimitOfTheirOwn) {
    // An owner with a stencil view in each of ten levels.
    Recorded parent;
    Texts expected;
    Texts ends = stateReturns(usual_);
    for (int level = 0; level < 10; ++level) {
        const auto owner = view(level);
        owner->setStencilView(view(100 + level));
        if (parent) {
            parent->addSubview(owner);
        } else {
            window_->addSubview(owner);
        }
        parent = owner;
        if (level >= surface_->stencilBits()) {
            expected = expected + drawn(level);
            continue;
        }
        const std::uint32_t bit = 1U << level;
        const std::uint32_t mask = 2 * bit - 1;
        expected =
            expected + levelBegins(bit) + drawn(100 + level) + levelLimits(mask) + drawn(level);
        if (level + 1 < surface_->stencilBits()) {
            ends = enclosingStateReturns(bit, mask) + ends;
        }
    }
    ASSERT_EQ(surface_->stencilBits(), 8);
    EXPECT_THAT(drawing(), ElementsAreArray(expected + ends));
    EXPECT_THAT(drawing(), ElementsAreArray(expected + ends)) << "every level was given back";
}

TEST_F(MVViewStencilTest, aLevelThatWasRefusedTakesNothing) {
    // A sibling of the last owner that has a level must find that level free again.
    std::shared_ptr<MVView> parent = window_;
    for (int level = 0; level < 8; ++level) {
        const auto owner = view(level);
        owner->setStencilView(view(100 + level));
        parent->addSubview(owner);
        parent = owner;
    }
    const auto refused = view(8);
    refused->setStencilView(view(108));
    parent->addSubview(refused);
    const auto sibling = view(9);
    sibling->setStencilView(view(109));
    parent->superview()->addSubview(sibling);
    drawing();
    std::vector<double> bits;
    for (const auto& call : gl_->callsOf("glStencilFunc")) {
        if (call.arguments[0] == GL_NEVER) {
            bits.push_back(call.arguments[1]);
        }
    }
    bits.resize(std::min<std::size_t>(bits.size(), 8));
    EXPECT_THAT(bits, ElementsAre(1, 2, 4, 8, 16, 32, 64, 128));
    const Texts texts = gl_->texts();
    EXPECT_THAT(texts, testing::Not(testing::Contains(drawn(108)[0])));
    EXPECT_THAT(texts, testing::Contains(drawn(109)[0])) << "level 7 again";
}

// State

TEST_F(MVViewStencilTest, theStateThatWasFoundIsPutBack) {
    const MVStencilState found{true, 0x0F, GL_LEQUAL, 5, 0x3C, GL_INCR, GL_DECR_WRAP, GL_INVERT};
    setState(found);
    const auto owner = view(1);
    owner->setStencilView(view(2));
    window_->addSubview(owner);
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) + drawn(1) +
                                            stateReturns(found)));
    EXPECT_EQ(state(), found);
}

TEST_F(MVViewStencilTest, depthWritingIsOffInTheStencilAndThenAsItWasFound) {
    const auto owner = view(1);
    const auto stencil = view(2);
    owner->setStencilView(stencil);
    window_->addSubview(owner);
    for (const GLboolean found : {GL_FALSE, GL_TRUE}) {
        setDepthMask(found);
        EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1, found) +
                                                drawn(1) + stateReturns(usual_)));
        EXPECT_EQ(depthMask(), found);
    }
}

TEST_F(MVViewStencilTest, aStateThatChangesBetweenFramesIsSavedAnew) {
    const auto owner = view(1);
    owner->setStencilView(view(2));
    window_->addSubview(owner);
    drawing();
    MVStencilState changed = usual_;
    changed.readMask = 0x11;
    setState(changed);
    drawing();
    EXPECT_EQ(state(), changed);
}

TEST_F(MVViewStencilTest, twoFramesThatWaitTogetherRestoreTheirOwnState) {
    const auto owner = view(1);
    owner->setStencilView(view(2));
    window_->addSubview(owner);
    gl_->clear();
    {
        QueueGate gate(*context_->dispatchQueue());
        window_->mv_drawVisit();
        window_->mv_drawVisit();
        gate.open();
        finish();
    }
    const Texts frame =
        levelBegins(1) + drawn(2) + levelLimits(1) + drawn(1) + stateReturns(usual_);
    EXPECT_THAT(gl_->texts(), ElementsAreArray(frame + frame));
}

TEST_F(MVViewStencilTest, anOwnerThatIsDestroyedWhileItsCallsWaitLeavesThemIntact) {
    auto owner = view(1);
    owner->setStencilView(view(2));
    window_->addSubview(owner);
    gl_->clear();
    {
        QueueGate gate(*context_->dispatchQueue());
        window_->mv_drawVisit();
        owner->removeFromSuperview();
        const std::weak_ptr<MVView> watched = owner;
        owner.reset();
        EXPECT_TRUE(watched.expired());
        gate.open();
        finish();
    }
    EXPECT_THAT(gl_->texts(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) +
                                               drawn(1) + stateReturns(usual_)));
}

// What the current drawing view is

TEST_F(MVViewStencilTest, theStencilViewIsTheCurrentDrawingViewWhileItIsDrawn) {
    const auto owner = RecordingView::make("owner", nullptr);
    const auto stencil = RecordingView::make("stencil", nullptr);
    std::vector<std::shared_ptr<MVView>> seen;
    const auto see = [&] { seen.push_back(MVView::currentDrawingView()); };
    owner->onDraw = see;
    stencil->onDraw = see;
    owner->setStencilView(stencil);
    window_->addSubview(owner);
    drawing();
    EXPECT_THAT(seen, ElementsAre(stencil, owner));
    EXPECT_EQ(MVView::currentDrawingView(), nullptr);
}

// Exceptions and changes while drawing

class MVViewStencilExceptionTest : public MVViewStencilTest,
                                   public testing::WithParamInterface<const char*> {};

TEST_P(MVViewStencilExceptionTest, givesTheLevelsBackAndRestoresTheState) {
    const auto outer = view(1);
    const auto outerStencil = view(11);
    const auto inner = view(2);
    const auto innerStencil = view(12);
    const auto last = view(3);
    outer->setStencilView(outerStencil);
    inner->setStencilView(innerStencil);
    outer->addSubview(inner);
    inner->addSubview(last);
    window_->addSubview(outer);
    const Texts undisturbed = drawing();

    for (const Recorded& candidate : {outer, outerStencil, inner, innerStencil, last}) {
        candidate->setDebugName(candidate == outer          ? "owner"
                                : candidate == outerStencil ? "stencilView"
                                : candidate == inner        ? "nestedOwner"
                                : candidate == innerStencil ? "nestedStencilView"
                                                            : "subview");
        if (candidate->debugName() == GetParam()) {
            const std::function<void()> usual = candidate->onDraw;
            candidate->onDraw = [] { throw std::runtime_error("no"); };
            EXPECT_THROW(window_->mv_drawVisit(), std::runtime_error);
            candidate->onDraw = usual;
        }
    }
    EXPECT_EQ(MVView::currentDrawingView(), nullptr);
    EXPECT_EQ(state(), usual_);
    EXPECT_EQ(depthMask(), GL_TRUE);
    EXPECT_EQ(drawing(), undisturbed);
}

INSTANTIATE_TEST_SUITE_P(InTheDrawOf, MVViewStencilExceptionTest,
                         testing::Values("owner", "stencilView", "nestedOwner", "nestedStencilView",
                                         "subview"),
                         [](const auto& instance) { return std::string(instance.param); });

TEST_F(MVViewStencilTest, aStencilViewMayRemoveItselfWhileItIsDrawn) {
    const auto owner = view(1);
    owner->setStencilView(RecordingView::make("stencil", nullptr));
    const auto watched = std::weak_ptr<MVView>(owner->stencilView());
    static_cast<RecordingView&>(*watched.lock()).onDraw = [&] { owner->setStencilView(nullptr); };
    window_->addSubview(owner);
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + levelLimits(1) + drawn(1) +
                                            stateReturns(usual_)));
    EXPECT_TRUE(watched.expired());
    EXPECT_THAT(drawing(), ElementsAreArray(drawn(1)));
}

TEST_F(MVViewStencilTest, anOwnerThatLeavesItsWindowWhileItIsDrawnGivesTheLevelBack) {
    const auto owner = view(1);
    owner->setStencilView(view(2));
    window_->addSubview(owner);
    owner->onDraw = [&] { owner->removeFromSuperview(); };
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) +
                                            stateReturns(usual_)));
    EXPECT_EQ(state(), usual_);
    owner->onDraw = nullptr;
    window_->addSubview(owner);
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) +
                                            stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, anOwnerThatLeavesItsWindowWithinAnEnclosingLevelRestoresThatLevel) {
    const auto outer = view(1);
    const auto inner = view(2);
    const auto last = view(3);
    outer->setStencilView(view(11));
    inner->setStencilView(view(12));
    outer->addSubview(inner);
    outer->addSubview(last);
    window_->addSubview(outer);
    inner->onDraw = [&] { inner->removeFromSuperview(); };
    EXPECT_THAT(drawing(),
                ElementsAreArray(levelBegins(1) + drawn(11) + levelLimits(1) + drawn(1) +
                                 levelBegins(2) + drawn(12) + levelLimits(3) +
                                 enclosingStateReturns(1, 1) + drawn(3) + stateReturns(usual_)));
}

TEST_F(MVViewStencilTest, anActiveContextThatGoesWhileTheOwnerIsDrawnLeavesNoStateBehind) {
    const auto owner = view(1);
    owner->setStencilView(view(2));
    window_->addSubview(owner);
    owner->onDraw = [] { MVRenderContext::mv_setActiveContext(nullptr); };
    window_->mv_drawVisit();
    MVRenderContext::mv_setActiveContext(context_);
    finish();
    EXPECT_EQ(state(), usual_);
}

TEST_F(MVViewStencilTest, levelsThatOneViewTakesTwiceAreGivenBackOneByOne) {
    const auto owner = view(1);
    owner->setStencilView(view(2));
    window_->addSubview(owner);
    gl_->clear();
    ASSERT_TRUE(owner->applyStencil());
    ASSERT_TRUE(owner->applyStencil());
    owner->cleanupStencil();
    owner->cleanupStencil();
    finish();
    EXPECT_THAT(gl_->texts(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) +
                                               levelBegins(2) + drawn(2) + levelLimits(3) +
                                               enclosingStateReturns(1, 1) + stateReturns(usual_)));
    EXPECT_EQ(state(), usual_);
}

TEST_F(MVViewStencilTest, aSurfaceThatGoesWhileTheOwnerIsDrawnGivesTheLevelBack) {
    const auto owner = view(1);
    owner->setStencilView(view(2));
    window_->addSubview(owner);
    const std::weak_ptr<MVRenderSurface> watched = surface_;
    owner->onDraw = [&] { surface_.reset(); };
    window_->mv_drawVisit();
    finish();
    EXPECT_TRUE(watched.expired()) << "a level keeps the surface only while it is in use";
    owner->onDraw = nullptr;
    surface_ = MVRenderSurface::init();
    window_->setMv_surface(surface_);
    EXPECT_EQ(state(), usual_);
    EXPECT_THAT(drawing(), ElementsAreArray(levelBegins(1) + drawn(2) + levelLimits(1) +
                                            stateReturns(usual_)));
}

}  // namespace
