// What surfaces show, on the driver as it is.

#include <epoxy/gl.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <utility>
#include <vector>

#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"
#include "tests/support/GLTest.h"

using Mivora::ColorRGBA;
using Mivora::Size2I;

namespace {

using Buffer = std::shared_ptr<MVRenderSurfaceBuffer>;
using Pixel = std::array<std::uint8_t, 4>;
constexpr Pixel kRed = {255, 0, 0, 255};
constexpr Pixel kGreen = {0, 255, 0, 255};
constexpr Pixel kBlue = {0, 0, 255, 255};

/// Draws rectangles of one colour at one depth. In GL work only.
class Painter {
 public:
    Painter() {
        program_ = glCreateProgram();
        addStage(GL_VERTEX_SHADER,
                 "#version 150\nuniform vec4 u_rect; uniform float u_depth; void main() {"
                 " vec2 corner = vec2(gl_VertexID & 1, gl_VertexID >> 1);"
                 " gl_Position = vec4(u_rect.xy + corner * u_rect.zw, u_depth, 1.0); }");
        addStage(GL_FRAGMENT_SHADER,
                 "#version 150\nuniform vec4 u_color; out vec4 color;"
                 "void main() { color = u_color; }");
        glLinkProgram(program_);
        glGenVertexArrays(1, &array_);
    }
    ~Painter() {
        glDeleteVertexArrays(1, &array_);
        glDeleteProgram(program_);
    }
    Painter(const Painter&) = delete;
    Painter& operator=(const Painter&) = delete;

    /// @param depth  -1 (near) to 1 (far)
    void fill(float x, float y, float width, float height, float depth, const Pixel& color) const {
        glUseProgram(program_);
        glUniform4f(glGetUniformLocation(program_, "u_rect"), x, y, width, height);
        glUniform1f(glGetUniformLocation(program_, "u_depth"), depth);
        glUniform4f(glGetUniformLocation(program_, "u_color"), color[0] / 255.0F, color[1] / 255.0F,
                    color[2] / 255.0F, color[3] / 255.0F);
        glBindVertexArray(array_);
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    }

 private:
    void addStage(GLenum type, const char* source) const {
        const GLuint stage = glCreateShader(type);
        glShaderSource(stage, 1, &source, nullptr);
        glCompileShader(stage);
        glAttachShader(program_, stage);
        glDeleteShader(stage);
    }

    GLuint program_ = 0;
    GLuint array_ = 0;
};

class MVRenderSurfacePixelTest : public Mivora::tests::GLTest {
 protected:
    static Buffer buffer(Size2I size, GLenum format = GL_RGBA8) {
        return MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(size,
                                                                                        format, 0);
    }

    static std::shared_ptr<MVRenderSurface> surface(Size2I size = {8, 8}) {
        auto made = MVRenderSurface::init();
        made->setColorBuffer(buffer(size));
        return made;
    }

    static Pixel read(int x, int y) {
        Pixel pixel = {};
        glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
        return pixel;
    }

    /// Renders, draws as GL work, and calls `look` while the surface is still bound.
    void draw(const std::shared_ptr<MVRenderSurface>& surface,
              const std::function<void(const Painter&)>& closure) {
        surface->renderBlock([&] {
            context_->dispatchBlock([&] {
                const Painter painter;
                closure(painter);
            });
        });
        finish();
    }

    /// What a scene that needs both buffers shows.
    struct Seen {
        bool depthTested;
        bool stencilClipped;
        bool operator==(const Seen&) const = default;
        friend void PrintTo(const Seen& seen, std::ostream* stream) {
            *stream << "{depth tested: " << seen.depthTested
                    << ", stencil clipped: " << seen.stencilClipped << "}";
        }
    };

    /// Red lies in front of green on the left. On the right, blue is let into the upper half only.
    Seen drawScene(const std::shared_ptr<MVRenderSurface>& surface) {
        const Size2I size = surface->colorBuffer()->storageSize();
        const int right = size.width - 1;
        const int top = size.height - 1;
        Pixel left = {};
        Pixel lower = {};
        Pixel upper = {};
        draw(surface, [&](const Painter& painter) {
            EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER),
                      static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE));
            glEnable(GL_DEPTH_TEST);
            painter.fill(-1, -1, 1, 2, -0.5F, kRed);
            painter.fill(-1, -1, 2, 2, 0.5F, kGreen);
            glDisable(GL_DEPTH_TEST);

            glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
            surface->setStencilState(
                {true, 0xFF, GL_ALWAYS, 1, 0xFF, GL_KEEP, GL_KEEP, GL_REPLACE});
            painter.fill(-1, 0, 2, 1, 0, kBlue);
            glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
            surface->setStencilState({true, 0xFF, GL_EQUAL, 1, 0xFF, GL_KEEP, GL_KEEP, GL_KEEP});
            painter.fill(0, -1, 1, 2, 0, kBlue);
            glDisable(GL_STENCIL_TEST);

            left = read(0, 0);
            lower = read(right, 0);
            upper = read(right, top);
        });
        EXPECT_EQ(upper, kBlue);
        EXPECT_THAT(left, testing::AnyOf(kRed, kGreen));
        EXPECT_THAT(lower, testing::AnyOf(kGreen, kBlue));
        return {left == kRed, lower == kGreen};
    }
};

TEST_F(MVRenderSurfacePixelTest, everyRenderStartsFromTheClearColor) {
    const auto it = surface();
    it->setClearColor({0.2F, 0.4F, 0.6F, 0.8F});
    Pixel cleared = {};
    draw(it, [&](const Painter& painter) {
        cleared = read(3, 5);
        painter.fill(-1, -1, 2, 2, 0, kRed);
        EXPECT_EQ(read(3, 5), kRed);
    });
    const Pixel expected = {51, 102, 153, 204};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(cleared[i], expected[i], 1) << "component " << i;
    }
    it->setClearColor(ColorRGBA::kGreen);
    draw(it, [&](const Painter&) {
        for (const auto& [x, y] : {std::pair{0, 0}, {7, 0}, {0, 7}, {7, 7}, {3, 5}}) {
            EXPECT_EQ(read(x, y), kGreen) << x << ", " << y;
        }
    });
}

TEST_F(MVRenderSurfacePixelTest, theDefaultClearColorIsTransparentBlack) {
    draw(surface(), [&](const Painter&) { EXPECT_EQ(read(3, 5), (Pixel{0, 0, 0, 0})); });
}

TEST_F(MVRenderSurfacePixelTest, masksLeftBehindDoNotSpoilTheNextClear) {
    const auto it = surface();
    draw(it, [&](const Painter& painter) {
        glEnable(GL_DEPTH_TEST);
        painter.fill(-1, -1, 2, 2, -1, kRed);  // the nearest there is
        glDisable(GL_DEPTH_TEST);
        it->setStencilState({true, 0xFF, GL_ALWAYS, 1, 0xFF, GL_KEEP, GL_KEEP, GL_REPLACE});
        painter.fill(-1, -1, 2, 2, 0, kRed);
        it->setStencilState({false, 0, GL_ALWAYS, 0, 0, GL_KEEP, GL_KEEP, GL_KEEP});
        glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
        glDepthMask(GL_FALSE);
    });
    draw(it, [&](const Painter& painter) {
        EXPECT_EQ(read(3, 5), (Pixel{0, 0, 0, 0})) << "colour";
        glEnable(GL_DEPTH_TEST);
        painter.fill(-1, -1, 2, 2, 0.5F, kGreen);
        EXPECT_EQ(read(3, 5), kGreen) << "depth";
        glDisable(GL_DEPTH_TEST);
        it->setStencilState({true, 0xFF, GL_EQUAL, 1, 0xFF, GL_KEEP, GL_KEEP, GL_KEEP});
        painter.fill(-1, -1, 2, 2, 0, kBlue);
        EXPECT_EQ(read(3, 5), kGreen) << "stencil";
        glDisable(GL_STENCIL_TEST);
    });
}

TEST_F(MVRenderSurfacePixelTest, aViewportMovesAndScalesWhatIsDrawn) {
    const auto it = surface();
    it->setViewport({4, 4, 4, 4});
    draw(it, [&](const Painter& painter) {
        painter.fill(-1, -1, 2, 2, 0, kRed);
        EXPECT_EQ(read(3, 3), (Pixel{0, 0, 0, 0}));
        EXPECT_EQ(read(4, 4), kRed);
    });
    it->setViewport({-8, -8, 32, 32});  // the buffer shows the quarter left of and below the middle
    draw(it, [&](const Painter& painter) {
        painter.fill(-0.5F, -0.5F, 0.25F, 0.5F, 0, kRed);
        EXPECT_EQ(read(0, 0), kRed);
        EXPECT_EQ(read(3, 7), kRed);
        EXPECT_EQ(read(4, 0), (Pixel{0, 0, 0, 0}));
    });
}

TEST_F(MVRenderSurfacePixelTest, theStencilStateReadsBackAsItWasSet) {
    const auto it = surface();
    const std::vector<MVStencilState> states = {
        {true, 0xFF, GL_ALWAYS, 0, 0xFF, GL_KEEP, GL_KEEP, GL_KEEP},
        {false, 0x01, GL_NEVER, 1, 0x01, GL_REPLACE, GL_KEEP, GL_KEEP},
        {true, 0x80, GL_EQUAL, 0x80, 0x7F, GL_INCR, GL_DECR, GL_INVERT},
        {true, 0xFFFFFFFF, GL_NOTEQUAL, 0xFF, 0xFFFFFFFF, GL_ZERO, GL_INCR_WRAP, GL_DECR_WRAP},
        {false, 0, GL_LESS, 0, 0, GL_KEEP, GL_ZERO, GL_REPLACE},
    };
    draw(it, [&](const Painter&) {
        for (const MVStencilState& state : states) {
            it->setStencilState(state);
            EXPECT_EQ(it->stencilState(), state);
        }
        it->setStencilState(states[0]);
        glDisable(GL_STENCIL_TEST);
    });
}

TEST_F(MVRenderSurfacePixelTest, aSurfaceDrawsDepthTestsAndClips) {
    EXPECT_EQ(drawScene(surface()), (Seen{true, true}));
}

TEST_F(MVRenderSurfacePixelTest, aSurfaceWithBuffersSetByHandDepthTestsAndClips) {
    const auto it = surface();
    it->setDepthBuffer(buffer({8, 8}, GL_DEPTH_COMPONENT24));
    it->setStencilBuffer(buffer({8, 8}, GL_STENCIL_INDEX8));
    EXPECT_EQ(drawScene(it), (Seen{true, true}));
}

/// Something done to a surface that has been drawn into, and what is left of its tests.
struct Change {
    const char* name;
    std::function<void(MVRenderSurface&)> make;
    bool depthTested;
    bool stencilClipped;

    friend void PrintTo(const Change& change, std::ostream* stream) { *stream << change.name; }
};

Buffer made(Size2I size, GLenum format) {
    return MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(size, format,
                                                                                    0);
}

const std::vector<Change>& changes() {
    using Surface = MVRenderSurface;
    static const std::vector<Change> table = {
        {"nothing", [](Surface&) {}, true, true},
        {"largerColor",
         [](Surface& it) {
             it.setColorBuffer(made({20, 12}, GL_RGBA8));
         },
         true, true},
        {"smallerColor",
         [](Surface& it) {
             it.setColorBuffer(made({4, 4}, GL_RGBA8));
         },
         true, true},
        {"colorOfTheSameSize",
         [](Surface& it) {
             it.setColorBuffer(made({8, 8}, GL_RGBA8));
         },
         true, true},
        {"noDepth", [](Surface& it) { it.setDepthFormat(0); }, false, true},
        {"noStencil", [](Surface& it) { it.setStencilFormat(0); }, true, false},
        {"noDepthNoStencil",
         [](Surface& it) {
             it.setDepthFormat(0);
             it.setStencilFormat(0);
         },
         false, false},
        {"depthAgain",
         [](Surface& it) {
             it.setDepthFormat(0);
             it.renderBlock([] {});
             it.setDepthFormat(GL_DEPTH_COMPONENT24);
         },
         true, true},
        {"stencilAgain",
         [](Surface& it) {
             it.setStencilFormat(0);
             it.renderBlock([] {});
             it.setStencilFormat(GL_STENCIL_INDEX8);
         },
         true, true},
        {"otherDepthFormat", [](Surface& it) { it.setDepthFormat(GL_DEPTH_COMPONENT16); }, true,
         true},
        {"depthReplacedByHand",
         [](Surface& it) {
             it.setDepthBuffer(made({8, 8}, GL_DEPTH_COMPONENT24));
         },
         true, true},
        {"stencilReplacedByHand",
         [](Surface& it) {
             it.setStencilBuffer(made({8, 8}, GL_STENCIL_INDEX8));
         },
         true, true},
        {"depthDroppedByHand", [](Surface& it) { it.setDepthBuffer(nullptr); }, false, true},
        {"stencilDroppedByHand", [](Surface& it) { it.setStencilBuffer(nullptr); }, true, false},
        {"stencilDroppedAndDepthReplacedByHand",
         [](Surface& it) {
             it.setStencilBuffer(nullptr);
             it.setDepthBuffer(made({8, 8}, GL_DEPTH_COMPONENT24));
         },
         true, false},
        {"depthDroppedAndPutBackByHand",
         [](Surface& it) {
             const Buffer depth = it.depthBuffer();
             it.setDepthBuffer(nullptr);
             it.setDepthBuffer(depth);
         },
         true, true},
        {"stencilDroppedAndPutBackByHand",
         [](Surface& it) {
             const Buffer stencil = it.stencilBuffer();
             it.setStencilBuffer(nullptr);
             it.setStencilBuffer(stencil);
         },
         true, true},
        {"multisamplingAndBack",
         [](Surface& it) {
             it.setMultisampleFormat(4);
             it.renderBlock([] {});
             it.setMultisampleFormat(0);
         },
         true, true},
    };
    return table;
}

class MVRenderSurfaceChangeTest : public MVRenderSurfacePixelTest,
                                  public testing::WithParamInterface<Change> {};

TEST_P(MVRenderSurfaceChangeTest, leavesASurfaceThatStillDraws) {
    const auto it = surface();
    ASSERT_EQ(drawScene(it), (Seen{true, true}));
    GetParam().make(*it);
    EXPECT_EQ(drawScene(it), (Seen{GetParam().depthTested, GetParam().stencilClipped}));
    EXPECT_EQ(drawScene(it), (Seen{GetParam().depthTested, GetParam().stencilClipped}));
}

INSTANTIATE_TEST_SUITE_P(All, MVRenderSurfaceChangeTest, testing::ValuesIn(changes()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
