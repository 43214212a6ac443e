// A frame of many moving views, against the same GL calls written by hand.
//
// Held constant: 1280 x 800 pixels, 4 samples a pixel, opaque colour views of 10 x 8 points in a
// flat tree, every one moved and rotated in every frame. The reference draws the same quads with
// the same calls in the same order on one thread, from matrices computed beforehand. Both resolve
// their frame and wait until it is finished. Library and reference take turns frame by frame; each
// figure is the median.
//
// What the main thread does is timed with the GL queue held back, so that on a machine with few
// cores the rasteriser's threads do not count.

#include <epoxy/gl.h>

#include <array>
#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVFramePrivate.h"
#include "MivoraMac/views/MVWindow.h"
#include "bench/support/Bench.h"
#include "tests/support/GLCallRecorder.h"
#include "tests/support/QueueGate.h"

using namespace Mivora::bench;
using Mivora::platform::Drawable;

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 800;
constexpr Mivora::Size2 kViewSize = {10, 8};

Mivora::Point3 positionAt(int index, int frame) {
    const float offset = static_cast<float>(frame % 16);
    return {static_cast<float>(index % 125) * 10.0F + offset,
            static_cast<float>(index / 125) * 9.5F + offset, 0.0F};
}

float rotationAt(int index, int frame) {
    return 0.01F * static_cast<float>(index % 100 + frame % 32);
}

Mivora::ColorRGBA colorAt(int index) {
    return {static_cast<float>(index % 7) / 6.0F, static_cast<float>(index % 11) / 10.0F, 0.5F,
            1.0F};
}

void beginFrame(Drawable& drawable) {
    glBindFramebuffer(GL_FRAMEBUFFER, drawable.framebuffer());
    glClearColor(0.1F, 0.1F, 0.1F, 1.0F);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    glViewport(0, 0, kWidth, kHeight);
}

void endFrame(Drawable& drawable) {
    drawable.flush();
    glFinish();
}

/// A window full of views, drawn by the library.
class LibraryScene {
 public:
    LibraryScene(MVRenderContext& context, Drawable& drawable, int count)
        : context_(context), drawable_(drawable) {
        window_->setSize({kWidth, kHeight});
        window_->setMv_surface(surface_);
        for (int i = 0; i < count; ++i) {
            views_.push_back(MVColorView::initWithColor(colorAt(i)));
            views_.back()->setSize(kViewSize);
            window_->addSubview(views_.back());
        }
    }

    void move() {
        ++frame_;
        for (std::size_t i = 0; i < views_.size(); ++i) {
            views_[i]->setPosition3(positionAt(static_cast<int>(i), frame_));
            views_[i]->setRotation(rotationAt(static_cast<int>(i), frame_));
        }
    }

    /// What the main thread does for a frame, and the queueing of its GL work.
    void layOutAndDraw() {
        MVFrame::layOut(*window_);
        if (window_->mv_windowNeedsDraw()) {
            MVFrame::draw(*window_, [this] {
                context_.mv_dispatchBlock(MVRenderContext::StencilPlanes::Cleared,
                                          [this] { beginFrame(drawable_); });
            });
        }
    }

    void present() {
        if (window_->mv_windowNeedsDraw()) {
            window_->mv_setDrawClean();
            context_.mv_dispatchBlockSync([this] { endFrame(drawable_); });
        }
    }

    void frame() {
        move();
        layOutAndDraw();
        present();
    }

    MVWindow& window() { return *window_; }

 private:
    MVRenderContext& context_;
    Drawable& drawable_;
    std::shared_ptr<MVWindow> window_ = MVWindow::init();
    std::shared_ptr<MVRenderSurface> surface_ = MVRenderSurface::init();
    std::vector<std::shared_ptr<MVColorView>> views_;
    int frame_ = 0;
};

/// The same quads by hand. All on the GL thread.
class RawScene {
 public:
    RawScene(Drawable& drawable, MVWindow& window, int count)
        : drawable_(drawable),
          projection_(window.projectionMatrix()),
          world_(window.transformMatrix()) {
        program_ = link();
        matrixUniform_ = glGetUniformLocation(program_, "u_transformProjectionMatrix");
        colorUniform_ = glGetUniformLocation(program_, "u_color");
        for (int i = 0; i < count; ++i) {
            Quad quad;
            glGenVertexArrays(1, &quad.vertexArray);
            glBindVertexArray(quad.vertexArray);
            glGenBuffers(1, &quad.buffer);
            glBindBuffer(GL_ARRAY_BUFFER, quad.buffer);
            const std::array<float, 8> vertices = {
                0, 0, kViewSize.width, 0, 0, kViewSize.height, kViewSize.width, kViewSize.height};
            glBufferData(GL_ARRAY_BUFFER, sizeof(vertices), vertices.data(), GL_DYNAMIC_DRAW);
            glEnableVertexAttribArray(0);
            glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, nullptr);
            glBindVertexArray(0);
            quad.color = colorAt(i);
            quads_.push_back(quad);
        }
    }

    void release() {
        for (const Quad& quad : quads_) {
            glDeleteVertexArrays(1, &quad.vertexArray);
            glDeleteBuffers(1, &quad.buffer);
        }
        glDeleteProgram(program_);
    }

    /// Not timed: the reference is about GL alone.
    void move(int frame) {
        for (std::size_t i = 0; i < quads_.size(); ++i) {
            const Mivora::Point3 at = positionAt(static_cast<int>(i), frame);
            const glm::mat4 local =
                glm::rotate(glm::translate(glm::mat4(1.0F), glm::vec3(at.x, at.y, at.z)),
                            rotationAt(static_cast<int>(i), frame), glm::vec3(0, 0, 1));
            quads_[i].matrix = projection_ * world_ * local;
        }
    }

    void draw() {
        beginFrame(drawable_);
        for (const Quad& quad : quads_) {
            glUseProgram(program_);
            glUniformMatrix4fv(matrixUniform_, 1, GL_FALSE, glm::value_ptr(quad.matrix));
            glUniform4f(colorUniform_, quad.color.red, quad.color.green, quad.color.blue,
                        quad.color.alpha);
            glDisable(GL_DEPTH_TEST);
            glDisable(GL_BLEND);
            glBindVertexArray(quad.vertexArray);
            glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
            glBindVertexArray(0);
            glDisable(GL_BLEND);
        }
        endFrame(drawable_);
    }

 private:
    struct Quad {
        GLuint vertexArray = 0;
        GLuint buffer = 0;
        Mivora::ColorRGBA color{};
        glm::mat4 matrix{1.0F};
    };

    static GLuint compile(GLenum type, const char* source) {
        const GLuint shader = glCreateShader(type);
        glShaderSource(shader, 1, &source, nullptr);
        glCompileShader(shader);
        return shader;
    }

    static GLuint link() {
        const GLuint program = glCreateProgram();
        const GLuint vertex =
            compile(GL_VERTEX_SHADER,
                    "#version 100\nprecision highp float; uniform mat4 u_transformProjectionMatrix;"
                    "attribute vec4 a_position;"
                    "void main() { gl_Position = u_transformProjectionMatrix * a_position; }");
        const GLuint fragment = compile(GL_FRAGMENT_SHADER,
                                        "#version 100\nprecision lowp float; uniform vec4 u_color;"
                                        "void main() { gl_FragColor = u_color; }");
        glAttachShader(program, vertex);
        glAttachShader(program, fragment);
        glBindAttribLocation(program, 0, "a_position");
        glLinkProgram(program);
        glDeleteShader(vertex);
        glDeleteShader(fragment);
        return program;
    }

    Drawable& drawable_;
    glm::mat4 projection_;
    glm::mat4 world_;
    GLuint program_ = 0;
    GLint matrixUniform_ = 0;
    GLint colorUniform_ = 0;
    std::vector<Quad> quads_;
};

struct Result {
    double libraryMs = 0;
    double rawMs = 0;
    double ratio = 0;
    double mainNsPerView = 0;
    double allocationsPerFrame = 0;
    double idleMs = 0;
    double idleCalls = 0;
};

Result measure(MVRenderContext& context, Drawable& drawable, int count) {
    const int frames = count >= 10'000 ? 15 : 40;
    LibraryScene scene(context, drawable, count);
    scene.frame();
    std::unique_ptr<RawScene> raw;
    context.mv_dispatchBlockSync(
        [&] { raw = std::make_unique<RawScene>(drawable, scene.window(), count); });

    std::vector<double> library;
    std::vector<double> reference;
    std::vector<double> ratios;
    std::vector<double> mainShare;
    std::vector<double> allocations;
    std::vector<double> idle;
    for (int i = 0; i < frames + 3; ++i) {
        const AllocationCounter counter;
        Stopwatch watch;
        scene.frame();
        const double libraryMs = watch.milliseconds();
        const auto allocated = static_cast<double>(counter.allocations());

        double rawMs = 0;
        raw->move(i);
        context.mv_dispatchBlockSync([&] {
            const Stopwatch rawWatch;
            raw->draw();
            rawMs = rawWatch.milliseconds();
        });

        scene.move();
        double nanoseconds = 0;
        {
            Mivora::tests::QueueGate gate(*context.dispatchQueue());
            watch.restart();
            scene.layOutAndDraw();
            nanoseconds = watch.nanoseconds() / count;
            gate.open();
            scene.present();
        }

        watch.restart();
        scene.layOutAndDraw();
        scene.present();
        const double idleMs = watch.milliseconds();
        if (i >= 3) {  // warm
            library.push_back(libraryMs);
            reference.push_back(rawMs);
            ratios.push_back(libraryMs / rawMs);
            allocations.push_back(allocated);
            mainShare.push_back(nanoseconds);
            idle.push_back(idleMs);
        }
    }

    Result result{median(library),
                  median(reference),
                  median(ratios),
                  median(mainShare),
                  median(allocations),
                  median(idle),
                  0};
    {
        const Mivora::tests::GLCallRecorder recorder;
        scene.layOutAndDraw();
        scene.present();
        context.mv_dispatchBlockSync([] {});
        result.idleCalls = static_cast<double>(recorder.calls().size());
    }
    context.mv_dispatchBlockSync([&] {
        raw->release();
        raw.reset();
    });
    return result;
}

}  // namespace

int main() {
    const auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    const auto cache = MVShaderCache::init();
    cache->loadDefaultShaders();
    MVShaderCache::mv_setSharedCache(cache);
    Drawable drawable(4);
    drawable.setSize({kWidth, kHeight});

    std::string renderer;
    context->mv_dispatchBlockSync(
        [&] { renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER)); });

    const Result few = measure(*context, drawable, 100);
    const Result some = measure(*context, drawable, 1'000);
    const Result many = measure(*context, drawable, 10'000);
    context->mv_dispatchBlockSync([&] { drawable.release(); });

    Report report("frame");
    report.condition("renderer", renderer);
    report.condition("frame", "1280 x 800, 4 samples, every view moved and rotated");
    report.add("library_ms_100", few.libraryMs, "a frame of the library");
    report.add("raw_gl_ms_100", few.rawMs, "the same GL calls by hand");
    report.add("library_ms_1k", some.libraryMs);
    report.add("raw_gl_ms_1k", some.rawMs);
    report.add("library_ms_10k", many.libraryMs);
    report.add("raw_gl_ms_10k", many.rawMs);
    report.add("ratio_100", few.ratio, "frame by frame; target: at most 1.15");
    report.add("ratio_1k", some.ratio, "target: at most 1.15");
    report.add("ratio_10k", many.ratio, "target: at most 1.15");
    report.add("main_ns_per_view_10k", many.mainNsPerView, "layout, drawing, matrices, enqueueing");
    report.add("raw_ns_per_quad_10k", many.rawMs * 1e6 / 10'000, "ten times the above, or more");
    report.add("growth_1k_to_10k", many.libraryMs / some.libraryMs, "target: at most 11");
    report.add("allocs_per_frame", many.allocationsPerFrame, "steady; target: 0");
    report.add("idle_ms_10k", many.idleMs, "nothing dirty; target: at most 0.5");
    report.add("idle_gl_calls", many.idleCalls, "target: 0");
    return report.finish();
}
