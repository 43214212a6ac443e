#include "MivoraMac/views/MVScrollViewDelegate.h"

using ScrollViewPointer = std::shared_ptr<MVScrollView>;

MVScrollViewDelegate::~MVScrollViewDelegate() = default;

void MVScrollViewDelegate::scrollViewDidScroll(const ScrollViewPointer&) {}

void MVScrollViewDelegate::scrollViewWillBeginDragging(const ScrollViewPointer&) {}

void MVScrollViewDelegate::scrollViewDidEndDraggingWillDecelerate(const ScrollViewPointer&,
                                                                  bool /*willDecelerate*/) {}

void MVScrollViewDelegate::scrollViewWillBeginDecelerating(const ScrollViewPointer&) {}

void MVScrollViewDelegate::scrollViewDidEndDecelerating(const ScrollViewPointer&) {}

void MVScrollViewDelegate::scrollViewDidZoom(const ScrollViewPointer&) {}

void MVScrollViewDelegate::scrollViewWillBeginZooming(const ScrollViewPointer&) {}

void MVScrollViewDelegate::scrollViewDidEndZoomingScale(const ScrollViewPointer&, float /*scale*/) {
}
