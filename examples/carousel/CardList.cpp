#include "CardList.h"

#include <utility>

namespace {

constexpr float kRowHeight = 30;

/// A name on a plate.
class Row : public MVColorView {
 public:
    Row() : MVColorView({1, 1, 1, 1}), name_(MVTextView::init()) {
        setSize({CardList::kWidth, kRowHeight - 2});
        name_->setPosition({10, 5});
        name_->setSize({CardList::kWidth - 20, 20});
        addSubview(name_);
        // It is called what its text says.
        setAccessibilityRole(Mivora::platform::Role::ListItem);
        setCursor(MVCursor::Pointer);
    }

    void show(const std::string& name, bool isInFront) {
        constexpr int kLeft = 0;
        constexpr bool kShouldClip = true;
        setColor({1, 1, 1, isInFront ? 0.85F : 0.12F});
        const Mivora::ColorRGBA ink =
            isInFront ? Mivora::ColorRGBA{0.1F, 0.05F, 0.3F, 1} : Mivora::ColorRGBA{1, 1, 1, 0.9F};
        name_->setText(MVTextView::attributedStringWithStringFontNameSizeColorAlignmentShouldClip(
            name, "Sans", 13, ink, kLeft, kShouldClip));
    }

 private:
    std::shared_ptr<MVTextView> name_;
};

}  // namespace

std::shared_ptr<CardList> CardList::make(std::vector<std::string> names) {
    auto list = MVMake<CardList>(std::move(names));
    list->addGestureRecognizer(
        MVTapGestureRecognizer::initWithTargetAction(list, &CardList::tapped));
    return list;
}

CardList::CardList(std::vector<std::string> names)
    : RowList(
          static_cast<int>(names.size()), kRowHeight, [] { return MVMake<Row>(); },
          [this](MVView& view, int row) {
              static_cast<Row&>(view).show(names_[static_cast<std::size_t>(row)], row == front_);
          }),
      names_(std::move(names)) {
    setAccessibilityLabel("Names of the cards");
}

void CardList::setFrontCard(int card) {
    if (front_ != card) {
        const int before = std::exchange(front_, card);
        showRowAgain(before);
        showRowAgain(card);
    }
}

void CardList::focusBegan() {
    setCurrentRow(front_);
}

void CardList::setName(int card, const std::string& name) {
    names_[static_cast<std::size_t>(card)] = name;
    showRowAgain(card);
}

void CardList::tapped(const std::shared_ptr<MVTapGestureRecognizer>& tap) {
    const Mivora::Point3 place = tap->locationInView(shared_from_this());
    const int card = rowAt({place.x, place.y});
    if (card >= 0 && choose_) {
        choose_(card);
    }
}

std::string CardList::wordsOf(int row) const {
    return names_[static_cast<std::size_t>(row)];
}

void CardList::currentRowDidChange() {
    if (choose_) {
        choose_(currentRow());
    }
}
