#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/platform/pictures/Picture.h"
#include "tests/support/GLTest.h"
#include "tests/support/ReferenceScene.h"

class MVShaderCache;
class MVView;
class MVWindow;

namespace Mivora::tests {

/// A window of the library made from a scene.
class SceneWindow {
 public:
    explicit SceneWindow(const Scene& scene);

    const std::shared_ptr<MVWindow>& window() const { return window_; }

    /// The view made from the one of that name; the window for the root.
    std::shared_ptr<MVView> view(const std::string& name) const;

    /// Gives the window and its views the numbers of another scene, which has the same views in
    /// the same order and the same stencil views.
    void apply(const Scene& scene);

 private:
    std::shared_ptr<MVView> make(const SceneView& view);
    void addChildren(const SceneView& description, const std::shared_ptr<MVView>& view);
    void setStencils(const SceneView& description, std::size_t& index);
    void apply(const SceneView& description, std::size_t& index);

    std::shared_ptr<MVWindow> window_;
    std::vector<std::shared_ptr<MVView>> views_;  ///< each followed by its stencil and subviews
    std::map<std::string, std::shared_ptr<MVView>> byName_;
};

/// How pictures are taken and compared.
struct PixelOptions {
    float scale = 1.0F;  ///< pixels per point
    /// How much of the picture may lie near edges, and so go unseen, as a share of it.
    double mostNearEdges = 0.15;
    /// How much of the picture views must at least be seen in, so that no test passes on an empty
    /// picture.
    double leastCovered = 0.03;
};

/// A test on a real, headless GL context that draws windows, without multisampling, and looks at
/// the pixels.
///
/// Where a picture is not as expected, it is written to pixel-failures/ in the current folder,
/// together with what was expected and the difference, and the worst pixel is printed. With the
/// environment variable MIVORA_KEEP_PICTURES, every picture of a scene is written to the folder
/// that it names: a way to look at what the tests draw.
class PixelTest : public GLTest {
 protected:
    void SetUp() override;
    void TearDown() override;

    /// Draws a window with hard edges.
    static platform::Picture capture(const SceneWindow& window, const Scene& scene,
                                     float scale = 1.0F);

    /// Draws a scene and compares it with the reference.
    static void expectLikeReference(const Scene& scene, const PixelOptions& options = {});

    /// Compares a picture of a scene with the reference, away from edges.
    ///
    /// A fill that is not blended is the same number rounded once: 1 of 255 allows for rounding
    /// either way. A blended one was rounded after every layer and computed with an alpha of
    /// 8 bits, and each later layer leaves a share of that error: with alphas of 0.3 and more, up
    /// to sixteen layers stay within 1.6, and 2 is allowed.
    static void expectLikeReference(const platform::Picture& picture, const Scene& scene,
                                    const PixelOptions& options = {});

    /// Compares two pictures of one size wherever neither scene has an edge: all channels must be
    /// equal within 1 of 255.
    /// @param ignored  as many flags as pixels, row after row: what is not compared
    static void expectAlike(const platform::Picture& picture, const platform::Picture& expected,
                            const std::vector<bool>& ignored);

    /// The pixels of the reference that are near edges, row after row.
    static std::vector<bool> nearEdges(const ReferencePicture& reference);

 private:
    std::shared_ptr<MVShaderCache> cache_;
};

}  // namespace Mivora::tests
