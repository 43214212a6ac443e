#pragma once

#include <MivoraMac/MivoraMac.h>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A list of any number of rows of one height, of which only those in view exist as views.
///
/// It has a view for every row that fits, and one more. The rows take turns on them: with n views,
/// row i is shown by number i % n. A row that leaves at one end therefore leaves its view to the
/// one that enters at the other.
///
/// With the focus, which the Tab key gives it, the arrow keys move a current row, the page
/// keys by what fits, Home and End to the ends, and Return and Space choose it; the content scrolls
/// along. What the current row says is the value of the list for those who do not see it.
class RowList : public MVScrollView {
 public:
    /// Makes the view of a row.
    using MakeRow = std::function<std::shared_ptr<MVView>()>;
    /// Has such a view show a row.
    using ShowRow = std::function<void(MVView& view, int row)>;

    /// A list of size zero.
    static std::shared_ptr<RowList> make(int rows, float rowHeight, MakeRow makeRow,
                                         ShowRow showRow);

    /// Brings what is seen of a row up to date.
    void showRowAgain(int row);

    /// The row that the keys move; the first one at first.
    int currentRow() const { return currentRow_; }
    /// Makes a row the current one and scrolls to it. One beyond the ends is the one at the end.
    void setCurrentRow(int row);
    /// Whether a row is the current one and the list has the focus, which is to be seen.
    bool isCurrent(int row) const { return row == currentRow_ && isFocused(); }

    /// The row at a place in this view, or -1.
    int rowAt(Mivora::Point2 place) const;

    void setSize3(Mivora::Size3 size) override;
    bool keyBegan(const std::shared_ptr<MVKey>& key) override;
    void focusBegan() override;
    void focusEnded() override;

 protected:
    friend struct ::MVMaker;
    RowList(int rows, float rowHeight, MakeRow makeRow, ShowRow showRow);

    void prepareForDraw() override;

    /// What a row says in words; nothing here.
    virtual std::string wordsOf(int row) const;
    /// A key has made another row the current one. Nothing here.
    virtual void currentRowDidChange();
    /// A key has chosen a row. Nothing here.
    virtual void chooseRow(int row);

 private:
    struct Slot {
        std::shared_ptr<MVView> view;
        int row = -1;  ///< what it shows
    };

    bool moveByKey(const MVKey& key);

    int rows_;
    int currentRow_ = 0;
    float rowHeight_;
    MakeRow makeRow_;
    ShowRow showRow_;
    std::vector<Slot> slots_;
    std::shared_ptr<MVView> clip_;
};
