#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "MivoraMac/Export.h"

class MVView;

/// How a view is known to those that do not keep it alive: a counted cell that holds its address
/// until the view lets go of it. Unlike a weak pointer it works from within a constructor, is one
/// pointer wide, and reading it costs two loads.
///
/// Thread: any for making and dropping copies; whoever uses the view has to know that it lives.
class MIVORA_EXPORT MVViewBackPointer {
 public:
    /// To no view.
    MVViewBackPointer() = default;
    /// To a view, which calls `forgetView` as it is destroyed.
    explicit MVViewBackPointer(MVView& view) : cell_(new Cell{&view}) {}

    /// To the view that another one points to.
    MVViewBackPointer(const MVViewBackPointer& other) : cell_(other.cell_) {
        if (cell_ != nullptr) {
            cell_->count.fetch_add(1, std::memory_order_relaxed);
        }
    }
    /// Leaves the other one without a view.
    MVViewBackPointer(MVViewBackPointer&& other) noexcept
        : cell_(std::exchange(other.cell_, nullptr)) {}
    /// To the view that another one points to.
    MVViewBackPointer& operator=(MVViewBackPointer other) noexcept {
        std::swap(cell_, other.cell_);
        return *this;
    }
    ~MVViewBackPointer() {
        if (cell_ != nullptr && cell_->count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete cell_;
        }
    }

    /// Whether it was made for a view, which may have gone since.
    explicit operator bool() const { return cell_ != nullptr; }

    /// The view; null for none, and once it has gone.
    MVView* get() const {
        return cell_ != nullptr ? cell_->view.load(std::memory_order_relaxed) : nullptr;
    }

    /// Makes all copies point to no view.
    void forgetView() {
        if (cell_ != nullptr) {
            cell_->view.store(nullptr, std::memory_order_relaxed);
        }
    }

 private:
    struct Cell {
        std::atomic<MVView*> view;
        std::atomic<std::uint32_t> count{1};
    };

    Cell* cell_ = nullptr;
};
