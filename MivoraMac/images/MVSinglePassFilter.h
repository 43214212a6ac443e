#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/images/MVFilter.h"

/// One pass of another filter, as a filter.
///
/// It is not told of changes of that filter, and announces none of them.
///
/// Thread: main.
class MIVORA_EXPORT MVSinglePassFilter : public MVFilter {
 public:
    /// Wraps no filter: has one pass, which draws nothing.
    static std::shared_ptr<MVSinglePassFilter> init();

    /// Wraps one pass of a filter.
    /// @param filter  null makes it `init`
    /// @param pass    counts from 0; not checked: what the filter returns for it is taken
    static std::shared_ptr<MVSinglePassFilter> initWithFilterPass(
        const std::shared_ptr<MVFilter>& filter, std::int32_t pass);

    /// 1.
    std::int32_t numberOfPasses() const override;
    /// The shader of the wrapped pass, whichever pass is asked for.
    std::shared_ptr<MVShader> shaderForRenderPass(std::int32_t pass) override;
    /// Has the wrapped filter configure the wrapped pass, whichever pass is given.
    void configureShaderRenderPassImage(const std::shared_ptr<MVShader>& shader, std::int32_t pass,
                                        const std::shared_ptr<MVImage>& image) override;

 protected:
    friend struct MVMaker;
    /// See `initWithFilterPass`.
    explicit MVSinglePassFilter(std::shared_ptr<MVFilter> filter = nullptr, std::int32_t pass = 0);

 private:
    std::shared_ptr<MVFilter> filter_;
    std::int32_t pass_;
};
