// What input costs the library by itself: no host, no drawing, no GL.
//
// Held constant: one window of 1,600 x 1,200 points at scale 1; plain views, each with a position,
// a size, a scale and a small rotation about all three axes, so that nothing is at a default that
// would shorten the arithmetic; all matrices and planes are built before the first measurement.
// Every number is the median of the repetitions stated beside it, after one that is not counted.
//
// The flat tree is one superview with 10,000 subviews, none of them under the pointer. The deep one
// has 1,000 chains of ten views, all under the pointer. Both are hit by a hover that no view wants:
// it has to ask every view of the tree, and so does each move of a hovering pointer.
//
// The reference is the arithmetic of one view without views: a loop over plain arrays that meets
// the ray with a plane, takes the point through an inverse, rounds it to pixels and compares it
// with a box. It alternates with the measured loops, so that all meet the same machine.
//
// A drag goes over a chain of ten views, each with a pan that has one target. A delegate lets all
// of them recognize together, so that each of the 1,000 moves reaches all ten and all ten tell.
// Ten fingers go over the flat tree, each of whose views has a pan: each move is one event of all
// ten, reaches ten pans on ten views, and all ten tell.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <glm/geometric.hpp>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>
#include <memory>
#include <vector>

#include "MivoraMac/geometry/Plane.h"
#include "MivoraMac/input/MVFingerDispatcher.h"
#include "MivoraMac/input/MVGestureRecognizerDelegate.h"
#include "MivoraMac/input/MVMouse.h"
#include "MivoraMac/input/MVMouseToTouchDispatcher.h"
#include "MivoraMac/input/MVPanGestureRecognizer.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/windows/Event.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVWindow.h"
#include "bench/support/Bench.h"

namespace {

using Mivora::Plane;
using Mivora::Point3;
using Mivora::Ray3;
using Mivora::Size3;
using Mivora::bench::doNotOptimize;
using Mivora::bench::median;
using Mivora::bench::Report;
using Mivora::bench::Stopwatch;

constexpr int kViews = 10000;
constexpr int kLevels = 10;
constexpr int kRepetitions = 101;

using View = std::shared_ptr<MVView>;

// Hit testing

View makeView(int index, Point3 position, Mivora::Size2 size) {
    const auto step = static_cast<float>(index);
    View view = MVView::init();
    view->setPosition3(position);
    view->setSize(size);
    view->setUniformScale(1.0F + 0.1F / (1.0F + step));
    view->setRotation3({1e-3F + step * 1e-7F, 2e-3F - step * 1e-7F, 3e-3F});
    return view;
}

std::shared_ptr<MVWindow> makeWindow(const View& superview) {
    auto window = MVWindow::init();
    window->setContentScaleFactor(1.0F);
    window->setSize({1600.0F, 1200.0F});
    superview->setSize({1600.0F, 1200.0F});
    window->addSubview(superview);
    return window;
}

View makeFlatTree() {
    View superview = MVView::init();
    for (int i = 0; i < kViews; ++i) {
        superview->addSubview(makeView(
            i, {static_cast<float>(i % 100) * 7.0F, static_cast<float>(i / 100) * 11.0F, 0.0F},
            {6.0F, 10.0F}));
    }
    return superview;
}

View makeDeepTree() {
    View superview = MVView::init();
    for (int chain = 0; chain < kViews / kLevels; ++chain) {
        View above = superview;
        for (int level = 0; level < kLevels; ++level) {
            View view = makeView(chain, {-5.0F, -5.0F, 0.0F}, {1800.0F, 1400.0F});
            above->addSubview(view);
            above = view;
        }
    }
    return superview;
}

/// The values of a tree's views in plain arrays.
class Reference {
 public:
    explicit Reference(const View& superview) { take(superview); }

    std::size_t size() const { return planes_.size(); }

    int hits(const Ray3& ray) const {
        int count = 0;
        for (std::size_t i = 0; i < planes_.size(); ++i) {
            const Plane& plane = planes_[i];
            const glm::vec3 start(ray.startPoint.x, ray.startPoint.y, ray.startPoint.z);
            const glm::vec3 direction(ray.direction.x, ray.direction.y, ray.direction.z);
            const glm::vec3 normal(plane.normal.x, plane.normal.y, plane.normal.z);
            const float t =
                (plane.distance - glm::dot(normal, start)) / glm::dot(normal, direction);
            const glm::vec4 local = inverses_[i] * glm::vec4(start + direction * t, 1.0F);
            const float scale = boxes_[i].scale;
            const float x = std::round(local.x * scale) / scale;
            const float y = std::round(local.y * scale) / scale;
            const float z = std::round(local.z * scale) / scale;
            const Point3 o = boxes_[i].origin;
            const Size3 s = boxes_[i].size;
            count += o.x <= x && x <= o.x + s.width && o.y <= y && y <= o.y + s.height &&
                     o.z <= z && z <= o.z + s.depth;
        }
        return count;
    }

 private:
    struct Box {
        Point3 origin;
        Size3 size;
        float scale;
    };

    void take(const View& view) {
        planes_.push_back(view->worldInteractionPlane());
        inverses_.push_back(view->inverseTransformMatrix());
        boxes_.push_back({view->localOrigin3(), view->size3(), view->contentScaleFactor()});
        for (const View& below : *view->subviews()) {
            take(below);
        }
    }

    std::vector<Plane> planes_;
    std::vector<glm::mat4> inverses_;
    std::vector<Box> boxes_;
};

struct HitTimes {
    double perView;
    double reference;
};

/// The times for one view of the tree, in nanoseconds.
HitTimes measureHits(const View& superview, int expectedHits) {
    const auto window = makeWindow(superview);
    const auto mouse = MVMouse::init();
    mouse->setButton(MVMouseButtonHover);
    mouse->setRay(window->mv_unprojectScreenPointViewport({1200.0F, 600.0F}, {0, 0, 1600, 1200}));
    const Reference reference(superview);
    const auto views = static_cast<double>(reference.size());
    if (reference.hits(mouse->ray()) != expectedHits) {
        std::fprintf(stderr, "the tree is not what it is meant to be\n");
        std::exit(1);
    }

    std::vector<double> ours;
    std::vector<double> plain;
    for (int i = 0; i <= kRepetitions; ++i) {
        Stopwatch watch;
        doNotOptimize(reference.hits(mouse->ray()));
        const double plainTime = watch.nanoseconds() / views;
        watch.restart();
        doNotOptimize(window->viewForInteraction(mouse));
        if (i > 0) {
            ours.push_back(watch.nanoseconds() / views);
            plain.push_back(plainTime);
        }
    }
    return {median(ours), median(plain)};
}

void measureHitTesting(Report& report) {
    const HitTimes flat = measureHits(makeFlatTree(), 1);
    const HitTimes deep = measureHits(makeDeepTree(), kViews + 1);
    report.add("hit_ns_per_view_flat", flat.perView, "viewForInteraction; median of 101");
    report.add("hit_ns_per_view_deep", deep.perView, "viewForInteraction; median of 101");
    report.add("hit_reference_ns", flat.reference, "the arithmetic of a view that is missed");
    report.add("hit_deep_reference_ns", deep.reference, "that of a view that is hit");
    report.add("hit_flat_ratio", flat.perView / flat.reference, "target: at most 3");
    report.add("hit_deep_ratio", deep.perView / deep.reference, "target: at most 3");
}

// Dragging

constexpr int kMoves = 1000;

struct LetsAllRecognize : MVGestureRecognizerDelegate {
    bool gestureRecognizerShouldRecognizeSimultaneouslyWithGestureRecognizer(
        const std::shared_ptr<MVGestureRecognizer>& /*recognizer*/,
        const std::shared_ptr<MVGestureRecognizer>& /*other*/) override {
        return true;
    }
};

struct CountingTarget {
    int calls = 0;
    void panned(const std::shared_ptr<MVPanGestureRecognizer>& /*pan*/) { ++calls; }
};

MVMouseToTouchDispatcher::EventPointer eventAt(double x, double y) {
    Mivora::platform::Event event;
    event.locationInWindow = {x, y};
    return std::make_shared<const Mivora::platform::Event>(event);
}

void measureDragging(Report& report) {
    const auto lets = std::make_shared<LetsAllRecognize>();
    const auto target = std::make_shared<CountingTarget>();
    const View superview = MVView::init();
    const auto window = makeWindow(superview);
    View above = superview;
    for (int level = 0; level < kLevels; ++level) {
        const View view = makeView(0, {-5.0F, -5.0F, 0.0F}, {1800.0F, 1400.0F});
        const auto pan =
            MVPanGestureRecognizer::initWithTargetAction(target, &CountingTarget::panned);
        pan->setDelegate(lets);
        view->addGestureRecognizer(pan);
        above->addSubview(view);
        above = view;
    }
    std::vector<MVMouseToTouchDispatcher::EventPointer> moves;
    for (int i = 0; i < kMoves; ++i) {
        moves.push_back(eventAt(400.0 + i, 500.0 + i / 10.0));
    }
    const auto dispatcher = MVMouseToTouchDispatcher::initWithWindow(window);
    std::vector<double> times;
    for (int i = 0; i <= kRepetitions; ++i) {
        target->calls = 0;
        dispatcher->systemTouchBeganWithEvent(moves.front());
        const Stopwatch watch;
        for (const auto& move : moves) {
            dispatcher->systemTouchMovedWithEvent(move);
        }
        const double time = watch.nanoseconds();
        dispatcher->systemTouchEndedWithEvent(moves.back());
        // Lets the recognizers become possible again.
        Mivora::platform::MainThread::runUntil([] { return false; }, 0.0);
        if (target->calls != (kMoves + 1) * kLevels) {
            std::fprintf(stderr, "the drag is not what it is meant to be\n");
            std::exit(1);
        }
        if (i > 0) {
            times.push_back(time / 1e3 / kMoves);
        }
    }
    report.add("drag_us_per_move", median(times), "ten pans, each with a target; median of 101");
}

/// Ten fingers, each on a view of its own.
void measureFingers(Report& report) {
    constexpr int kFingers = 10;
    const auto target = std::make_shared<CountingTarget>();
    const View superview = makeFlatTree();
    const auto window = makeWindow(superview);
    for (const View& view : *superview->subviews()) {
        view->addGestureRecognizer(
            MVPanGestureRecognizer::initWithTargetAction(target, &CountingTarget::panned));
    }
    // On views of the flat tree in a row; the moves go to and fro.
    const auto eventAtStep = [](Mivora::platform::Event::Type type, int step) {
        auto event = std::make_shared<Mivora::platform::Event>();
        event->type = type;
        for (int i = 0; i < kFingers; ++i) {
            const double way = step % 100 < 50 ? step % 100 : 100 - step % 100;
            event->touches.push_back(
                {static_cast<std::uint64_t>(i), {3.0 + 70.0 * i + way, 1200.0 - 555.0}});
        }
        return event;
    };
    using Type = Mivora::platform::Event::Type;
    std::vector<MVFingerDispatcher::EventPointer> moves;
    for (int i = 0; i < kMoves; ++i) {
        moves.push_back(eventAtStep(Type::TouchesMoved, i + 1));
    }
    const auto dispatcher = MVFingerDispatcher::initWithWindow(window);
    std::vector<double> times;
    for (int i = 0; i <= kRepetitions; ++i) {
        target->calls = 0;
        dispatcher->systemTouchesBeganWithEvent(eventAtStep(Type::TouchesBegan, 0));
        const Stopwatch watch;
        for (const auto& move : moves) {
            dispatcher->systemTouchesMovedWithEvent(move);
        }
        const double time = watch.nanoseconds();
        dispatcher->systemTouchesEndedWithEvent(eventAtStep(Type::TouchesEnded, 0));
        Mivora::platform::MainThread::runUntil([] { return false; }, 0.0);
        // A pan begins with the tenth move, and its end is told, too.
        if (target->calls != (kMoves - 9 + 1) * kFingers) {
            std::fprintf(stderr, "the fingers are not what they are meant to be: %d\n",
                         target->calls);
            std::exit(1);
        }
        if (i > 0) {
            times.push_back(time / 1e3 / kMoves);
        }
    }
    report.add("drag10_us_per_move", median(times),
               "ten fingers at once; target: at most ten times drag_us_per_move");
}

}  // namespace

int main() {
    Report report("input");
    report.condition("flat tree", "10,000 subviews of one view, in a window");
    report.condition("deep tree", "1,000 chains of ten views below one view, in a window");
    report.condition("drag", "1,000 moves over ten views in each other, each with a pan");
    report.condition("ten fingers", "1,000 moves of all; the flat tree, each view with a pan");
    measureHitTesting(report);
    measureDragging(report);
    measureFingers(report);
    return report.finish();
}
