#include "MivoraMac/images/MVFilter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/images/MVBlurFilter.h"
#include "MivoraMac/images/MVBlurShader.h"
#include "MivoraMac/images/MVClearFilter.h"
#include "MivoraMac/images/MVCombinationFilter.h"
#include "MivoraMac/images/MVInvertFilter.h"
#include "MivoraMac/images/MVSinglePassFilter.h"
#include "MivoraMac/platform/base/DebugLog.h"

using Mivora::platform::DebugLog;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// Notes who was told, and then does what a test wants.
struct Observer : MVFilterObserver {
    explicit Observer(std::vector<const Observer*>& told) : log(told) {}
    void filterDidChange(const std::shared_ptr<MVFilter>& filter) override {
        log.push_back(this);
        lastFilter = filter.get();
        if (reaction) {
            reaction(*filter);
        }
    }

    std::vector<const Observer*>& log;
    std::function<void(MVFilter&)> reaction;
    const MVFilter* lastFilter = nullptr;
};

/// A filter with any number of passes that notes what it is asked.
struct ManyPasses : MVFilter {
    explicit ManyPasses(std::int32_t count) : passes(count) {}
    std::int32_t numberOfPasses() const override { return passes; }
    std::shared_ptr<MVShader> shaderForRenderPass(std::int32_t pass) override {
        shaders.push_back(pass);
        return nullptr;
    }
    void configureShaderRenderPassImage(const std::shared_ptr<MVShader>& /*shader*/,
                                        std::int32_t pass,
                                        const std::shared_ptr<MVImage>& /*image*/) override {
        configured.push_back(pass);
    }

    std::int32_t passes;
    std::vector<std::int32_t> shaders;
    std::vector<std::int32_t> configured;
};

/// A filter that passes every question on to another, which may be set later.
struct Forwarding : MVFilter {
    std::int32_t numberOfPasses() const override { return 1; }
    std::shared_ptr<MVShader> shaderForRenderPass(std::int32_t pass) override {
        const auto filter = other.lock();
        return filter ? filter->shaderForRenderPass(pass) : nullptr;
    }
    void configureShaderRenderPassImage(const std::shared_ptr<MVShader>& shader, std::int32_t pass,
                                        const std::shared_ptr<MVImage>& image) override {
        if (const auto filter = other.lock()) {
            filter->configureShaderRenderPassImage(shader, pass, image);
        }
    }

    std::weak_ptr<MVFilter> other;
};

class MVFilterTest : public testing::Test {
 protected:
    std::shared_ptr<Observer> observer() { return std::make_shared<Observer>(told_); }

    std::vector<const Observer*> told_;
};

/// Makes removals until one of them has just dropped empty entries, so that 257 more drop none.
void reachCompaction() {
    const auto filter = MVFilter::init();
    std::vector<const Observer*> log;
    for (;;) {
        filter->addFilterObserver(std::make_shared<Observer>(log));
        filter->removeFilterObserver(nullptr);
        if (filter->filterObservers()->empty()) {
            return;
        }
    }
}

}  // namespace

// The base

TEST_F(MVFilterTest, aPlainFilterHasNoPassesAndNoObservers) {
    const auto filter = MVFilter::init();
    EXPECT_EQ(filter->numberOfPasses(), 0);
    EXPECT_THAT(*filter->filterObservers(), IsEmpty());
    EXPECT_EQ(filter->shaderForRenderPass(0), nullptr) << "there is no shader cache";
    filter->configureShaderRenderPassImage(nullptr, 0, nullptr);
    filter->announceChange();
}

TEST_F(MVFilterTest, aChangeIsAnnouncedToAllObserversInOrderWithTheFilter) {
    const auto filter = MVFilter::init();
    const auto first = observer();
    const auto second = observer();
    filter->addFilterObserver(first);
    filter->addFilterObserver(second);
    filter->announceChange();
    EXPECT_THAT(told_, ElementsAre(first.get(), second.get()));
    EXPECT_EQ(second->lastFilter, filter.get());
}

TEST_F(MVFilterTest, anObserverThatIsAddedTwiceIsToldTwiceAndRemovedOneEntryAtATime) {
    const auto filter = MVFilter::init();
    const auto twice = observer();
    const auto other = observer();
    filter->addFilterObserver(twice);
    filter->addFilterObserver(other);
    filter->addFilterObserver(twice);
    filter->announceChange();
    EXPECT_THAT(told_, ElementsAre(twice.get(), other.get(), twice.get()));
    told_.clear();
    filter->removeFilterObserver(twice);
    filter->announceChange();
    EXPECT_THAT(told_, ElementsAre(other.get(), twice.get())) << "the first entry goes";
}

TEST_F(MVFilterTest, observersAreHeldWeaklyAndOnesThatAreGoneAreSkipped) {
    const auto filter = MVFilter::init();
    auto gone = observer();
    const auto kept = observer();
    filter->addFilterObserver(gone);
    filter->addFilterObserver(kept);
    gone.reset();
    EXPECT_THAT(*filter->filterObservers(), SizeIs(2)) << "an empty entry stays";
    filter->announceChange();
    EXPECT_THAT(told_, ElementsAre(kept.get()));
}

TEST_F(MVFilterTest, every258thRemovalDropsTheEmptyEntriesOfItsFilter) {
    reachCompaction();
    const auto filter = MVFilter::init();
    const auto other = MVFilter::init();
    filter->addFilterObserver(observer());
    other->addFilterObserver(observer());
    const auto kept = observer();
    filter->addFilterObserver(kept);
    for (int removal = 1; removal <= 257; ++removal) {
        (removal % 2 == 0 ? filter : other)->removeFilterObserver(nullptr);
    }
    EXPECT_THAT(*filter->filterObservers(), SizeIs(2));
    EXPECT_THAT(*other->filterObservers(), SizeIs(1));
    filter->removeFilterObserver(nullptr);
    EXPECT_THAT(*filter->filterObservers(), SizeIs(1)) << "the living one stays";
    EXPECT_THAT(*other->filterObservers(), SizeIs(1)) << "no other filter is touched";
}

TEST_F(MVFilterTest, anObserverMayRemoveItselfWhileItIsTold) {
    const auto filter = MVFilter::init();
    const auto leaving = observer();
    const auto staying = observer();
    leaving->reaction = [&](MVFilter& it) { it.removeFilterObserver(leaving); };
    filter->addFilterObserver(leaving);
    filter->addFilterObserver(staying);
    filter->announceChange();
    filter->announceChange();
    EXPECT_THAT(told_, ElementsAre(leaving.get(), staying.get(), staying.get()));
}

TEST_F(MVFilterTest, oneThatIsRemovedWhileOthersAreToldIsNotToldAnyMore) {
    const auto filter = MVFilter::init();
    const auto first = observer();
    const auto second = observer();
    first->reaction = [&](MVFilter& it) { it.removeFilterObserver(second); };
    filter->addFilterObserver(first);
    filter->addFilterObserver(second);
    filter->announceChange();
    EXPECT_THAT(told_, ElementsAre(first.get()));
}

TEST_F(MVFilterTest, oneThatIsAddedWhileOthersAreToldIsToldTheNextTime) {
    const auto filter = MVFilter::init();
    const auto first = observer();
    std::vector<std::shared_ptr<Observer>> added;
    first->reaction = [&](MVFilter& it) {
        added.push_back(observer());
        it.addFilterObserver(added.back());
    };
    filter->addFilterObserver(first);
    filter->announceChange();
    EXPECT_THAT(told_, ElementsAre(first.get()));
    filter->announceChange();
    EXPECT_THAT(told_, ElementsAre(first.get(), first.get(), added[0].get()));
}

TEST_F(MVFilterTest, anObserverMayDropTheNextOneAndTheFilterWhileItIsTold) {
    auto filter = MVFilter::init();
    const auto first = observer();
    auto second = observer();
    filter->addFilterObserver(first);
    filter->addFilterObserver(second);
    first->reaction = [&](MVFilter& /*it*/) {
        second.reset();
        filter.reset();
    };
    MVFilter& it = *filter;
    it.announceChange();
    EXPECT_THAT(told_, ElementsAre(first.get()));
}

TEST_F(MVFilterTest, theListOfObserversCanBeReplaced) {
    const auto filter = MVFilter::init();
    const auto before = observer();
    const auto after = observer();
    filter->addFilterObserver(before);
    const auto snapshot = filter->filterObservers();
    filter->setFilterObservers(
        std::make_shared<MVFilterObserverArray>(MVFilterObserverArray{after}));
    filter->announceChange();
    EXPECT_THAT(told_, ElementsAre(after.get()));
    EXPECT_EQ(snapshot->at(0).lock(), before) << "what was returned stays as it was";
    filter->setFilterObservers(nullptr);
    EXPECT_THAT(*filter->filterObservers(), IsEmpty());
    filter->addFilterObserver(nullptr);
    EXPECT_THAT(*filter->filterObservers(), IsEmpty());
}

// Filters without GL

TEST_F(MVFilterTest, eachFilterHasItsNumberOfPasses) {
    EXPECT_EQ(MVClearFilter::init()->numberOfPasses(), 1);
    EXPECT_EQ(MVInvertFilter::init()->numberOfPasses(), 1);
    EXPECT_EQ(MVBlurFilter::init()->numberOfPasses(), 2);
    EXPECT_EQ(MVBlurFilter::initWithBlurRadius(8)->numberOfPasses(), 2);
    EXPECT_EQ(MVSinglePassFilter::init()->numberOfPasses(), 1);
    EXPECT_EQ(MVCombinationFilter::init()->numberOfPasses(), 0);
}

TEST_F(MVFilterTest, withoutAContextFiltersHaveNoShaders) {
    EXPECT_EQ(MVClearFilter::init()->shaderForRenderPass(0), nullptr);
    EXPECT_EQ(MVInvertFilter::init()->shaderForRenderPass(0), nullptr);
    EXPECT_EQ(MVBlurFilter::initWithBlurRadius(8)->shaderForRenderPass(0), nullptr);
    EXPECT_EQ(MVInvertFilter::mv_sharedInvertShader(), nullptr);
}

// A single pass

TEST_F(MVFilterTest, aSinglePassIsTheWrappedOneWhicheverIsAskedFor) {
    const auto wrapped = MVMake<ManyPasses>(5);
    const auto single = MVSinglePassFilter::initWithFilterPass(wrapped, 3);
    single->shaderForRenderPass(0);
    single->shaderForRenderPass(4);
    single->configureShaderRenderPassImage(nullptr, 7, nullptr);
    EXPECT_THAT(wrapped->shaders, ElementsAre(3, 3));
    EXPECT_THAT(wrapped->configured, ElementsAre(3));
}

TEST_F(MVFilterTest, aSinglePassOfNothingHasNoShader) {
    EXPECT_EQ(MVSinglePassFilter::init()->shaderForRenderPass(0), nullptr);
    MVSinglePassFilter::initWithFilterPass(nullptr, 2)
        ->configureShaderRenderPassImage(nullptr, 0, nullptr);
}

// Combinations

TEST_F(MVFilterTest, aCombinationGivesEachPassToTheFilterWhoseTurnItIs) {
    const auto first = MVMake<ManyPasses>(2);
    const auto empty = MVMake<ManyPasses>(0);
    const auto last = MVMake<ManyPasses>(1);
    const auto combination = MVCombinationFilter::initWithFilters({first, empty, last});
    EXPECT_EQ(combination->numberOfPasses(), 3);
    EXPECT_THAT(combination->filters(), ElementsAre(first, empty, last));
    for (const std::int32_t pass : {0, 1, 2, 3, -1, 1000}) {
        combination->shaderForRenderPass(pass);
        combination->configureShaderRenderPassImage(nullptr, pass, nullptr);
    }
    EXPECT_THAT(first->shaders, ElementsAre(0, 1));
    EXPECT_THAT(first->configured, ElementsAre(0, 1));
    EXPECT_THAT(empty->shaders, IsEmpty());
    EXPECT_THAT(last->shaders, ElementsAre(0));
    EXPECT_THAT(last->configured, ElementsAre(0));
}

TEST_F(MVFilterTest, aPassThatIsNobodysClearsTheAnswer) {
    const auto combination =
        MVCombinationFilter::initWithFilters({MVMake<ManyPasses>(2), MVMake<ManyPasses>(1)});
    std::shared_ptr<MVFilter> filter = MVFilter::init();
    std::int32_t local = 9;
    combination->mv_filterLocalPassForGlobalPass(&filter, &local, 1);
    EXPECT_EQ(filter, combination->filters()[0]);
    EXPECT_EQ(local, 1);
    combination->mv_filterLocalPassForGlobalPass(&filter, &local, 3);
    EXPECT_EQ(filter, nullptr);
    EXPECT_EQ(local, 0);
}

TEST_F(MVFilterTest, theSumOfPassesIsTakenWhenTheCombinationIsMade) {
    const auto growing = MVMake<ManyPasses>(1);
    const auto combination = MVCombinationFilter::initWithFilters({growing});
    growing->passes = 4;
    EXPECT_EQ(combination->numberOfPasses(), 1);
}

TEST_F(MVFilterTest, combinationsNest) {
    const auto inner = MVMake<ManyPasses>(2);
    const auto outer = MVCombinationFilter::initWithFilters(
        {MVMake<ManyPasses>(1), MVCombinationFilter::initWithFilters({inner, inner})});
    EXPECT_EQ(outer->numberOfPasses(), 5);
    outer->shaderForRenderPass(4);
    EXPECT_THAT(inner->shaders, ElementsAre(1));
}

TEST_F(MVFilterTest, aCombinationLeavesOutNullAndBearsAnyNumberOfPasses) {
    constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
    const auto last = MVMake<ManyPasses>(1);
    const auto combination = MVCombinationFilter::initWithFilters(
        {nullptr, MVMake<ManyPasses>(-5), MVMake<ManyPasses>(std::numeric_limits<int>::min()),
         MVMake<ManyPasses>(2), last});
    EXPECT_THAT(combination->filters(), SizeIs(4));
    EXPECT_EQ(combination->numberOfPasses(), 3) << "less than none counts as none";
    combination->shaderForRenderPass(2);
    EXPECT_THAT(last->shaders, ElementsAre(0));
    const auto huge = MVCombinationFilter::initWithFilters(
        {MVMake<ManyPasses>(1'000'000'000), MVMake<ManyPasses>(kMost), MVMake<ManyPasses>(7)});
    EXPECT_EQ(huge->numberOfPasses(), kMost);
    EXPECT_EQ(huge->shaderForRenderPass(kMost), nullptr);
}

TEST_F(MVFilterTest, aCombinationThatContainsItselfRefusesToAskItselfAgain) {
    const auto loop = MVMake<Forwarding>();
    const auto combination = MVCombinationFilter::initWithFilters(
        {MVCombinationFilter::initWithFilters({loop}), MVMake<ManyPasses>(1)});
    loop->other = combination;
    std::vector<std::string> lines;
    DebugLog::enable("images");
    DebugLog::setSink([&](DebugLog::Category, std::string_view text) { lines.emplace_back(text); });
    EXPECT_EQ(combination->shaderForRenderPass(0), nullptr);
    combination->configureShaderRenderPassImage(nullptr, 0, nullptr);
    DebugLog::setSink(nullptr);
    DebugLog::enable("");
    EXPECT_THAT(lines, ElementsAre(HasSubstr("contains itself"), HasSubstr("contains itself")));
    EXPECT_EQ(combination->numberOfPasses(), 2) << "and can still be asked";
}
