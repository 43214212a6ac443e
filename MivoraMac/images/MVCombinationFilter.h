#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/images/MVFilter.h"

/// Several filters, one after the other, as one filter.
///
/// Its passes are those of its filters, counted once, when it is made. Thereafter it asks each
/// filter again how many there are, to find whose turn a pass is: a filter should keep its number.
/// A filter without passes has no turn.
///
/// It is not told of changes of its filters, and announces none of them.
///
/// A combination cannot contain itself, not even by way of a filter of one's own that passes
/// questions on to it: what comes back to a combination while it asks its filters is refused, with
/// a line in the debug log (category `images`), and finds no shader.
///
/// Thread: main.
class MIVORA_EXPORT MVCombinationFilter : public MVFilter {
 public:
    /// A combination of nothing: has no passes, and draws nothing.
    static std::shared_ptr<MVCombinationFilter> init();

    /// A combination of filters, the first one first. Those that are null are left out.
    static std::shared_ptr<MVCombinationFilter> initWithFilters(
        const std::vector<std::shared_ptr<MVFilter>>& filters);

    /// The filters, in order.
    const std::vector<std::shared_ptr<MVFilter>>& filters() const { return filters_; }

    /// The sum of the filters' passes at the time the combination was made; one with a negative
    /// number counts as none, and a sum beyond 32 bits as the largest number there is.
    std::int32_t numberOfPasses() const override;
    /// The shader that the filter whose turn it is has for the pass; null for a pass that is
    /// nobody's.
    std::shared_ptr<MVShader> shaderForRenderPass(std::int32_t pass) override;
    /// Has the filter whose turn it is configure its pass.
    void configureShaderRenderPassImage(const std::shared_ptr<MVShader>& shader, std::int32_t pass,
                                        const std::shared_ptr<MVImage>& image) override;

    /// Internal to the library: whose turn a pass is.
    /// @param filter      set to the filter, or to null for a pass that is nobody's
    /// @param localPass   set to the filter's own number of the pass, or to 0
    /// @param globalPass  counts from 0
    void mv_filterLocalPassForGlobalPass(std::shared_ptr<MVFilter>* filter, std::int32_t* localPass,
                                         std::int32_t globalPass) const;

 protected:
    friend struct MVMaker;
    /// See `initWithFilters`.
    explicit MVCombinationFilter(const std::vector<std::shared_ptr<MVFilter>>& filters = {});

 private:
    template <class Ask>
    void ask(std::int32_t pass, Ask ask);

    std::vector<std::shared_ptr<MVFilter>> filters_;
    std::int32_t numberOfPasses_ = 0;
    bool asking_ = false;
};
