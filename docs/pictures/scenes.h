#pragma once

#include <memory>

#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/geometry/Size.h"

class MVColorView;
class MVWindow;

/// How large a scene is, in points.
constexpr Mivora::Size2 kSceneSize{960, 600};

/// Cards around a vertical axis above a floor that mirrors them: rotation, opacity, and the
/// coordinate system that turns a mirror image over.
void buildCarousel(const std::shared_ptr<MVWindow>& window);

/// A photograph as it is, inverted, softened by a filter of one's own, blurred twice, and blurred
/// and inverted.
void buildFilters(const std::shared_ptr<MVWindow>& window);

/// A turning wheel of cards, as it is and below a blurring filter view.
void buildFrosted(const std::shared_ptr<MVWindow>& window);

/// Mosaics cut out by stars, each within the one before: nested stencils.
void buildMosaic(const std::shared_ptr<MVWindow>& window);

/// A town at dusk: boxes made of rotated faces, standing on rotated ground.
void buildTown(const std::shared_ptr<MVWindow>& window);

/// A thousand small squares that lie on a wave.
void buildWave(const std::shared_ptr<MVWindow>& window);

// What the scenes share

/// A view of a size that is filled with a colour.
std::shared_ptr<MVColorView> makeFill(Mivora::ColorRGBA color, Mivora::Size2 size);

/// A colour by hue, saturation and brightness, all 0 to 1; the hue may be anything and wraps.
Mivora::ColorRGBA hsb(float hue, float saturation, float brightness, float alpha = 1);

/// The colour a share of the way from one to another.
Mivora::ColorRGBA mix(Mivora::ColorRGBA from, Mivora::ColorRGBA to, float share);

/// Fills the window with a gradient from the top to the bottom.
void addBackdrop(MVWindow& window, Mivora::ColorRGBA top, Mivora::ColorRGBA bottom);
