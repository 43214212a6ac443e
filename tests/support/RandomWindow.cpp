#include "tests/support/RandomWindow.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVImageView.h"

namespace Mivora::tests {

std::vector<double> currentState() {
    std::vector<double> state;
    GLint program = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &program);
    for (const GLenum name :
         {GL_CURRENT_PROGRAM, GL_BLEND_SRC_RGB, GL_BLEND_DST_RGB, GL_BLEND_SRC_ALPHA,
          GL_BLEND_DST_ALPHA, GL_VERTEX_ARRAY_BINDING, GL_ARRAY_BUFFER_BINDING, GL_ACTIVE_TEXTURE,
          GL_TEXTURE_BINDING_2D, GL_STENCIL_FUNC, GL_STENCIL_REF, GL_STENCIL_FAIL,
          GL_STENCIL_PASS_DEPTH_FAIL, GL_STENCIL_PASS_DEPTH_PASS, GL_STENCIL_CLEAR_VALUE,
          GL_DEPTH_WRITEMASK}) {
        GLint value = 0;
        glGetIntegerv(name, &value);
        state.push_back(value);
    }
    for (GLenum unit = 16; unit-- > 1;) {
        GLint active = 0;
        GLint value = 0;
        glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
        glActiveTexture(GL_TEXTURE0 + unit);
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &value);
        glActiveTexture(static_cast<GLenum>(active));
        state.push_back(value);
    }
    for (const GLenum name : {GL_STENCIL_WRITEMASK, GL_STENCIL_VALUE_MASK}) {
        GLint value = 0;
        glGetIntegerv(name, &value);
        state.push_back(value & 0xFF);
    }
    for (const GLenum name : {GL_BLEND, GL_DEPTH_TEST, GL_STENCIL_TEST, GL_SCISSOR_TEST}) {
        state.push_back(glIsEnabled(name));
    }
    if (program != 0) {
        for (const char* const name : {"u_transformProjectionMatrix", "u_color", "u_sampler"}) {
            std::array<float, 16> values{};
            const GLint location = glGetUniformLocation(static_cast<GLuint>(program), name);
            if (location >= 0) {
                glGetUniformfv(static_cast<GLuint>(program), location, values.data());
            }
            state.insert(state.end(), values.begin(), values.end());
        }
    }
    return state;
}

void MeddlingView::draw() {
    const auto context = MVRenderContext::activeContext();
    context->dispatchBlock([this] {
        states.push_back(currentState());
        const auto x = static_cast<GLint>(seed_ * 37 % 120);
        const auto y = static_cast<GLint>(seed_ * 53 % 120);
        glEnable(GL_SCISSOR_TEST);
        glScissor(x, y, 20, 12);
        glClearColor(0.2F, 0.6F, 0.4F, 1.0F);
        glClear(GL_COLOR_BUFFER_BIT);
        if (seed_ % 3 == 0) {
            glClear(GL_STENCIL_BUFFER_BIT);
        }
        glDisable(GL_SCISSOR_TEST);
        if (seed_ % 2 == 0) {
            glEnable(GL_DEPTH_TEST);
            glEnable(GL_BLEND);
            glBlendFunc(GL_ZERO, GL_SRC_COLOR);
            glBindTexture(GL_TEXTURE_2D, 0);
        }
    });
}

MeddledWindow::MeddledWindow(unsigned seed, std::shared_ptr<MVWindow> window)
    : generator_(seed), window_(std::move(window)) {
    window_->setSize({kExtent, kExtent});
}

std::vector<std::vector<double>> MeddledWindow::takeStates() {
    std::vector<std::vector<double>> all;
    for (const auto& view : meddlers_) {
        all.insert(all.end(), view->states.begin(), view->states.end());
        view->states.clear();
    }
    return all;
}

void MeddledWindow::makeImages(int count) {
    for (int i = 0; i < count; ++i) {
        images_.push_back(image());
    }
}

std::shared_ptr<MVImage> MeddledWindow::image() {
    constexpr std::uint64_t kPixels = 16;
    std::array<std::uint8_t, kPixels * kPixels * 4> pixels{};
    for (std::uint8_t& byte : pixels) {
        byte = static_cast<std::uint8_t>(generator_());
    }
    const bool premultiplied = chance(0.5F);
    for (std::size_t i = 0; premultiplied && i < pixels.size(); ++i) {
        pixels[i] = std::min(pixels[i], pixels[i | 3U]);
    }
    return MVImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
        pixels.data(), kPixels, kPixels, 1.0F, chance(0.5F) ? 1 : 0, premultiplied, GL_RGBA);
}

std::shared_ptr<MVView> MeddledWindow::meddler() {
    auto view = MVMake<MeddlingView>(static_cast<unsigned>(generator_() % 1000));
    meddlers_.push_back(view);
    return view;
}

std::shared_ptr<MVView> MeddledWindow::picture() {
    return MVImageView::initWithImage(images_[generator_() % images_.size()]);
}

std::shared_ptr<MVView> MeddledWindow::color() {
    return MVColorView::initWithColor(
        {between(0, 1), between(0, 1), between(0, 1), chance(0.5F) ? 1.0F : between(0, 1)});
}

RandomWindow::RandomWindow(unsigned seed, std::shared_ptr<MVWindow> window, bool meddlers)
    : MeddledWindow(seed, std::move(window)) {
    window_->setNearDistance(between(20, 160));
    makeImages(40);
    MVView* above = window_.get();
    for (int i = 0; i < 40; ++i) {
        auto view = chance(0.1F) && meddlers ? meddler() : quad();
        place(*view);
        if (chance(0.25F)) {
            auto stencil = chance(0.2F) && meddlers ? meddler() : quad();
            place(*stencil);
            view->setStencilView(stencil);
        }
        views_.push_back(view);
        above->addSubview(view);
        above = chance(0.6F) ? window_.get() : view.get();
    }
}

void RandomWindow::change() {
    const std::shared_ptr<MVView>& view = views_[generator_() % views_.size()];
    switch (generator_() % 8) {
        case 0:
            return place(*view);
        case 1:
            return view->setPosition({between(0, kExtent), between(0, kExtent)});
        case 2:
            return view->setOpacity(between(0, 1));
        case 3:
            return view->setHidden(!view->isHidden());
        case 4:
            if (view->superview()) {
                return view->removeFromSuperview();
            }
            return window_->insertSubviewAtIndex(
                view, static_cast<std::int64_t>(generator_() % (window_->subviews()->size() + 1)));
        case 5: {
            auto stencil = quad();
            place(*stencil);
            return view->setStencilView(chance(0.5F) ? stencil : nullptr);
        }
        case 6:
            if (auto* const color = dynamic_cast<MVColorView*>(view.get())) {
                return color->setColor({between(0, 1), between(0, 1), between(0, 1), 1.0F});
            }
            return view->setRotation3({0, 0, between(-2, 2)});
        default:
            if (auto* const shown = dynamic_cast<MVImageView*>(view.get())) {
                return shown->setImage(images_[generator_() % images_.size()]);
            }
            return view->setSize({between(5, 100), between(5, 100)});
    }
}

void RandomWindow::place(MVView& view) {
    view.setPosition3(
        {between(0, kExtent), between(0, kExtent), chance(0.3F) ? between(-150, 300) : 0.0F});
    view.setSize3({between(5, 100), between(5, 100), 0.0F});
    view.setRotation3({chance(0.4F) ? between(-2, 2) : 0.0F, chance(0.4F) ? between(-2, 2) : 0.0F,
                       between(-2, 2)});
    view.setAnchorPoint({0.5F, 0.5F});
    view.setOpacity(chance(0.6F) ? 1.0F : between(0, 1));
}

PictureWindow::PictureWindow(unsigned seed) : MeddledWindow(seed, MVWindow::init()) {
    makeImages(40);
    for (int i = 0; i < 150; ++i) {
        auto view = chance(0.03F) ? quad() : picture();
        view->setPosition({between(0, kExtent), between(0, kExtent)});
        view->setSize({between(2, 60), between(2, 60)});
        view->setRotation3({0, 0, between(-2, 2)});
        view->setOpacity(chance(0.5F) ? 1.0F : between(0, 1));
        window_->addSubview(view);
    }
}

UprightWindow::UprightWindow(unsigned seed, std::shared_ptr<MVWindow> window)
    : MeddledWindow(seed, std::move(window)) {
    window_->setSize({kExtent, kExtent});
    makeImages(8);
    for (int i = 0; i < 20; ++i) {
        auto view = quad();
        place(*view);
        views_.push_back(view);
        window_->addSubview(view);
    }
    if (chance(0.7F)) {
        auto ground = MVColorView::initWithColor({between(0, 1), 0.5F, between(0, 1), 1});
        ground->setSize({kExtent, kExtent});
        window_->insertSubviewAtIndex(ground, static_cast<std::int64_t>(generator_() % 8));
        views_.push_back(ground);
    }
}

void UprightWindow::change() {
    const std::shared_ptr<MVView>& view = views_[generator_() % views_.size()];
    switch (generator_() % 9) {
        case 0:
            return place(*view);
        case 1:
            return view->setPosition({whole(0, kExtent), whole(0, kExtent)});
        case 2:
            return view->setOpacity(between(0, 1));
        case 3:
            return view->setHidden(!view->isHidden());
        case 4:
            return view->setRotation3({0, 0, chance(0.3F) ? between(-1, 1) : 0.0F});
        case 5: {
            auto stencil = color();
            place(*stencil);
            return view->setStencilView(chance(0.2F) ? stencil : nullptr);
        }
        case 6:
            return window_->insertSubviewAtIndex(
                view, static_cast<std::int64_t>(generator_() % window_->subviews()->size()));
        default:
            if (auto* const shown = dynamic_cast<MVImageView*>(view.get())) {
                return shown->setImage(images_[generator_() % images_.size()]);
            }
            return dynamic_cast<MVColorView&>(*view).setColor(
                {between(0, 1), between(0, 1), 0.5F, chance(0.6F) ? 1.0F : between(0, 1)});
    }
}

float UprightWindow::whole(float low, float high) {
    const float value = between(low, high);
    return chance(0.95F) ? std::floor(value) : value;
}

void UprightWindow::place(MVView& view) {
    view.setPosition({whole(0, kExtent), whole(0, kExtent)});
    view.setSize({whole(5, 250), whole(5, 250)});
    view.setOpacity(chance(0.7F) ? 1.0F : between(0, 1));
}

}  // namespace Mivora::tests
