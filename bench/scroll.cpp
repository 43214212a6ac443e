// What one click of a wheel over a list costs the main thread: finding the view that it is over,
// moving the content, the frame's layout and its drawing.
//
// Held constant: a list of 240 x 240 points that shows ten rows of 24 points, clipped by a stencil
// of its own size, at the place (100, 100) in a window of 1280 x 800; each row is a colour view
// with two more in it. Clicks of one row each go down by ten and up again. The lists with 10,000
// and with 20 rows take turns click by click; each figure is the median of 2,000 clicks, after 200
// that are not counted.
//
// Both lists are the one of the example, in which only the rows in view exist. What it saves is
// measured beside it: the same with all 10,000 rows as views, those out of view hidden.
//
// The GL queue is held back while the main thread is timed, so that on a machine with few cores the
// rasteriser's threads do not count.

#include <epoxy/gl.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "MivoraMac/input/MVScrollDispatcher.h"
#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVFramePrivate.h"
#include "MivoraMac/views/MVScrollView.h"
#include "MivoraMac/views/MVWindow.h"
#include "bench/support/Bench.h"
#include "examples/list/RowList.h"
#include "tests/support/QueueGate.h"

using namespace Mivora::bench;

namespace {

constexpr int kManyRows = 10'000;
constexpr int kFewRows = 20;
constexpr float kRowHeight = 24;
constexpr Mivora::Size2 kListSize = {240, 240};

std::shared_ptr<MVView> makeRow() {
    auto row = MVColorView::init();
    row->setSize({kListSize.width, kRowHeight});
    for (const float x : {8.0F, 40.0F}) {
        auto part = MVColorView::initWithColor({0.2F, 0.2F, 0.3F, 1.0F});
        part->setPosition({x, 6});
        part->setSize({x * 2, 12});
        row->addSubview(part);
    }
    return row;
}

void showRow(MVView& view, int row) {
    const float shade = 0.7F + 0.2F * static_cast<float>(row % 2);
    static_cast<MVColorView&>(view).setColor({shade, shade, 1.0F, 1.0F});
}

/// All rows are views; those out of view are hidden, and only those that enter or leave it are
/// touched.
class HidingList : public MVScrollView {
 public:
    explicit HidingList(int rows) {
        auto clip = MVColorView::init();
        clip->setSize(kListSize);
        setStencilView(clip);
        setSize(kListSize);
        contentView()->setSize({kListSize.width, kRowHeight * static_cast<float>(rows)});
        for (int i = 0; i < rows; ++i) {
            rows_.push_back(makeRow());
            rows_.back()->setPosition({0, kRowHeight * static_cast<float>(i)});
            rows_.back()->setHidden(true);
            showRow(*rows_.back(), i);
            contentView()->addSubview(rows_.back());
        }
    }

 protected:
    void prepareForDraw() override {
        const int first = std::max(0, static_cast<int>(-contentOffset().y / kRowHeight));
        const int count = static_cast<int>(rows_.size());
        const int end = std::min(first + 11, count);
        for (int i = first_; i < end_; ++i) {
            rows_[static_cast<std::size_t>(i)]->setHidden(i < first || i >= end);
        }
        for (int i = first; i < end; ++i) {
            rows_[static_cast<std::size_t>(i)]->setHidden(false);
        }
        first_ = first;
        end_ = end;
    }

 private:
    std::vector<std::shared_ptr<MVView>> rows_;
    int first_ = 0;
    int end_ = 0;
};

/// A list in a window.
class Scene {
 public:
    Scene(MVRenderContext& context, std::shared_ptr<MVScrollView> list)
        : context_(context), list_(std::move(list)) {
        window_->setContentScaleFactor(1);
        window_->setSize({1280, 800});
        window_->setMv_surface(surface_);
        list_->setPosition({100, 100});
        window_->addSubview(list_);
        frame();
    }

    /// One click of the wheel, and the frame after it.
    /// @return what the main thread took, in microseconds
    double click() {
        Mivora::tests::QueueGate gate(*context_.dispatchQueue());
        const float lines = clicks_ / 10 % 2 == 0 ? -1.0F : 1.0F;
        ++clicks_;
        const Stopwatch watch;
        constexpr Mivora::Point2 kPlace = {200, 800 - 200};
        dispatcher_->systemScrollBeganTranslationWithEvent(kPlace, {0, kRowHeight * lines},
                                                           nullptr);
        dispatcher_->systemScrollEndedTranslationWithEvent(kPlace, Mivora::Point2::kZero, nullptr);
        frame();
        const double microseconds = watch.seconds() * 1e6;
        gate.open();
        context_.mv_dispatchBlockSync([] {});
        return microseconds;
    }

 private:
    void frame() {
        MVFrame::layOut(*window_);
        MVFrame::draw(*window_, [] {});
        window_->mv_setDrawClean();
    }

    MVRenderContext& context_;
    std::shared_ptr<MVScrollView> list_;
    std::shared_ptr<MVWindow> window_ = MVWindow::init();
    std::shared_ptr<MVRenderSurface> surface_ = MVRenderSurface::init();
    std::shared_ptr<MVScrollDispatcher> dispatcher_ = MVScrollDispatcher::initWithWindow(window_);
    int clicks_ = 0;
};

std::shared_ptr<MVScrollView> makeList(int rows) {
    auto list = RowList::make(rows, kRowHeight, makeRow, showRow);
    list->setSize(kListSize);
    return list;
}

}  // namespace

int main() {
    const auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    const auto cache = MVShaderCache::init();
    cache->loadDefaultShaders();
    MVShaderCache::mv_setSharedCache(cache);
    Mivora::platform::Drawable drawable(1);
    drawable.setSize({1280, 800});
    context->mv_dispatchBlockSync(
        [&] { glBindFramebuffer(GL_FRAMEBUFFER, drawable.framebuffer()); });

    Scene many(*context, makeList(kManyRows));
    Scene few(*context, makeList(kFewRows));
    Scene hiding(*context, MVMake<HidingList>(kManyRows));

    std::vector<double> manyUs;
    std::vector<double> fewUs;
    std::vector<double> ratios;
    std::vector<double> hidingUs;
    std::vector<double> allocations;
    for (int i = 0; i < 2200; ++i) {
        const AllocationCounter counter;
        const double manyTime = many.click();
        const auto allocated = static_cast<double>(counter.allocations());
        const double fewTime = few.click();
        const double hidingTime = i % 10 == 0 ? hiding.click() : 0;
        if (i >= 200) {
            manyUs.push_back(manyTime);
            fewUs.push_back(fewTime);
            ratios.push_back(manyTime / fewTime);
            allocations.push_back(allocated);
            if (i % 10 == 0) {
                hidingUs.push_back(hidingTime);
            }
        }
    }
    context->mv_dispatchBlockSync([&] { drawable.release(); });

    Report report("scroll");
    report.condition("list", "ten rows in view, each of three colour views, clipped by a stencil");
    report.add("scroll_step_us", median(manyUs), "10,000 rows, only those in view are views");
    report.add("scroll_step_20_us", median(fewUs), "the same list with 20 rows");
    report.add("scroll_step_ratio", median(ratios), "click by click; target: at most 1.3");
    report.add("scroll_step_allocs", median(allocations), "allocations of such a step");
    report.add("scroll_step_hidden_us", median(hidingUs),
               "10,000 rows as views, those out of view hidden");
    return report.finish();
}
