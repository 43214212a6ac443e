#pragma once

#include <memory>

#include <MivoraMac/MivoraMac.h>

/// A curve between two axes, drawn with Cairo.
class Plot : public MVCoreGraphicsView {
 public:
    /// @param hue  of its colours, 0 to 1
    static std::shared_ptr<Plot> make(float hue);

    /// Shifts the curve, in waves.
    void setPhase(float phase);

 protected:
    void coreGraphicsDrawWithContext(cairo_t* context) override;

 private:
    friend struct ::MVMaker;
    explicit Plot(float hue) : hue_(hue) {}

    float hue_;
    float phase_ = 0;
};
