// A frame of nested stencils, against the same views without stencils.
//
// Held constant: 1280 x 800 pixels, groups of four nested views in a grid of 12 columns, each view
// 88 x 60 points and turned against the one it lies in, and each limited by a stencil view of its
// own, likewise turned. All groups are moved in every frame. Every figure is taken with one sample
// a pixel and with four; the latter have "4x" in their names. Both scenes resolve their frame and
// wait until it is finished, and take turns frame by frame; each figure is the median.

#include <epoxy/gl.h>

#include <cstddef>
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

using namespace Mivora::bench;
using Mivora::platform::Drawable;

namespace {

constexpr int kWidth = 1280;
constexpr int kHeight = 800;
constexpr int kDepth = 4;
constexpr int kFrames = 40;
constexpr int kWarmUps = 5;
constexpr Mivora::Size2 kViewSize = {88, 60};

enum class Stencils { No, Yes };

/// A window with groups of nested views.
class Scene {
 public:
    Scene(MVRenderContext& context, Drawable& drawable, int groups, Stencils stencils)
        : context_(context), drawable_(drawable) {
        window_->setSize({kWidth, kHeight});
        window_->setMv_surface(surface_);
        for (int i = 0; i < groups; ++i) {
            MVView* above = window_.get();
            for (int depth = 0; depth < kDepth; ++depth) {
                auto view = makeView({0.2F + 0.2F * static_cast<float>(depth),
                                      static_cast<float>(i % 7) / 6.0F, 0.5F, 1.0F});
                if (stencils == Stencils::Yes) {
                    auto stencil = makeView(Mivora::ColorRGBA::kWhite);
                    stencil->setRotation(0.2F);
                    view->setStencilView(stencil);
                }
                view->setRotation(0.1F + 0.1F * static_cast<float>(depth));
                if (depth == 0) {
                    groups_.push_back(view);
                } else {
                    view->setPosition(center());
                }
                above->addSubview(view);
                above = view.get();
            }
        }
    }

    double frameMs() {
        const Stopwatch watch;
        ++frame_;
        for (std::size_t i = 0; i < groups_.size(); ++i) {
            groups_[i]->setPosition(
                {60.0F + 105.0F * static_cast<float>(i % 12) + static_cast<float>(frame_ % 8),
                 45.0F + 84.0F * static_cast<float>(i / 12)});
        }
        MVFrame::layOut(*window_);
        MVFrame::draw(*window_, [this] {
            context_.mv_dispatchBlock(MVRenderContext::StencilPlanes::Cleared, [this] {
                glBindFramebuffer(GL_FRAMEBUFFER, drawable_.framebuffer());
                glClearColor(0.1F, 0.1F, 0.1F, 1.0F);
                glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
                glViewport(0, 0, kWidth, kHeight);
            });
        });
        window_->mv_setDrawClean();
        context_.mv_dispatchBlockSync([this] {
            drawable_.flush();
            glFinish();
        });
        return watch.milliseconds();
    }

 private:
    static Mivora::Point2 center() { return {kViewSize.width / 2, kViewSize.height / 2}; }

    static std::shared_ptr<MVView> makeView(Mivora::ColorRGBA color) {
        auto view = MVColorView::initWithColor(color);
        view->setSize(kViewSize);
        view->setAnchorPoint({0.5F, 0.5F});
        view->setPosition(center());
        return view;
    }

    MVRenderContext& context_;
    Drawable& drawable_;
    std::shared_ptr<MVWindow> window_ = MVWindow::init();
    std::shared_ptr<MVRenderSurface> surface_ = MVRenderSurface::init();
    std::vector<std::shared_ptr<MVView>> groups_;
    int frame_ = 0;
};

void measure(MVRenderContext& context, int samples, const std::string& suffix, Report& report) {
    Drawable drawable(samples);
    drawable.setSize({kWidth, kHeight});
    Scene some(context, drawable, 60, Stencils::Yes);
    Scene many(context, drawable, 100, Stencils::Yes);
    Scene plain(context, drawable, 60, Stencils::No);
    std::vector<double> someMs;
    std::vector<double> manyMs;
    std::vector<double> plainMs;
    std::vector<double> ratios;
    for (int i = 0; i < kFrames + kWarmUps; ++i) {
        const double someOne = some.frameMs();
        const double manyOne = many.frameMs();
        const double plainOne = plain.frameMs();
        if (i >= kWarmUps) {
            someMs.push_back(someOne);
            manyMs.push_back(manyOne);
            plainMs.push_back(plainOne);
            ratios.push_back(someOne / plainOne);
        }
    }
    report.add("stencil_ms_60" + suffix, median(someMs), "60 groups of four nested stencils");
    report.add("stencil_ms_100" + suffix, median(manyMs), "100 groups");
    report.add("plain_ms_60" + suffix, median(plainMs), "60 groups without stencils");
    report.add("stencil_ratio_60" + suffix, median(ratios), "frame by frame; target: at most 3");
    context.mv_dispatchBlockSync([&] { drawable.release(); });
}

}  // namespace

int main() {
    const auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    const auto cache = MVShaderCache::init();
    cache->loadDefaultShaders();
    MVShaderCache::mv_setSharedCache(cache);
    std::string renderer;
    context->mv_dispatchBlockSync(
        [&] { renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER)); });

    Report report("stencil");
    report.condition("renderer", renderer);
    report.condition("frame", "1280 x 800, groups of four nested views of 88 x 60 points");
    measure(*context, 1, "", report);
    measure(*context, 4, "_4x", report);
    return report.finish();
}
