#include "RowList.h"

#include <algorithm>
#include <cmath>
#include <utility>

using Mivora::platform::KeySymbol;

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
    setFocusable(true);
    setAccessibilityRole(Mivora::platform::Role::List);
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
        if (slot.view && slot.row == row) {
            showRow_(*slot.view, row);
        }
    }
}

void RowList::setCurrentRow(int row) {
    const int before = currentRow_;
    currentRow_ = std::clamp(row, 0, std::max(rows_ - 1, 0));
    const float top = rowHeight_ * static_cast<float>(currentRow_);
    const float seen = -contentOffset().y;
    const float lowest = top + rowHeight_ - size().height;
    if (size().height >= rowHeight_ && (top < seen || lowest > seen)) {
        setContentOffset({0, -(top < seen ? top : lowest)});
    }
    showRowAgain(before);
    showRowAgain(currentRow_);
    setAccessibilityValue(wordsOf(currentRow_));
}

bool RowList::moveByKey(const MVKey& key) {
    const int page = std::max(1, static_cast<int>(size().height / rowHeight_) - 1);
    switch (key.symbol()) {
        case KeySymbol::Up:
            setCurrentRow(currentRow_ - 1);
            return true;
        case KeySymbol::Down:
            setCurrentRow(currentRow_ + 1);
            return true;
        case KeySymbol::PageUp:
            setCurrentRow(currentRow_ - page);
            return true;
        case KeySymbol::PageDown:
            setCurrentRow(currentRow_ + page);
            return true;
        case KeySymbol::Home:
            setCurrentRow(0);
            return true;
        case KeySymbol::End:
            setCurrentRow(rows_ - 1);
            return true;
        default:
            return false;
    }
}

bool RowList::keyBegan(const std::shared_ptr<MVKey>& key) {
    if (moveByKey(*key)) {
        currentRowDidChange();
        return true;
    }
    const bool chooses = key->symbol() == KeySymbol::Return || key->symbol() == KeySymbol::Space ||
                         key->symbol() == KeySymbol::KeypadEnter;
    if (chooses && rows_ > 0) {
        if (!key->isRepeat()) {
            chooseRow(currentRow_);
            setAccessibilityValue(wordsOf(currentRow_));
        }
        return true;
    }
    return MVScrollView::keyBegan(key);
}

void RowList::focusBegan() {
    setCurrentRow(currentRow_);
}

void RowList::focusEnded() {
    showRowAgain(currentRow_);
}

std::string RowList::wordsOf(int /*row*/) const {
    return {};
}

void RowList::currentRowDidChange() {}

void RowList::chooseRow(int /*row*/) {}

int RowList::rowAt(Mivora::Point2 place) const {
    const int row = static_cast<int>(std::floor((place.y - contentOffset().y) / rowHeight_));
    return row >= 0 && row < rows_ ? row : -1;
}
