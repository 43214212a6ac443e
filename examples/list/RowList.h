#pragma once

#include <MivoraMac/MivoraMac.h>
#include <functional>
#include <memory>
#include <vector>

/// A list of any number of rows of one height, of which only those in view exist as views.
///
/// It has a view for every row that fits, and one more. The rows take turns on them: with n views,
/// row i is shown by number i % n. A row that leaves at one end therefore leaves its view to the
/// one that enters at the other.
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

    /// The row at a place in this view, or -1.
    int rowAt(Mivora::Point2 place) const;

    void setSize3(Mivora::Size3 size) override;

 protected:
    friend struct ::MVMaker;
    RowList(int rows, float rowHeight, MakeRow makeRow, ShowRow showRow);

    void prepareForDraw() override;

 private:
    struct Slot {
        std::shared_ptr<MVView> view;
        int row = -1;  ///< what it shows
    };

    int rows_;
    float rowHeight_;
    MakeRow makeRow_;
    ShowRow showRow_;
    std::vector<Slot> slots_;
    std::shared_ptr<MVView> clip_;
};
