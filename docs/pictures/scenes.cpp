// Draws the pictures of the documentation: `draw-pictures FOLDER` writes a PNG file for each scene.

#include "docs/pictures/scenes.h"

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/geometry/MVColor.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVWindow.h"

std::shared_ptr<MVColorView> makeFill(Mivora::ColorRGBA color, Mivora::Size2 size) {
    auto view = MVColorView::initWithColor(color);
    view->setSize(size);
    return view;
}

Mivora::ColorRGBA hsb(float hue, float saturation, float brightness, float alpha) {
    return MVColorHSBAToColorRGBA({hue - std::floor(hue), saturation, brightness, alpha});
}

Mivora::ColorRGBA mix(Mivora::ColorRGBA from, Mivora::ColorRGBA to, float share) {
    return {from.red + (to.red - from.red) * share, from.green + (to.green - from.green) * share,
            from.blue + (to.blue - from.blue) * share,
            from.alpha + (to.alpha - from.alpha) * share};
}

void addBackdrop(MVWindow& window, Mivora::ColorRGBA top, Mivora::ColorRGBA bottom) {
    constexpr int kStrips = 120;
    const float height = window.size().height / kStrips;
    for (int i = 0; i < kStrips; ++i) {
        const float share = static_cast<float>(i) / (kStrips - 1);
        auto strip = makeFill(mix(top, bottom, share), {window.size().width, height});
        strip->setPosition({0, height * static_cast<float>(i)});
        window.addSubview(strip);
    }
}

namespace {

bool write(const std::string& folder, const char* name,
           void (*build)(const std::shared_ptr<MVWindow>&)) {
    auto window = MVWindow::init();
    window->setSize(kSceneSize);
    build(window);

    MVCaptureOptions options;
    options.scale = 2;
    options.alpha = MVCaptureAlpha::Opaque;  // nothing is behind a window
    const auto picture = MVCaptureWindow(window, options);
    const std::string path = folder + "/" + name + ".png";
    if (!picture.writePNG(path)) {
        std::fprintf(stderr, "%s was not written; MIVORA_DEBUG=all says why\n", path.c_str());
        return false;
    }
    return true;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fprintf(stderr, "usage: draw-pictures FOLDER\n");
        return 2;
    }
    // What an application would set up: the context that draws, and the shaders.
    const auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    const auto shaders = MVShaderCache::init();
    shaders->loadDefaultShaders();
    MVShaderCache::mv_setSharedCache(shaders);

    const std::string folder = arguments[1];
    bool written = write(folder, "carousel", buildCarousel);
    written = write(folder, "filters", buildFilters) && written;
    written = write(folder, "frosted", buildFrosted) && written;
    written = write(folder, "mosaic", buildMosaic) && written;
    written = write(folder, "town", buildTown) && written;
    written = write(folder, "wave", buildWave) && written;
    return written ? 0 : 1;
}
