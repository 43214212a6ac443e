#include "MivoraMac/views/MVImageView.h"

#include <string_view>
#include <typeinfo>

#include "MivoraMac/images/MVFilter.h"
#include "MivoraMac/images/MVImage.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/base/PropertyObservation.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/render/MVShaderPositionTextureUniformColor.h"
#include "MivoraMac/views/MVFilterStagePrivate.h"
#include "MivoraMac/views/MVQuadPrivate.h"
#include "MivoraMac/views/MVQuadVisitPrivate.h"

using Mivora::platform::ObservableObject;
using Mivora::platform::PropertyChange;
using Mivora::platform::PropertyObserver;

namespace {

/// Calls `visit` with every property of the image that a view watches.
template <class Visit>
void forEachWatchedKey(const MVImage& image, Visit visit) {
    visit("size");
    visit("coordinateSystem");
    visit("coordinateSpace");
    if (dynamic_cast<const MVMutableImage*>(&image) != nullptr) {
        visit("updateIndex");
    }
}

}  // namespace

/// Watches the image on behalf of the view, which may still be under construction.
class MVImageView::Observer : public PropertyObserver {
 public:
    explicit Observer(MVImageView& view) : view_(view) {}

    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                     ObservableObject& object,
                                                     PropertyChange /*change*/,
                                                     void* /*context*/) override {
        MVImage* const image = view_.image_.get();
        if (image == nullptr || &object != image) {
            return;
        }
        if (keyPath == "coordinateSystem") {
            view_.setCoordinateSystem(image->coordinateSystem());
        } else if (keyPath != "updateIndex") {
            view_.quad_->setDirty();
        }
        view_.setNeedsDraw();
    }

 private:
    MVImageView& view_;
};

std::shared_ptr<MVImageView> MVImageView::init() {
    return MVMake<MVImageView>();
}

std::shared_ptr<MVImageView> MVImageView::initWithImage(const std::shared_ptr<MVImage>& image) {
    return MVMake<MVImageView>(image);
}

MVImageView::MVImageView(const std::shared_ptr<MVImage>& image)
    : quad_(std::make_unique<MVTextureQuad>()),
      observer_(std::make_shared<Observer>(*this)),
      filterStage_(std::make_unique<MVFilterStage>()) {
    if (const auto cache = MVShaderCache::sharedCache()) {
        shader_ = cache->shaderForKeyAs<MVShaderPositionTextureUniformColor>(
            "MVShaderPositionTextureUniformColor");
    }
    if (image) {
        MVImageView::setImage(image);
        MVImageView::setSize3({image->size().width, image->size().height, size3().depth});
    }
}

MVImageView::~MVImageView() {
    if (const auto& filter = filterStage_->filter()) {
        filter->removeFilterObserver(this);
    }
    setImage(nullptr);
}

void MVImageView::setImage(const std::shared_ptr<MVImage>& image) {
    if (image_ == image) {
        return;
    }
    if (image) {
        setCoordinateSystem(image->coordinateSystem());
        forEachWatchedKey(*image, [&](const char* key) { image->addObserver(observer_, key); });
    }
    if (image_) {
        forEachWatchedKey(*image_,
                          [&](const char* key) { image_->removeObserver(observer_.get(), key); });
    }
    image_ = image;
    setNeedsDraw();
}

const std::shared_ptr<MVFilter>& MVImageView::filter() const {
    return filterStage_->filter();
}

void MVImageView::setFilter(const std::shared_ptr<MVFilter>& filter) {
    if (filterStage_->setFilter(filter, filterObserver())) {
        setNeedsDraw();
    }
}

void MVImageView::filterDidChange(const std::shared_ptr<MVFilter>& /*filter*/) {
    setNeedsDraw();
}

/// This view, as filters hold it. Within a constructor nobody owns it yet, and it is told through
/// something that lives as long as it does.
std::shared_ptr<MVFilterObserver> MVImageView::filterObserver() {
    if (const std::shared_ptr<MVView> self = weak_from_this().lock()) {
        return {self, this};
    }
    return {observer_, this};
}

void MVImageView::setSize3(Mivora::Size3 size) {
    MVView::setSize3(size);
    quad_->setSize({size.width, size.height});
}

void MVImageView::mv_buildQuadVertices() {
    if (image_) {
        quad_->build(size(), image_->coordinateSpace());
    }
}

void MVImageView::prepareForDraw() {
    filterStage_->prepare(image_, size());
    const MVImage* const drawn =
        filterStage_->processedImage() ? filterStage_->processedImage().get() : image_.get();
    setCoordinateSystem(drawn != nullptr ? drawn->coordinateSystem() : 0);
}

bool MVImageView::mv_recordQuad(MVQuadVisit& visit) {
    if (typeid(*this) != typeid(MVImageView) || filterStage_->filter() || !image_) {
        return false;
    }
    mv_buildQuadVertices();
    const bool premultiplied = image_->premultipliedAlpha();
    return visit.add(*this, *quad_, shader_, MVQuad::tint(premultiplied, effectiveOpacity()),
                     quad_->textureOf(*image_), MVQuad::blendOf(premultiplied));
}

void MVImageView::draw() {
    if (image_) {
        mv_buildQuadVertices();
        filterStage_->draw(*quad_, shader_, image_, effectiveOpacity());
    }
}

MVOwnElement MVImageView::mv_ownElement() const {
    return {false, Mivora::platform::Role::Picture, {}, nullptr};
}
