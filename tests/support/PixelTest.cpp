#include "tests/support/PixelTest.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVWindow.h"

namespace Mivora::tests {

namespace {

using platform::Picture;

constexpr double kFillTolerance = 1.0;
constexpr double kBlendTolerance = 2.0;

/// Differences are made this many times as bright in .diff.png.
constexpr int kDifferenceGain = 8;

/// What is expected of one pixel.
struct Expected {
    std::array<double, 4> color{};
    double tolerance = kFillTolerance;
    bool compared = true;
};

/// A new path in a folder, which is made if need be: the name of the test and a number.
std::string picturePath(const std::string& folder) {
    static int count = 0;
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name =
        std::string(test->test_suite_name()) + "." + test->name() + "." + std::to_string(++count);
    std::replace(name.begin(), name.end(), '/', '-');
    std::filesystem::create_directories(folder);
    return folder + "/" + name;
}

std::uint8_t byte(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

/// The picture, what was expected and how they differ; blue where nothing was compared.
void writeFailure(const std::string& name, const Picture& picture,
                  const std::vector<Expected>& expected) {
    Picture reference = picture;
    Picture difference = picture;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        for (std::size_t channel = 0; channel < 4; ++channel) {
            const double wanted = expected[i].color[channel];
            reference.rgba[i * 4 + channel] = byte(wanted);
            difference.rgba[i * 4 + channel] =
                byte(std::abs(picture.rgba[i * 4 + channel] - wanted) * kDifferenceGain);
        }
        if (!expected[i].compared) {
            std::fill_n(difference.rgba.begin() + static_cast<std::ptrdiff_t>(i * 4), 4,
                        std::uint8_t{0});
            difference.rgba[i * 4 + 2] = 96;
        }
        difference.rgba[i * 4 + 3] = 255;
    }
    reference.writePNG(name + ".ref.png");
    picture.writePNG(name + ".out.png");
    difference.writePNG(name + ".diff.png");
}

std::string text(const std::array<double, 4>& color) {
    std::array<char, 96> result{};
    std::snprintf(result.data(), result.size(), "(%.1f, %.1f, %.1f, %.1f)", color[0], color[1],
                  color[2], color[3]);
    return result.data();
}

/// Fails with the worst pixel, if there is one that is not as expected.
void compare(const Picture& picture, const std::vector<Expected>& expected) {
    ASSERT_EQ(picture.rgba.size(), expected.size() * 4);
    std::size_t wrong = 0;
    std::size_t worst = 0;
    double worstExcess = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (!expected[i].compared) {
            continue;
        }
        double difference = 0.0;
        for (std::size_t channel = 0; channel < 4; ++channel) {
            difference = std::max(
                difference, std::abs(picture.rgba[i * 4 + channel] - expected[i].color[channel]));
        }
        const double excess = difference - expected[i].tolerance;
        wrong += excess > 0.0 ? 1 : 0;
        if (excess > worstExcess) {
            worstExcess = excess;
            worst = i;
        }
    }
    if (wrong == 0) {
        return;
    }
    const std::string name = picturePath("pixel-failures");
    writeFailure(name, picture, expected);
    const auto width = static_cast<std::size_t>(picture.size.width);
    const int x = static_cast<int>(worst % width);
    const int y = static_cast<int>(worst / width);
    const std::array<std::uint8_t, 4> drawn = picture.pixel(x, y);
    ADD_FAILURE() << wrong << " of " << expected.size() << " pixels are wrong; the worst, at " << x
                  << ", " << y << ", is "
                  << text({static_cast<double>(drawn[0]), static_cast<double>(drawn[1]),
                           static_cast<double>(drawn[2]), static_cast<double>(drawn[3])})
                  << " and should be " << text(expected[worst].color) << " within "
                  << expected[worst].tolerance << "\nsee " << name << ".{ref,out,diff}.png";
}

}  // namespace

// The window

SceneWindow::SceneWindow(const Scene& scene) : window_(MVWindow::init()) {
    views_.push_back(window_);
    addChildren(scene.root, window_);
    std::size_t index = 0;
    setStencils(scene.root, index);
    apply(scene);
}

std::shared_ptr<MVView> SceneWindow::view(const std::string& name) const {
    return byName_.at(name);
}

std::shared_ptr<MVView> SceneWindow::make(const SceneView& view) {
    std::shared_ptr<MVView> result = MVView::init();
    if (view.color) {
        result = MVColorView::initWithColor(*view.color);
    }
    if (!view.name.empty()) {
        byName_[view.name] = result;
    }
    views_.push_back(result);
    addChildren(view, result);
    return result;
}

void SceneWindow::addChildren(const SceneView& description, const std::shared_ptr<MVView>& view) {
    for (const SceneView& stencil : description.stencil) {
        view->setStencilView(make(stencil));
    }
    for (const SceneView& subview : description.subviews) {
        view->addSubview(make(subview));
    }
}

void SceneWindow::setStencils(const SceneView& description, std::size_t& index) {
    const std::shared_ptr<MVView> view = views_[index++];
    if (!description.stencilName.empty()) {
        view->setStencilView(byName_.at(description.stencilName));
    }
    for (const std::vector<SceneView>* const list : {&description.stencil, &description.subviews}) {
        for (const SceneView& child : *list) {
            setStencils(child, index);
        }
    }
}

void SceneWindow::apply(const Scene& scene) {
    std::size_t index = 0;
    apply(scene.root, index);
    if (index != views_.size()) {
        throw std::invalid_argument("the scene has other views than the window");
    }
    window_->setFieldOfView(scene.fieldOfView);
    window_->setNearDistance(scene.nearDistance);
    window_->setFarDistance(scene.farDistance);
}

void SceneWindow::apply(const SceneView& description, std::size_t& index) {
    const std::shared_ptr<MVView> view = views_.at(index++);
    view->setSize3(description.size);
    if (view == window_) {
        // The depth of a window follows from its camera.
        view->setPosition({description.position.x, description.position.y});
    } else {
        view->setPosition3(description.position);
    }
    view->setRotation3(description.rotation);
    view->setUniformScale(description.scale);
    view->setAnchorPoint3(description.anchor);
    view->setLocalOrigin3(description.localOrigin);
    view->setCoordinateSystem(description.coordinateSystem);
    view->setOpacity(description.opacity);
    view->setHidden(description.hidden);
    if (const auto colored = std::dynamic_pointer_cast<MVColorView>(view)) {
        colored->setColor(description.color.value());
    }
    for (const std::vector<SceneView>* const list : {&description.stencil, &description.subviews}) {
        for (const SceneView& child : *list) {
            apply(child, index);
        }
    }
}

// The test

void PixelTest::SetUp() {
    GLTest::SetUp();
    if (HasFatalFailure()) {
        return;
    }
    context_->setBatching(true);
    cache_ = MVShaderCache::init();
    cache_->loadDefaultShaders();
    MVShaderCache::mv_setSharedCache(cache_);
}

void PixelTest::TearDown() {
    cache_.reset();
    GLTest::TearDown();
}

Picture PixelTest::capture(const SceneWindow& window, const Scene& scene, float scale) {
    return MVCaptureWindow(window.window(),
                           {.scale = scale, .samples = 0, .clearColor = scene.background});
}

void PixelTest::expectLikeReference(const Scene& scene, const PixelOptions& options) {
    const SceneWindow window(scene);
    expectLikeReference(capture(window, scene, options.scale), scene, options);
}

void PixelTest::expectLikeReference(const Picture& picture, const Scene& scene,
                                    const PixelOptions& options) {
    const ReferencePicture reference(scene, options.scale);
    ASSERT_EQ(picture.size.width, reference.width());
    ASSERT_EQ(picture.size.height, reference.height());
    EXPECT_LE(reference.shareNearEdges(), options.mostNearEdges) << "too little is compared";
    EXPECT_GE(reference.shareCovered(), options.leastCovered) << "too little is seen";
    std::vector<Expected> expected;
    for (int y = 0; y < reference.height(); ++y) {
        for (int x = 0; x < reference.width(); ++x) {
            const ReferencePicture::Pixel& pixel = reference.at(x, y);
            expected.push_back(
                {pixel.color, pixel.blended ? kBlendTolerance : kFillTolerance, !pixel.nearEdge});
        }
    }
    compare(picture, expected);
    if (const char* const folder = std::getenv("MIVORA_KEEP_PICTURES")) {
        picture.writePNG(picturePath(folder) + ".png");
    }
}

void PixelTest::expectAlike(const Picture& picture, const Picture& other,
                            const std::vector<bool>& ignored) {
    ASSERT_EQ(picture.size.width, other.size.width);
    ASSERT_EQ(picture.size.height, other.size.height);
    ASSERT_EQ(picture.rgba.size(), ignored.size() * 4);
    std::vector<Expected> expected;
    for (std::size_t i = 0; i < ignored.size(); ++i) {
        Expected pixel;
        for (std::size_t channel = 0; channel < 4; ++channel) {
            pixel.color[channel] = other.rgba[i * 4 + channel];
        }
        pixel.compared = !ignored[i];
        expected.push_back(pixel);
    }
    compare(picture, expected);
}

std::vector<bool> PixelTest::nearEdges(const ReferencePicture& reference) {
    std::vector<bool> result;
    for (int y = 0; y < reference.height(); ++y) {
        for (int x = 0; x < reference.width(); ++x) {
            result.push_back(reference.at(x, y).nearEdge);
        }
    }
    return result;
}

}  // namespace Mivora::tests
