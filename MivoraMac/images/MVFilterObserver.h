#pragma once

#include <memory>

#include "MivoraMac/Export.h"

class MVFilter;

/// Somebody who is told when a filter changes, such as a view that draws through it.
///
/// Thread: main.
class MIVORA_EXPORT MVFilterObserver {
 public:
    virtual ~MVFilterObserver();

    /// The filter draws differently from before.
    /// @param filter  not null
    virtual void filterDidChange(const std::shared_ptr<MVFilter>& filter) = 0;
};
