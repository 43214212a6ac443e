#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/images/MVFilter.h"

class MVInvertShader;

/// Turns the colours of an image into their opposites, in one pass; alpha stays as it is.
///
/// Colours are taken as they are stored. Those of a translucent, premultiplied picture are turned
/// into more than their alpha allows, and shine.
///
/// Thread: main.
class MIVORA_EXPORT MVInvertFilter : public MVFilter {
 public:
    /// All invert filters share one shader. Without a GL context there is none, and the filter
    /// draws nothing.
    static std::shared_ptr<MVInvertFilter> init();

    ~MVInvertFilter() override;

    /// 1.
    std::int32_t numberOfPasses() const override;
    /// The inverting shader, for every pass.
    std::shared_ptr<MVShader> shaderForRenderPass(std::int32_t pass) override;

    /// The shader that all invert filters share, which lives as long as one of them; made if there
    /// is none. Null without a GL context. Thread: any but the GL queue.
    static std::shared_ptr<MVInvertShader> mv_sharedInvertShader();

 protected:
    friend struct MVMaker;
    MVInvertFilter();

 private:
    std::shared_ptr<MVInvertShader> shader_;
};
