#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "MivoraMac/geometry/Float4Private.h"
#include "MivoraMac/render/MVQuadBoxPrivate.h"
#include "MivoraMac/render/MVQuadEntryPrivate.h"

/// Has groups of drawings that take the same steps of stencil levels take each step together.
///
/// A group is a level from its beginning to its end, with all levels in it: a view with a stencil
/// view, and what lies in it. The rows of a list and the cells of a grid have such groups, one
/// after the other. A driver has much more to do for a change of the stencil test than for a quad,
/// so what is recorded as
///
///     begin, shape a, limit, content a, end, quads, begin, shape b, limit, content b, end
///
/// is better drawn as
///
///     quads, begin, shapes a and b, limit, contents a and b, end.
///
/// Both come to the same
/// - in pixels of the outermost shape of a group if no other group draws there, in any of its
///   levels: what is drawn there is what the group draws, in the same order;
/// - in all other pixels, because nothing is seen there of any group, if quads between them touch
///   none of those before;
/// - in the state that is left, if the groups are alike in what they use, step by step: whatever
///   was used last was so by the last group, or by none.
///
/// Thread: the GL queue's, with the context current that the entries are to be drawn on.
class MVStencilGroups {
 public:
    /// @param projection  of the first of the quads
    /// @return the entries, or others that stand for the same; valid until the next call
    std::span<const MVQuadEntry> merged(std::span<const MVQuadEntry> entries,
                                        const Mivora::Float4x4& projection);

 private:
    using Entries = std::span<const MVQuadEntry>;

    struct Group {
        Entries quadsBefore;  ///< since the group before
        Entries entries;
        MVQuadBox shape;  ///< outside of this, nothing is seen of it
        MVQuadBox all;    ///< everything that it draws
    };

    std::size_t findGroups(Entries entries);
    bool addGroup(Entries quadsBefore, Entries entries);
    std::optional<MVQuadBox> boxOf(const MVQuadEntry& quad) const;
    bool areApart(const MVQuadBox& a, const MVQuadBox& b) const;
    void append(Entries entries);
    void appendGroups();

    Mivora::Float4x4 projection_{};
    float gapWidth_ = 0;
    float gapHeight_ = 0;
    std::vector<Group> groups_;
    std::vector<MVQuadEntry> merged_;
};
