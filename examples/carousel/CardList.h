#pragma once

#include <MivoraMac/MivoraMac.h>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "../list/RowList.h"

/// The names of all cards, to be scrolled through. A click or a tap on one chooses its card, and so
/// does the key that comes to it; the one in front is marked.
class CardList : public RowList {
 public:
    static constexpr float kWidth = 120;

    static std::shared_ptr<CardList> make(std::vector<std::string> names);

    /// Called with the number of the card whose name is clicked.
    void setChooseHandler(std::function<void(int)> choose) { choose_ = std::move(choose); }

    /// Marks the card that is in front.
    void setFrontCard(int card);

    /// Writes another name.
    void setName(int card, const std::string& name);

    void focusBegan() override;

 protected:
    std::string wordsOf(int row) const override;
    void currentRowDidChange() override;

 private:
    friend struct ::MVMaker;
    explicit CardList(std::vector<std::string> names);

    void tapped(const std::shared_ptr<MVTapGestureRecognizer>& tap);

    std::vector<std::string> names_;
    int front_ = -1;
    std::function<void(int)> choose_;
};
