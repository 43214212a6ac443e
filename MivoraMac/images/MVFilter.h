#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/images/MVFilterObserver.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVImage;
class MVShader;

/// Those who are told of a filter's changes, in order. Entries of those that are gone are empty.
using MVFilterObserverArray = std::vector<std::weak_ptr<MVFilterObserver>>;

/// How an image is drawn anew in one or more passes, each with a shader, and each from what the
/// one before it made.
///
/// `MVImageView::setFilter` shows an image through a filter, `MVFilterView` shows whole views, and
/// `MVImageProcessor` makes filtered images. They run the passes 0 to `numberOfPasses` - 1. For
/// each they bind `shaderForRenderPass`, let `configureShaderRenderPassImage` set its uniforms and
/// draw the input of the pass as a textured rectangle. The views draw the last pass straight into
/// their window, multiplied by their opacity if the shader is an `MVFilterShader`.
///
/// This class has no passes: what is shown through it looks as it does without a filter.
///
/// @anchor own-filters
/// A filter of one's own takes a shader and a subclass. This one, examples/filter/SoftenFilter.h,
/// softens along x in its first pass and along y in its second:
///
/// @include SoftenFilter.h
///
/// A setter that changes what is drawn ends with `announceChange`.
///
/// Alpha: an opaque picture stays opaque. Each pass but those that views draw themselves goes into
/// a transparent texture, blended as image views blend: by its alpha, unless its input says that
/// its colours are premultiplied, which what a pass made does not. A premultiplied image is
/// therefore filtered exactly by up to two passes in an image view; every further pass, and every
/// pass of an image with straight alpha, multiplies colours and alpha by that alpha again.
///
/// Thread: main.
class MIVORA_EXPORT MVFilter : public std::enable_shared_from_this<MVFilter> {
 public:
    /// A filter without passes.
    static std::shared_ptr<MVFilter> init();

    virtual ~MVFilter();
    MVFilter(const MVFilter&) = delete;
    MVFilter& operator=(const MVFilter&) = delete;

    /// How many passes there are; 0 here. Less than 0 counts as none. More than
    /// `MVImageProcessor::kMostPasses` are refused: the leading ones are left out.
    virtual std::int32_t numberOfPasses() const;

    /// The shader of a pass: here, for every pass, the one of the shared cache that draws images as
    /// they are. With null the pass draws nothing.
    /// @param pass  counts from 0; what a view without passes to draw asks for is -1
    virtual std::shared_ptr<MVShader> shaderForRenderPass(std::int32_t pass);

    /// Sets the uniforms of a pass, queued after the shader was bound. Does nothing here.
    /// @param shader  the one that `shaderForRenderPass` returned
    /// @param pass    counts from 0
    /// @param image   what the pass draws from: `size` times `scale` are its pixels
    virtual void configureShaderRenderPassImage(const std::shared_ptr<MVShader>& shader,
                                                std::int32_t pass,
                                                const std::shared_ptr<MVImage>& image);

    /// Tells the observers, in order, that the filter draws differently. One that is removed
    /// meanwhile is not told any more, one that is added is told the next time.
    void announceChange();

    /// Adds an observer, which is held weakly. One that is added twice is told twice. Null does
    /// nothing.
    void addFilterObserver(const std::shared_ptr<MVFilterObserver>& observer);

    /// Removes the first entry of an observer, if there is one. Every 258th removal, all filters
    /// counted together, also drops the empty entries of the filter it happens on.
    void removeFilterObserver(const MVFilterObserver* observer);
    /// As above.
    void removeFilterObserver(const std::shared_ptr<MVFilterObserver>& observer) {
        removeFilterObserver(observer.get());
    }

    /// The observers; never null. What is returned stays as it is.
    std::shared_ptr<const MVFilterObserverArray> filterObservers() const;
    /// Replaces the observers; null for none.
    void setFilterObservers(const std::shared_ptr<const MVFilterObserverArray>& observers);

 protected:
    friend struct MVMaker;
    MVFilter();

 private:
    MVFilterObserverArray& observersToChange();
    bool isObservedBy(const MVFilterObserver* observer) const;

    std::shared_ptr<MVFilterObserverArray> filterObservers_;  // replaced while others hold it
};
