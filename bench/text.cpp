// Labels whose text changes in every frame, against the same done by hand.
//
// Held constant: 1280 x 800 pixels, one sample a pixel, 200 labels of 12 characters in DejaVu Sans
// of 13 points, each 104 x 18 points, all of them with another text in every frame. The reference
// lays out, draws and uploads the same strings with Pango, Cairo and GL on one thread: one font map
// and one layout object, one bitmap, which Cairo draws into and which is uploaded as it is (BGRA),
// into textures that are kept, and quads from one buffer. Both resolve their frame and wait until
// it is finished. They take turns frame by frame; each figure is the median.
//
// Every figure is taken twice: drawn by the software rasterizer, and with rasterization dropped by
// the driver (GALLIUM_NOOP), which leaves what library and driver do themselves. For the second the
// program runs itself again.

#include <epoxy/gl.h>
#include <malloc.h>
#include <pango/pangocairo.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/gtc/type_ptr.hpp>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVFramePrivate.h"
#include "MivoraMac/views/MVTextView.h"
#include "MivoraMac/views/MVWindow.h"
#include "bench/support/Bench.h"

using namespace Mivora::bench;
using Mivora::platform::Drawable;

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 800;
constexpr int kLabels = 200;
constexpr int kStaticLabels = 1000;
constexpr int kFrames = 60;
constexpr int kWarmUps = 10;
constexpr int kChanges = 200'000;
constexpr Mivora::Size2 kLabelSize = {104, 18};
constexpr const char* kFont = "DejaVu Sans";
constexpr float kFontSize = 13;

std::string textOf(int label, int frame) {
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "Label %06d", (frame * 977 + label * 31) % 1'000'000);
    return text.data();
}

Mivora::Point2 positionOf(int label) {
    constexpr int kColumns = 12;
    return {static_cast<float>(label % kColumns) * 106.0F,
            static_cast<float>(label / kColumns % 40) * 20.0F};
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

/// A window full of labels, drawn by the library.
class LibraryLabels {
 public:
    LibraryLabels(MVRenderContext& context, Drawable& drawable, int count)
        : context_(context), drawable_(drawable) {
        window_->setSize({kWidth, kHeight});
        window_->setContentScaleFactor(1);
        window_->setMv_surface(surface_);
        for (int i = 0; i < count; ++i) {
            auto label = MVTextView::init();
            window_->addSubview(label);
            label->setSize(kLabelSize);
            label->setPosition(positionOf(i));
            labels_.push_back(label);
        }
        setTexts(0);
    }

    void setTexts(int frame) {
        for (std::size_t i = 0; i < labels_.size(); ++i) {
            labels_[i]->setText(
                MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
                    textOf(static_cast<int>(i), frame), kFont, kFontSize, {1, 1, 1, 1}, 0, false));
        }
    }

    /// Lays out, draws and uploads what has changed, and waits for that.
    void upload() {
        for (const auto& label : labels_) {
            label->mv_buildTextImage();
        }
        context_.mv_dispatchBlockSync([] { glFinish(); });
    }

    /// Draws everything, changed or not.
    void draw() {
        window_->setNeedsDraw();
        MVFrame::layOut(*window_);
        MVFrame::draw(*window_,
                      [this] { context_.dispatchBlock([this] { beginFrame(drawable_); }); });
        window_->mv_setDrawClean();
        context_.mv_dispatchBlockSync([this] { endFrame(drawable_); });
    }

 private:
    MVRenderContext& context_;
    Drawable& drawable_;
    std::shared_ptr<MVWindow> window_ = MVWindow::init();
    std::shared_ptr<MVRenderSurface> surface_ = MVRenderSurface::init();
    std::vector<std::shared_ptr<MVTextView>> labels_;
};

/// The same labels by hand. All on the GL thread.
class HandmadeLabels {
 public:
    explicit HandmadeLabels(Drawable& drawable) : drawable_(drawable) {
        fontMap_ = pango_cairo_font_map_new();
        pango_ = pango_font_map_create_context(fontMap_);
        layout_ = pango_layout_new(pango_);
        PangoFontDescription* const font = pango_font_description_from_string(kFont);
        pango_font_description_set_absolute_size(font,
                                                 static_cast<double>(kFontSize) * PANGO_SCALE);
        pango_layout_set_font_description(layout_, font);
        pango_font_description_free(font);
        pango_layout_set_width(layout_, static_cast<int>(kLabelSize.width) * PANGO_SCALE);
        surface_ =
            cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(kLabelSize.width),
                                       static_cast<int>(kLabelSize.height));
        cairo_ = cairo_create(surface_);
        makeProgram();
        glGenTextures(kLabels, textures_.data());
        for (const GLuint texture : textures_) {
            glBindTexture(GL_TEXTURE_2D, texture);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
            glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        }
        makeQuads();
    }

    void release() {
        cairo_destroy(cairo_);
        cairo_surface_destroy(surface_);
        g_object_unref(layout_);
        g_object_unref(pango_);
        g_object_unref(fontMap_);
        glDeleteTextures(kLabels, textures_.data());
        glDeleteVertexArrays(1, &vertexArray_);
        glDeleteBuffers(1, &buffer_);
        glDeleteProgram(program_);
    }

    void frame(int frame) {
        beginFrame(drawable_);
        for (int i = 0; i < kLabels; ++i) {
            upload(i, textOf(i, frame));
        }
        glUseProgram(program_);
        glDisable(GL_DEPTH_TEST);
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        glBindVertexArray(vertexArray_);
        for (int i = 0; i < kLabels; ++i) {
            glBindTexture(GL_TEXTURE_2D, textures_[static_cast<std::size_t>(i)]);
            glDrawArrays(GL_TRIANGLE_STRIP, 4 * i, 4);
        }
        glBindVertexArray(0);
        glDisable(GL_BLEND);
        endFrame(drawable_);
    }

 private:
    void upload(int label, const std::string& text) {
        cairo_set_operator(cairo_, CAIRO_OPERATOR_CLEAR);
        cairo_paint(cairo_);
        cairo_set_operator(cairo_, CAIRO_OPERATOR_OVER);
        cairo_set_source_rgb(cairo_, 1, 1, 1);
        cairo_move_to(cairo_, 0, 0);
        pango_layout_set_text(layout_, text.data(), static_cast<int>(text.size()));
        pango_cairo_show_layout(cairo_, layout_);
        cairo_surface_flush(surface_);
        glBindTexture(GL_TEXTURE_2D, textures_[static_cast<std::size_t>(label)]);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, static_cast<GLsizei>(kLabelSize.width),
                     static_cast<GLsizei>(kLabelSize.height), 0, GL_BGRA, GL_UNSIGNED_BYTE,
                     cairo_image_surface_get_data(surface_));
    }

    void makeQuads() {
        std::vector<float> vertices;
        for (int i = 0; i < kLabels; ++i) {
            const Mivora::Point2 at = positionOf(i);
            const float right = at.x + kLabelSize.width;
            const float bottom = at.y + kLabelSize.height;
            vertices.insert(vertices.end(), {at.x, at.y, 0, 0, right, at.y, 1, 0, at.x, bottom, 0,
                                             1, right, bottom, 1, 1});
        }
        glGenVertexArrays(1, &vertexArray_);
        glBindVertexArray(vertexArray_);
        glGenBuffers(1, &buffer_);
        glBindBuffer(GL_ARRAY_BUFFER, buffer_);
        glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(vertices.size() * sizeof(float)),
                     vertices.data(), GL_STATIC_DRAW);
        constexpr std::uintptr_t kTexCoordOffset = 8;
        glEnableVertexAttribArray(0);
        glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 16, nullptr);
        glEnableVertexAttribArray(1);
        glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 16,
                              reinterpret_cast<const void*>(kTexCoordOffset));
        glBindVertexArray(0);
    }

    static GLuint compile(GLenum type, const char* source) {
        const GLuint shader = glCreateShader(type);
        glShaderSource(shader, 1, &source, nullptr);
        glCompileShader(shader);
        return shader;
    }

    void makeProgram() {
        const GLuint vertex =
            compile(GL_VERTEX_SHADER,
                    "#version 100\nprecision highp float; uniform mat4 u_matrix;"
                    "attribute vec2 a_position; attribute vec2 a_texCoord; varying vec2 v_texCoord;"
                    "void main() { gl_Position = u_matrix * vec4(a_position, 0, 1);"
                    "v_texCoord = a_texCoord; }");
        const GLuint fragment =
            compile(GL_FRAGMENT_SHADER,
                    "#version 100\nprecision mediump float; uniform sampler2D u_sampler;"
                    "varying vec2 v_texCoord;"
                    "void main() { gl_FragColor = texture2D(u_sampler, v_texCoord); }");
        program_ = glCreateProgram();
        glAttachShader(program_, vertex);
        glAttachShader(program_, fragment);
        glBindAttribLocation(program_, 0, "a_position");
        glBindAttribLocation(program_, 1, "a_texCoord");
        glLinkProgram(program_);
        glDeleteShader(vertex);
        glDeleteShader(fragment);
        const glm::mat4 matrix = glm::ortho(0.0F, float{kWidth}, float{kHeight}, 0.0F);
        glUseProgram(program_);
        glUniformMatrix4fv(glGetUniformLocation(program_, "u_matrix"), 1, GL_FALSE,
                           glm::value_ptr(matrix));
    }

    Drawable& drawable_;
    PangoFontMap* fontMap_ = nullptr;
    PangoContext* pango_ = nullptr;
    PangoLayout* layout_ = nullptr;
    cairo_surface_t* surface_ = nullptr;
    cairo_t* cairo_ = nullptr;
    GLuint program_ = 0;
    GLuint vertexArray_ = 0;
    GLuint buffer_ = 0;
    std::array<GLuint, kLabels> textures_{};
};

/// What malloc holds in use, in KiB; what is mapped for single blocks counts, too.
double heapKiB() {
    const struct mallinfo2 info = ::mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / 1024;
}

using Figures = std::map<std::string, double>;

Figures measure() {
    const auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    const auto cache = MVShaderCache::init();
    cache->loadDefaultShaders();
    MVShaderCache::mv_setSharedCache(cache);
    Drawable drawable(0);
    drawable.setSize({kWidth, kHeight});

    LibraryLabels labels(*context, drawable, kLabels);
    LibraryLabels still(*context, drawable, kStaticLabels);
    std::unique_ptr<HandmadeLabels> handmade;
    context->mv_dispatchBlockSync([&] { handmade = std::make_unique<HandmadeLabels>(drawable); });

    std::vector<double> library;
    std::vector<double> reference;
    std::vector<double> ratios;
    std::vector<double> unchanged;
    for (int frame = 1; frame <= kFrames + kWarmUps; ++frame) {
        Stopwatch watch;
        labels.setTexts(frame);
        labels.draw();
        const double libraryMs = watch.milliseconds();
        double referenceMs = 0;
        context->mv_dispatchBlockSync([&] {
            const Stopwatch referenceWatch;
            handmade->frame(frame);
            referenceMs = referenceWatch.milliseconds();
        });
        watch.restart();
        still.draw();
        const double unchangedMs = watch.milliseconds();
        if (frame > kWarmUps) {
            library.push_back(libraryMs);
            reference.push_back(referenceMs);
            ratios.push_back(libraryMs / referenceMs);
            unchanged.push_back(unchangedMs);
        }
    }

    Figures figures{{"labels", median(library)},
                    {"labels_reference", median(reference)},
                    {"labels_ratio", median(ratios)},
                    {"static_labels", median(unchanged)}};
    // Not drawn: with rasterization dropped, Mesa 22.3 keeps some bytes of every texture that is
    // specified between two drawings, of those specified by hand as well.
    const auto change = [&](int frames) {
        for (int frame = 0; frame < frames; ++frame) {
            labels.setTexts(frame);
            labels.upload();
        }
    };
    change(100);
    const double before = heapKiB();
    change(kChanges / kLabels);
    figures["growth_kib"] = heapKiB() - before;

    context->mv_dispatchBlockSync([&] {
        handmade->release();
        handmade.reset();
        drawable.release();
    });
    return figures;
}

/// The figures of this program where the driver drops rasterization.
Figures measureWithoutRasterization(const std::string& program) {
    const std::string command = "GALLIUM_NOOP=true '" + program + "' --figures";
    FILE* const pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    Figures figures;
    std::array<char, 64> name{};
    double value = 0;
    while (std::fscanf(pipe, "%63s %lf", name.data(), &value) == 2) {
        figures[name.data()] = value;
    }
    if (::pclose(pipe) != 0 || figures.empty()) {
        throw std::runtime_error("failed: " + command);
    }
    return figures;
}

std::string pathOfProgram() {
    std::array<char, 4096> path{};
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size() - 1);
    if (length <= 0) {
        throw std::runtime_error("this program does not know where it lies");
    }
    return {path.data(), static_cast<std::size_t>(length)};
}

}  // namespace

int main(int count, char** arguments) {
    if (count == 2 && std::string_view(arguments[1]) == "--figures") {
        for (const auto& [name, value] : measure()) {
            std::printf("%s %.9g\n", name.c_str(), value);
        }
        return 0;
    }
    const Figures library = measureWithoutRasterization(pathOfProgram());
    const Figures all = measure();

    Report report("text");
    report.condition("labels", "200 of 12 characters, all changed in every frame");
    report.condition("frame", "1280 x 800, one sample");
    report.add("labels_ms", all.at("labels"),
               "laid out, drawn, uploaded, shown; target: below 3.1");
    report.add("labels_reference_ms", all.at("labels_reference"), "Pango, Cairo and GL by hand");
    report.add("labels_ratio", all.at("labels_ratio"), "frame by frame; target: at most 1.1");
    report.add("labels_library_ms", library.at("labels"), "rasterization dropped");
    report.add("labels_library_reference_ms", library.at("labels_reference"), "the same by hand");
    report.add("labels_library_ratio", library.at("labels_ratio"), "target: at most 1.1");
    report.add("static_labels_library_ms", library.at("static_labels"),
               "1,000 that do not change; rasterization dropped");
    report.add("static_labels_ms", all.at("static_labels"), "the same drawn");
    report.add("growth_kib", library.at("growth_kib"), "of the heap by 200,000 changes; target: 0");
    return report.finish();
}
