#include "MivoraMac/images/MVCombinationFilter.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"

using Mivora::platform::AtEnd;
using Mivora::platform::DebugLog;

namespace {

std::int64_t passesOf(const MVFilter& filter) {
    return std::max<std::int32_t>(filter.numberOfPasses(), 0);
}

}  // namespace

std::shared_ptr<MVCombinationFilter> MVCombinationFilter::init() {
    return MVMake<MVCombinationFilter>();
}

std::shared_ptr<MVCombinationFilter> MVCombinationFilter::initWithFilters(
    const std::vector<std::shared_ptr<MVFilter>>& filters) {
    return MVMake<MVCombinationFilter>(filters);
}

MVCombinationFilter::MVCombinationFilter(const std::vector<std::shared_ptr<MVFilter>>& filters) {
    std::copy_if(filters.begin(), filters.end(), std::back_inserter(filters_),
                 [](const auto& filter) { return filter != nullptr; });
    std::int64_t sum = 0;
    for (const std::shared_ptr<MVFilter>& filter : filters_) {
        sum += passesOf(*filter);
    }
    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
    numberOfPasses_ = static_cast<std::int32_t>(std::min(sum, kMost));
}

std::int32_t MVCombinationFilter::numberOfPasses() const {
    return numberOfPasses_;
}

std::shared_ptr<MVShader> MVCombinationFilter::shaderForRenderPass(std::int32_t pass) {
    std::shared_ptr<MVShader> shader;
    ask(pass, [&](MVFilter& filter, std::int32_t localPass) {
        shader = filter.shaderForRenderPass(localPass);
    });
    return shader;
}

void MVCombinationFilter::configureShaderRenderPassImage(const std::shared_ptr<MVShader>& shader,
                                                         std::int32_t pass,
                                                         const std::shared_ptr<MVImage>& image) {
    ask(pass, [&](MVFilter& filter, std::int32_t localPass) {
        filter.configureShaderRenderPassImage(shader, localPass, image);
    });
}

/// Calls `ask` with the filter whose turn a pass is, if there is one.
template <class Ask>
void MVCombinationFilter::ask(std::int32_t pass, Ask ask) {
    if (asking_) {
        DebugLog::log(DebugLog::Category::Images, "a combination of filters contains itself");
        return;
    }
    asking_ = true;
    const AtEnd done([this] { asking_ = false; });
    std::shared_ptr<MVFilter> filter;
    std::int32_t localPass = 0;
    mv_filterLocalPassForGlobalPass(&filter, &localPass, pass);
    if (filter) {
        ask(*filter, localPass);
    }
}

void MVCombinationFilter::mv_filterLocalPassForGlobalPass(std::shared_ptr<MVFilter>* filter,
                                                          std::int32_t* localPass,
                                                          std::int32_t globalPass) const {
    *filter = nullptr;
    *localPass = 0;
    if (globalPass >= numberOfPasses_) {
        return;
    }
    std::int64_t start = 0;
    for (const std::shared_ptr<MVFilter>& member : filters_) {
        const std::int64_t end = start + passesOf(*member);
        if (start <= globalPass && globalPass < end) {
            *filter = member;
            *localPass = static_cast<std::int32_t>(globalPass - start);
            return;
        }
        start = end;
    }
}
