#include "RowList.h"

#include <algorithm>
#include <cmath>
#include <utility>

std::shared_ptr<RowList> RowList::make(int rows, float rowHeight, MakeRow makeRow,
                                       ShowRow showRow) {
    return MVMake<RowList>(rows, rowHeight, std::move(makeRow), std::move(showRow));
}

RowList::RowList(int rows, float rowHeight, MakeRow makeRow, ShowRow showRow)
    : rows_(rows),
      rowHeight_(rowHeight),
      makeRow_(std::move(makeRow)),
      showRow_(std::move(showRow)),
      clip_(MVColorView::init()) {
    // A scroll view clips nothing by itself: it draws where its stencil view does.
    setStencilView(clip_);
}

void RowList::setSize3(Mivora::Size3 size) {
    MVScrollView::setSize3(size);
    clip_->setSize({size.width, size.height});
    contentView()->setSize({size.width, rowHeight_ * static_cast<float>(rows_)});

    // Those that fit, and one more, for the first and the last may be cut off.
    const auto count = static_cast<std::size_t>(std::ceil(size.height / rowHeight_)) + 1;
    if (slots_.size() != count) {
        contentView()->removeAllSubviews();
        slots_.assign(count, Slot());
    }
}

void RowList::prepareForDraw() {
    const int first = std::max(0, static_cast<int>(std::floor(-contentOffset().y / rowHeight_)));
    const int count = static_cast<int>(slots_.size());
    for (int row = first; row < first + count; ++row) {
        Slot& slot = slots_[static_cast<std::size_t>(row % count)];
        if (slot.row == row) {
            continue;
        }
        if (!slot.view) {
            slot.view = makeRow_();
            contentView()->addSubview(slot.view);
        }
        slot.row = row;
        slot.view->setHidden(row >= rows_);
        if (row < rows_) {
            slot.view->setPosition({0, rowHeight_ * static_cast<float>(row)});
            showRow_(*slot.view, row);
        }
    }
}

void RowList::showRowAgain(int row) {
    for (const Slot& slot : slots_) {
        if (slot.row == row) {
            showRow_(*slot.view, row);
        }
    }
}

int RowList::rowAt(Mivora::Point2 place) const {
    const int row = static_cast<int>(std::floor((place.y - contentOffset().y) / rowHeight_));
    return row >= 0 && row < rows_ ? row : -1;
}
