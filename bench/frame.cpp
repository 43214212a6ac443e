// A frame of many moving views, against the same GL calls written by hand, and against a loop that
// streams the same rectangles as one array.
//
// Held constant: 1280 x 800 pixels, 4 samples a pixel, opaque colour views of 10 x 8 points in a
// flat tree, every one moved and rotated in every frame. The calls by hand draw the same quads one
// by one, in the same order and on one thread, from matrices computed beforehand.
//
// The array is what somebody writes who knows that all he draws are rectangles in space: for each a
// translation, a rotation and the camera are multiplied with GLM, the four corners by the product,
// and what comes out goes into one buffer and is drawn with one call. The tuned array is what he
// may come to if nothing but this scene counts: as all rectangles lie in one plane and turn about
// one axis, an origin and two edges do, without a matrix for each. Their moving is timed, as the
// library's is. All resolve their frame and wait until it is finished, and take turns frame by
// frame; each figure is the median.
//
// The figures that begin with noop_ come from a second run of this program, in which the driver
// drops rasterization: what is left is what it costs to say what is to be drawn.
//
// What the main thread does is timed with the GL queue held back, so that on a machine with few
// cores the rasteriser's threads do not count.

#include <epoxy/gl.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVFramePrivate.h"
#include "MivoraMac/views/MVImageView.h"
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

GLuint compiledShader(GLenum type, const char* source) {
    const GLuint shader = glCreateShader(type);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    return shader;
}

/// A program with the position in slot 0 and, if there is one, the colour in slot 1.
GLuint linkedProgram(const char* vertexSource, const char* fragmentSource) {
    const GLuint program = glCreateProgram();
    const GLuint vertex = compiledShader(GL_VERTEX_SHADER, vertexSource);
    const GLuint fragment = compiledShader(GL_FRAGMENT_SHADER, fragmentSource);
    glAttachShader(program, vertex);
    glAttachShader(program, fragment);
    glBindAttribLocation(program, 0, "a_position");
    glBindAttribLocation(program, 1, "a_color");
    glLinkProgram(program);
    glDeleteShader(vertex);
    glDeleteShader(fragment);
    return program;
}

/// A window full of views, drawn by the library.
class LibraryScene {
 public:
    using Make = std::function<std::shared_ptr<MVView>(int index)>;

    LibraryScene(MVRenderContext& context, Drawable& drawable, int count, const Make& make)
        : context_(context), drawable_(drawable) {
        window_->setSize({kWidth, kHeight});
        window_->setMv_surface(surface_);
        for (int i = 0; i < count; ++i) {
            views_.push_back(make(i));
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
    std::vector<std::shared_ptr<MVView>> views_;
    int frame_ = 0;
};

/// The same quads by hand. All on the GL thread.
class RawScene {
 public:
    RawScene(Drawable& drawable, MVWindow& window, int count)
        : drawable_(drawable),
          projection_(window.projectionMatrix()),
          world_(window.transformMatrix()) {
        program_ = linkedProgram(
            "#version 100\nprecision highp float; uniform mat4 u_transformProjectionMatrix;"
            "attribute vec4 a_position;"
            "void main() { gl_Position = u_transformProjectionMatrix * a_position; }",
            "#version 100\nprecision lowp float; uniform vec4 u_color;"
            "void main() { gl_FragColor = u_color; }");
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

    Drawable& drawable_;
    glm::mat4 projection_;
    glm::mat4 world_;
    GLuint program_ = 0;
    GLint matrixUniform_ = 0;
    GLint colorUniform_ = 0;
    std::vector<Quad> quads_;
};

/// The same rectangles as one streamed array. All on the GL thread.
class ArrayScene {
 public:
    enum class Loop {
        Plain,  ///< for any rectangles in space
        Tuned,  ///< for these
    };

    ArrayScene(Drawable& drawable, MVWindow& window, int count, Loop loop)
        : drawable_(drawable),
          loop_(loop),
          camera_(window.projectionMatrix() * window.transformMatrix()),
          vertices_(static_cast<std::size_t>(count) * 4) {
        program_ = linkedProgram(
            "#version 150\nin vec4 a_position; in vec4 a_color; flat out vec4 v_color;"
            "void main() { gl_Position = a_position; v_color = a_color; }",
            "#version 150\nflat in vec4 v_color; out vec4 o_color;"
            "void main() { o_color = v_color; }");
        glGenVertexArrays(1, &array_);
        glBindVertexArray(array_);
        glGenBuffers(2, buffers_.data());
        glBindBuffer(GL_ARRAY_BUFFER, buffers_[0]);
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 4, GL_FLOAT, GL_FALSE, sizeof(Vertex), nullptr);
        glEnableVertexAttribArray(1);
        glVertexAttribPointer(1, 4, GL_FLOAT, GL_FALSE, sizeof(Vertex),
                              reinterpret_cast<const void*>(sizeof(glm::vec4)));
        std::vector<GLuint> indices;
        for (GLuint quad = 0; quad < static_cast<GLuint>(count); ++quad) {
            for (const GLuint corner : {0, 1, 2, 2, 1, 3}) {
                indices.push_back(quad * 4 + corner);
            }
        }
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffers_[1]);
        glBufferData(GL_ELEMENT_ARRAY_BUFFER,
                     static_cast<GLsizeiptr>(indices.size() * sizeof(GLuint)), indices.data(),
                     GL_STATIC_DRAW);
        indices_ = static_cast<GLsizei>(indices.size());
        glBindVertexArray(0);
    }

    void release() {
        glDeleteVertexArrays(1, &array_);
        glDeleteBuffers(2, buffers_.data());
        glDeleteProgram(program_);
    }

    void draw(int frame) {
        if (loop_ == Loop::Plain) {
            writePlain(frame);
        } else {
            writeTuned(frame);
        }
        beginFrame(drawable_);
        glUseProgram(program_);
        glDisable(GL_DEPTH_TEST);
        glDisable(GL_BLEND);
        glBindBuffer(GL_ARRAY_BUFFER, buffers_[0]);
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertices_.size() * sizeof(Vertex)),
                     vertices_.data(), GL_STREAM_DRAW);
        glBindVertexArray(array_);
        glDrawElements(GL_TRIANGLES, indices_, GL_UNSIGNED_INT, nullptr);
        glBindVertexArray(0);
        endFrame(drawable_);
    }

 private:
    struct Vertex {
        glm::vec4 position;
        glm::vec4 color;
    };

    void writePlain(int frame) {
        for (std::size_t i = 0; i < vertices_.size() / 4; ++i) {
            const Mivora::Point3 at = positionAt(static_cast<int>(i), frame);
            const glm::mat4 local =
                glm::rotate(glm::translate(glm::mat4(1.0F), glm::vec3(at.x, at.y, at.z)),
                            rotationAt(static_cast<int>(i), frame), glm::vec3(0, 0, 1));
            const glm::mat4 matrix = camera_ * local;
            const Mivora::ColorRGBA color = colorAt(static_cast<int>(i));
            const glm::vec4 fill(color.red, color.green, color.blue, color.alpha);
            Vertex* const corners = &vertices_[i * 4];
            corners[0] = {matrix * glm::vec4(0, 0, 0, 1), fill};
            corners[1] = {matrix * glm::vec4(kViewSize.width, 0, 0, 1), fill};
            corners[2] = {matrix * glm::vec4(0, kViewSize.height, 0, 1), fill};
            corners[3] = {matrix * glm::vec4(kViewSize.width, kViewSize.height, 0, 1), fill};
        }
    }

    void writeTuned(int frame) {
        for (std::size_t i = 0; i < vertices_.size() / 4; ++i) {
            const Mivora::Point3 at = positionAt(static_cast<int>(i), frame);
            const float angle = rotationAt(static_cast<int>(i), frame);
            const glm::vec4 right(std::cos(angle) * kViewSize.width,
                                  std::sin(angle) * kViewSize.width, 0, 0);
            const glm::vec4 down(-std::sin(angle) * kViewSize.height,
                                 std::cos(angle) * kViewSize.height, 0, 0);
            const glm::vec4 origin = camera_ * glm::vec4(at.x, at.y, at.z, 1);
            const glm::vec4 across = camera_ * right;
            const glm::vec4 along = camera_ * down;
            const Mivora::ColorRGBA color = colorAt(static_cast<int>(i));
            const glm::vec4 fill(color.red, color.green, color.blue, color.alpha);
            Vertex* const corners = &vertices_[i * 4];
            corners[0] = {origin, fill};
            corners[1] = {origin + across, fill};
            corners[2] = {origin + along, fill};
            corners[3] = {origin + across + along, fill};
        }
    }

    Drawable& drawable_;
    const Loop loop_;
    glm::mat4 camera_;
    std::vector<Vertex> vertices_;
    std::array<GLuint, 2> buffers_{};
    GLuint array_ = 0;
    GLuint program_ = 0;
    GLsizei indices_ = 0;
};

struct Result {
    double libraryMs = 0;
    double rawMs = 0;
    double arrayMs = 0;
    double tunedArrayMs = 0;
    double ratio = 0;
    double arrayRatio = 0;
    double tunedArrayRatio = 0;
    double mainNsPerView = 0;
    double allocationsPerFrame = 0;
    double idleMs = 0;
    double idleCalls = 0;
};

std::shared_ptr<MVView> makeColorView(int index) {
    return MVColorView::initWithColor(colorAt(index));
}

/// A view with an image of its own, tilted about all axes.
std::shared_ptr<MVView> makeImageView(int index) {
    constexpr std::uint64_t kExtent = 8;
    std::array<std::uint8_t, kExtent * kExtent * 4> pixels{};
    pixels.fill(static_cast<std::uint8_t>(index));
    auto view = MVImageView::initWithImage(
        MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            pixels.data(), kExtent, kExtent, 1.0F, 0, true, GL_RGBA));
    view->setRotation3({0.3F, 0.2F, 0.0F});
    return view;
}

Result measure(MVRenderContext& context, Drawable& drawable, int count,
               const LibraryScene::Make& make = makeColorView) {
    const int frames = count >= 10'000 ? 15 : 40;
    LibraryScene scene(context, drawable, count, make);
    scene.frame();
    std::unique_ptr<RawScene> raw;
    std::unique_ptr<ArrayScene> array;
    std::unique_ptr<ArrayScene> tunedArray;
    context.mv_dispatchBlockSync([&] {
        raw = std::make_unique<RawScene>(drawable, scene.window(), count);
        array =
            std::make_unique<ArrayScene>(drawable, scene.window(), count, ArrayScene::Loop::Plain);
        tunedArray =
            std::make_unique<ArrayScene>(drawable, scene.window(), count, ArrayScene::Loop::Tuned);
    });
    const auto drawArray = [&context](ArrayScene& drawn, int frame) {
        double milliseconds = 0;
        context.mv_dispatchBlockSync([&] {
            const Stopwatch watch;
            drawn.draw(frame);
            milliseconds = watch.milliseconds();
        });
        return milliseconds;
    };

    std::vector<double> library;
    std::vector<double> reference;
    std::vector<double> arrays;
    std::vector<double> tunedArrays;
    std::vector<double> ratios;
    std::vector<double> arrayRatios;
    std::vector<double> tunedArrayRatios;
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

        const double arrayMs = drawArray(*array, i);
        const double tunedArrayMs = drawArray(*tunedArray, i);

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
            arrays.push_back(arrayMs);
            tunedArrays.push_back(tunedArrayMs);
            ratios.push_back(libraryMs / rawMs);
            arrayRatios.push_back(libraryMs / arrayMs);
            tunedArrayRatios.push_back(libraryMs / tunedArrayMs);
            allocations.push_back(allocated);
            mainShare.push_back(nanoseconds);
            idle.push_back(idleMs);
        }
    }

    Result result{.libraryMs = median(library),
                  .rawMs = median(reference),
                  .arrayMs = median(arrays),
                  .tunedArrayMs = median(tunedArrays),
                  .ratio = median(ratios),
                  .arrayRatio = median(arrayRatios),
                  .tunedArrayRatio = median(tunedArrayRatios),
                  .mainNsPerView = median(mainShare),
                  .allocationsPerFrame = median(allocations),
                  .idleMs = median(idle)};
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
        for (std::unique_ptr<ArrayScene>* const each : {&array, &tunedArray}) {
            (*each)->release();
            each->reset();
        }
    });
    return result;
}

/// A context to draw with, and what it draws into.
struct Bench {
    std::shared_ptr<MVRenderContext> context = MVRenderContext::init();
    std::shared_ptr<MVShaderCache> cache = MVShaderCache::init();
    Drawable drawable{4};

    Bench() {
        MVRenderContext::mv_setActiveContext(context);
        cache->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(cache);
        drawable.setSize({kWidth, kHeight});
    }
    ~Bench() {
        context->mv_dispatchBlockSync([this] { drawable.release(); });
    }
};

/// What is measured without rasterization, as lines of a name and a number.
void printWithoutRasterization() {
    Bench bench;
    const Result some = measure(*bench.context, bench.drawable, 1'000);
    const Result many = measure(*bench.context, bench.drawable, 10'000);
    const Result images = measure(*bench.context, bench.drawable, 1'000, makeImageView);
    for (const auto& [result, count] : {std::pair(some, "1k"), std::pair(many, "10k")}) {
        std::printf("noop_library_ms_%s %g\nnoop_array_ms_%s %g\nnoop_ratio_%s %g\n", count,
                    result.libraryMs, count, result.arrayMs, count, result.arrayRatio);
        std::printf("noop_tuned_array_ms_%s %g\nnoop_tuned_ratio_%s %g\n", count,
                    result.tunedArrayMs, count, result.tunedArrayRatio);
    }
    std::printf("noop_images_ms_1k %g\nnoop_images_ratio_1k %g\nnoop_images_tuned_ratio_1k %g\n",
                images.libraryMs, images.arrayRatio, images.tunedArrayRatio);
}

const char* noteOn(const std::string& name) {
    if (name == "noop_ratio_10k") {
        return "to the array, frame by frame; target: at most 3";
    }
    if (name == "noop_ratio_1k") {
        return "target: at most 4";
    }
    if (name == "noop_tuned_ratio_1k" || name == "noop_tuned_ratio_10k") {
        return "to the array that is tuned for this scene";
    }
    if (name == "noop_images_ratio_1k") {
        return "1,000 views with an image each to the array of 1,000; target: at most 8";
    }
    return "";
}

/// Runs this program with a driver that drops rasterization.
void addWithoutRasterization(Report& report) {
    ::setenv("GALLIUM_NOOP", "true", 1);
    std::FILE* const run = ::popen("exec /proc/$PPID/exe --noop", "r");
    ::unsetenv("GALLIUM_NOOP");
    if (run == nullptr) {
        return;
    }
    std::array<char, 64> name{};
    double value = 0;
    while (std::fscanf(run, "%63s %lf", name.data(), &value) == 2) {
        report.add(name.data(), value, noteOn(name.data()));
    }
    ::pclose(run);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--noop") == 0) {
        printWithoutRasterization();
        return 0;
    }
    Bench bench;
    const auto& context = bench.context;

    std::string renderer;
    context->mv_dispatchBlockSync(
        [&] { renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER)); });

    const Result few = measure(*context, bench.drawable, 100);
    const Result some = measure(*context, bench.drawable, 1'000);
    const Result many = measure(*context, bench.drawable, 10'000);

    Report report("frame");
    report.condition("renderer", renderer);
    report.condition("frame", "1280 x 800, 4 samples, every view moved and rotated");
    report.add("library_ms_100", few.libraryMs, "a frame of the library");
    report.add("raw_gl_ms_100", few.rawMs, "the same GL calls by hand");
    report.add("library_ms_1k", some.libraryMs);
    report.add("raw_gl_ms_1k", some.rawMs);
    report.add("library_ms_10k", many.libraryMs);
    report.add("raw_gl_ms_10k", many.rawMs);
    report.add("array_ms_1k", some.arrayMs, "the same rectangles as one array");
    report.add("array_ms_10k", many.arrayMs);
    report.add("tuned_array_ms_10k", many.tunedArrayMs, "one array, its loop tuned for this scene");
    report.add("array_ratio_10k", many.arrayRatio, "frame by frame; target: at most 1.3");
    report.add("ratio_100", few.ratio, "frame by frame; target: at most 1.15");
    report.add("ratio_1k", some.ratio, "target: at most 1.15");
    report.add("ratio_10k", many.ratio, "target: at most 1.15");
    report.add("main_ns_per_view_10k", many.mainNsPerView,
               "layout, drawing, matrices, recording; target: at most 150");
    report.add("raw_ns_per_quad_10k", many.rawMs * 1e6 / 10'000, "ten times the above, or more");
    report.add("growth_1k_to_10k", many.libraryMs / some.libraryMs, "target: at most 11");
    report.add("allocs_per_frame", many.allocationsPerFrame, "steady; target: 0");
    report.add("idle_ms_10k", many.idleMs, "nothing dirty; target: at most 0.5");
    report.add("idle_gl_calls", many.idleCalls, "target: 0");
    addWithoutRasterization(report);
    return report.finish();
}
