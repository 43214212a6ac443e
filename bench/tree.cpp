// The cost of the view tree by itself: no layout, no drawing, no GL; and, last, what colour views
// add to it.
//
// Held constant: plain views, each with a position, a size, a rotation about all three axes, a
// scale and a centred anchor, none at a default that would shorten the arithmetic; one window that
// is told of every change; one thread. The flat tree is one superview with 10,000 subviews, the
// deep one a chain of 100. Every number is the median of the repetitions stated beside it, after
// one that is not counted, in a process whose heap the earlier parts have warmed up.
//
// The reference is what the same matrices cost without views: a loop over plain arrays that builds
// each with GLM (translate, rotate three times, scale, translate), multiplies it with its
// superview's and inverts the product. It alternates with the measured loop, so that both meet the
// same machine.
//
// Colour views: 10,000 of them with a size, a position and a colour, below one view, drawn at one
// sample a pixel. What they take of the heap is counted when their first frame has been drawn and
// everybody is at rest, in a process that has drawn a frame with one of them before: what all views
// share is not counted, what a frame leaves behind is; a software rasterizer holds on to the
// triangles of its last frame until it draws another, so there is a figure for after that, too.
// What creating them costs the GL thread is its processor time from a point on its queue before to
// one behind, with the queue held back while they are created. Destroying them begins with the last
// reference and ends when the GL queue has come to what was queued after that.

#include <epoxy/gl.h>
#include <malloc.h>

#include <cmath>
#include <ctime>
#include <glm/gtc/matrix_transform.hpp>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVFramePrivate.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVWindow.h"
#include "bench/support/Bench.h"
#include "tests/support/QueueGate.h"

namespace {

using Mivora::bench::AllocationCounter;
using Mivora::bench::doNotOptimize;
using Mivora::bench::median;
using Mivora::bench::Report;
using Mivora::bench::Stopwatch;

constexpr int kFlat = 10000;
constexpr int kDeep = 100;
constexpr int kRepetitions = 21;

using View = std::shared_ptr<MVView>;

struct Placement {
    glm::vec3 position;
    glm::vec3 rotation;
    float scale;
    glm::vec3 size;
    glm::vec3 anchor;
};

Placement placementOf(int index) {
    const auto step = static_cast<float>(index);
    return {{step, 2.0F * step, -step},
            {0.1F + step * 1e-4F, 0.2F - step * 1e-4F, 0.3F + step * 2e-4F},
            1.0F + 0.5F / (1.0F + step),
            {40.0F + step * 0.01F, 30.0F, 1.0F},
            {0.5F, 0.5F, 0.5F}};
}

View makeView(int index) {
    const Placement placement = placementOf(index);
    View view = MVView::init();
    view->setPosition3({placement.position.x, placement.position.y, placement.position.z});
    view->setRotation3({placement.rotation.x, placement.rotation.y, placement.rotation.z});
    view->setUniformScale(placement.scale);
    view->setSize3({placement.size.x, placement.size.y, placement.size.z});
    view->setAnchorPoint3({placement.anchor.x, placement.anchor.y, placement.anchor.z});
    return view;
}

std::vector<View> makeViews(int count) {
    std::vector<View> views;
    views.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        views.push_back(makeView(i));
    }
    return views;
}

View makeFlatTree() {
    View superview = makeView(0);
    for (int i = 0; i < kFlat; ++i) {
        superview->addSubview(makeView(i));
    }
    return superview;
}

/// The median time of `operation` after `prepare`, in nanoseconds.
template <class Prepare, class Operation>
double medianNanoseconds(int repetitions, Prepare prepare, Operation operation) {
    std::vector<double> times;
    for (int i = 0; i <= repetitions; ++i) {
        auto state = prepare();
        const Stopwatch watch;
        operation(state);
        const double time = watch.nanoseconds();
        if (i > 0) {
            times.push_back(time);
        }
    }
    return median(times);
}

void measureBuilding(Report& report) {
    const auto window = MVWindow::init();
    report.add("build_10k_ms",
               medianNanoseconds(
                   kRepetitions, [] { return nullptr; },
                   [&](auto) { window->addSubview(makeFlatTree()); }) *
                   1e-6,
               "create, place and add; median of 21");
    window->removeAllSubviews();
    report.add(
        "destroy_10k_ms",
        medianNanoseconds(kRepetitions, makeFlatTree, [](View& view) { view = nullptr; }) * 1e-6,
        "drop the last reference; median of 21");
    report.add("remove_all_10k_ms",
               medianNanoseconds(kRepetitions, makeFlatTree,
                                 [](View& view) { view->removeAllSubviews(); }) *
                   1e-6,
               "removeAllSubviews; median of 21");
}

/// What the allocator has handed out, its own bookkeeping included.
std::size_t heapBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void measureMemory(Report& report) {
    const auto window = MVWindow::init();
    const std::size_t before = heapBytes();
    const AllocationCounter counter;
    const View superview = MVView::init();
    for (int i = 0; i < kFlat; ++i) {
        superview->addSubview(MVView::init());
    }
    window->addSubview(superview);
    const auto views = static_cast<double>(kFlat + 1);
    report.add("bytes_per_view", static_cast<double>(heapBytes() - before) / views,
               "heap in use, lists and overhead included; target: at most 440");
    report.add("allocations_per_view", static_cast<double>(counter.allocations()) / views,
               "to create and add one");
}

/// The time to add views to as many superviews, the same number to each.
double nanosecondsToAdd(const std::vector<View>& views, std::size_t superviews) {
    const std::vector<View> parents = makeViews(static_cast<int>(superviews));
    const std::size_t each = views.size() / superviews;
    const Stopwatch watch;
    for (std::size_t i = 0; i < views.size(); ++i) {
        parents[i / each]->addSubview(views[i]);
    }
    const double time = watch.nanoseconds();
    for (const View& parent : parents) {
        parent->removeAllSubviews();
    }
    return time;
}

/// Both times are those of adding the same 10,000 views, to one superview or to ten, in turn: only
/// the length of the list differs. A thousand views by themselves would fit into a cache that ten
/// thousand do not, and the ratio of the two would measure that.
void measureAdding(Report& report) {
    const std::vector<View> views = makeViews(kFlat);
    std::vector<double> toOne;
    std::vector<double> toTen;
    for (int i = 0; i <= 2 * kRepetitions; ++i) {
        const double one = nanosecondsToAdd(views, 1);
        const double ten = nanosecondsToAdd(views, 10);
        if (i > 0) {
            toOne.push_back(one);
            toTen.push_back(ten / 10.0);
        }
    }
    report.add("add_growth_1k_to_10k", median(toOne) / median(toTen),
               "time to add 10,000 by that for 1,000; target: at most 12");
}

/// Plain arrays in place of views.
class Reference {
 public:
    Reference() : world_(kFlat), inverse_(kFlat) {
        for (int i = 0; i < kFlat; ++i) {
            placements_.push_back(placementOf(i));
        }
    }

    void moveAndRebuild(float by, const glm::mat4& above) {
        for (std::size_t i = 0; i < placements_.size(); ++i) {
            Placement& placement = placements_[i];
            placement.position.x += by;
            glm::mat4 local = glm::translate(glm::mat4(1.0F), placement.position);
            local = glm::rotate(local, placement.rotation.x, glm::vec3(1, 0, 0));
            local = glm::rotate(local, placement.rotation.y, glm::vec3(0, 1, 0));
            local = glm::rotate(local, placement.rotation.z, glm::vec3(0, 0, 1));
            local = glm::scale(local, glm::vec3(placement.scale));
            local = glm::translate(local, -placement.anchor * placement.size);
            world_[i] = above * local;
            inverse_[i] = glm::inverse(world_[i]);
        }
        doNotOptimize(world_.data());
        doNotOptimize(inverse_.data());
    }

 private:
    std::vector<Placement> placements_;
    std::vector<glm::mat4> world_;
    std::vector<glm::mat4> inverse_;
};

void measureFlatRebuild(Report& report) {
    const auto window = MVWindow::init();
    const View superview = makeFlatTree();
    window->addSubview(superview);
    const auto views = superview->subviews();
    Reference reference;

    std::vector<double> ours;
    std::vector<double> plain;
    for (int i = 0; i <= 4 * kRepetitions; ++i) {
        const float by = i % 2 == 0 ? 1.0F : -1.0F;
        const glm::mat4 above = superview->transformMatrix();
        Stopwatch watch;
        reference.moveAndRebuild(by, above);
        const double plainTime = watch.nanoseconds() / kFlat;
        watch.restart();
        for (const View& view : *views) {
            Mivora::Point3 position = view->position3();
            position.x += by;
            view->setPosition3(position);
        }
        for (const View& view : *views) {
            doNotOptimize(view->inverseTransformMatrix());
        }
        if (i > 0) {
            plain.push_back(plainTime);
            ours.push_back(watch.nanoseconds() / kFlat);
        }
    }
    report.add("rebuild_ns_per_view", median(ours),
               "move each of 10,000, then rebuild world and inverse; median of 84");
    report.add("rebuild_reference_ns", median(plain), "the same in plain arrays with GLM");
    report.add("rebuild_ratio", median(ours) / median(plain), "target: at most 1.5");
}

void measureDeepRebuild(Report& report) {
    const auto window = MVWindow::init();
    const View root = makeView(1);
    View leaf = root;
    for (int i = 1; i < kDeep; ++i) {
        const View next = makeView(i);
        leaf->addSubview(next);
        leaf = next;
    }
    window->addSubview(root);
    constexpr int kMoves = 100;
    const double time = medianNanoseconds(
        kRepetitions, [] { return nullptr; },
        [&](auto) {
            for (int i = 0; i < kMoves; ++i) {
                root->setPosition({static_cast<float>(i), 0.0F});
                doNotOptimize(leaf->inverseTransformMatrix());
            }
        });
    report.add("rebuild_deep_ns_per_view", time / (kMoves * kDeep),
               "move the root of 100 levels, read the leaf; median of 21 times 100");
}

/// A window and what it is drawn with.
class ColorScene {
 public:
    ColorScene() {
        MVRenderContext::mv_setActiveContext(context_);
        shaders_->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(shaders_);
        drawable_.setSize({kSide, kSide});
        window_->setSize({kSide, kSide});
        window_->setMv_surface(MVRenderSurface::init());
    }
    ~ColorScene() {
        context_->mv_dispatchBlockSync([this] { drawable_.release(); });
    }

    /// Puts a view with new colour views in it into the window.
    View add(int count) {
        View superview = MVView::init();
        for (int i = 0; i < count; ++i) {
            const auto step = static_cast<float>(i);
            const auto view = MVColorView::initWithColor({step / kFlat, 0.5F, 0.5F, 1.0F});
            view->setSize({4.0F, 4.0F});
            view->setPosition({std::fmod(step, 100.0F) * 2.0F, step / 50.0F});
            superview->addSubview(view);
        }
        window_->addSubview(superview);
        return superview;
    }

    /// Draws a frame, and waits until that is done.
    void draw() {
        MVFrame::layOut(*window_);
        MVFrame::draw(*window_, [this] {
            context_->dispatchBlock([this] {
                glBindFramebuffer(GL_FRAMEBUFFER, drawable_.framebuffer());
                glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
                glViewport(0, 0, kSide, kSide);
            });
        });
        context_->mv_dispatchBlockSync([this] {
            drawable_.flush();
            glFinish();
        });
    }

    /// Returns when all GL work that is queued has been done.
    void settle() {
        context_->mv_dispatchBlockSync([] {});
    }

    Mivora::platform::SerialQueue& queue() { return *context_->dispatchQueue(); }

    /// Milliseconds of processor time that the GL thread has used so far.
    double threadMilliseconds() {
        double milliseconds = 0.0;
        context_->mv_dispatchBlockSync([&] {
            timespec time{};
            clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
            milliseconds =
                static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
        });
        return milliseconds;
    }

 private:
    static constexpr int kSide = 256;

    std::shared_ptr<MVRenderContext> context_ = MVRenderContext::init();
    std::shared_ptr<MVShaderCache> shaders_ = MVShaderCache::init();
    std::shared_ptr<MVWindow> window_ = MVWindow::init();
    Mivora::platform::Drawable drawable_{1};
};

void measureColorViews(Report& report) {
    ColorScene scene;
    scene.add(1);
    scene.draw();
    const std::size_t before = heapBytes();
    std::vector<double> creation;
    std::vector<double> destruction;
    std::size_t after = 0;
    std::size_t kept = 0;
    for (int i = 0; i <= kRepetitions; ++i) {
        double threadTime = scene.threadMilliseconds();
        View superview;
        {
            Mivora::tests::QueueGate gate(scene.queue());
            superview = scene.add(kFlat);
            gate.open();
        }
        threadTime = scene.threadMilliseconds() - threadTime;
        scene.draw();
        if (i == 0) {
            after = heapBytes();
            superview->setHidden(true);
            scene.draw();
            kept = heapBytes();
        }
        superview->removeFromSuperview();
        const Stopwatch watch;
        superview = nullptr;
        scene.settle();
        if (i > 0) {
            creation.push_back(threadTime);
            destruction.push_back(watch.milliseconds());
        }
    }
    report.add("bytes_per_color_view", static_cast<double>(after - before) / kFlat,
               "heap in use after the first frame; target: at most 1,000");
    report.add("kept_bytes_per_color_view", static_cast<double>(kept - before) / kFlat,
               "the same after another frame, without them");
    report.add("create_color_gl_ms", median(creation),
               "GL thread's time for 10,000; median of 21; target: at most 2");
    report.add("destroy_color_10k_ms", median(destruction),
               "drop the last reference and wait for the GL queue; target: at most 3");
}

}  // namespace

int main() {
    Report report("tree");
    report.condition("flat tree", "10,000 subviews of one view, in a window");
    report.condition("deep tree", "a chain of 100 views, in a window");
    report.condition("size of a view",
                     std::to_string(sizeof(MVView)) + " bytes before the allocator's share");
    measureBuilding(report);
    measureMemory(report);
    measureAdding(report);
    measureFlatRebuild(report);
    measureDeepRebuild(report);
    measureColorViews(report);
    return report.finish();
}
