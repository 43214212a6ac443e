#include "MivoraMac/render/MVStencilGroupsPrivate.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <array>
#include <optional>

using Mivora::columnsOf;
using Kind = MVQuadEntry::Kind;

namespace {

using Entries = std::span<const MVQuadEntry>;

/// Boxes that are half a pixel apart have no pixel or sample in common: drivers may move corners by
/// up to a sixteenth of a pixel.
constexpr float kGapPixels = 0.5F;

/// The number of entries of the group that begins with the first one; 0 where the entries end
/// before it does, or a shape in it is not a single quad.
std::size_t lengthOfGroup(Entries entries) {
    std::size_t depth = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        switch (entries[i].kind) {
            case Kind::Quad:
            case Kind::LimitToStencil:
                break;
            case Kind::BeginStencil:
                if (entries.size() - i < 3 || entries[i + 1].kind != Kind::Quad ||
                    entries[i + 2].kind != Kind::LimitToStencil) {
                    return 0;
                }
                ++depth;
                break;
            case Kind::EndStencil:
                if (--depth == 0) {
                    return i + 1;
                }
                break;
            case Kind::BeginStencils:
            case Kind::Projection:
            case Kind::Unseen:
                return 0;
        }
    }
    return 0;
}

/// Whether two entries leave the same kind of state behind.
bool areAlike(const MVQuadEntry& a, const MVQuadEntry& b) {
    if (a.kind != b.kind) {
        return false;
    }
    return a.kind == Kind::Quad ? a.program == b.program && a.blend == b.blend
                                : a.stencilLevel == b.stencilLevel;
}

/// The quads before a group that is like another one; none where something else comes.
std::optional<Entries> quadsBeforeGroup(Entries entries, Entries other) {
    const auto isNoQuad = [](const MVQuadEntry& entry) { return entry.kind != Kind::Quad; };
    const auto quadsEnd = std::find_if(entries.begin(), entries.end(), isNoQuad);
    const Entries quads(entries.begin(), quadsEnd);
    const Entries rest = entries.subspan(quads.size());
    const bool isAlike = rest.size() >= other.size() &&
                         std::equal(other.begin(), other.end(), rest.begin(), areAlike);
    return isAlike ? std::optional(quads) : std::nullopt;
}

}  // namespace

std::span<const MVQuadEntry> MVStencilGroups::merged(Entries entries,
                                                     const Mivora::Float4x4& projection) {
    projection_ = projection;
    merged_.clear();
    std::size_t appended = 0;
    for (std::size_t i = 0; i < entries.size();) {
        std::size_t length = 1;
        if (entries[i].kind == Kind::Projection) {
            projection_ = columnsOf(entries[i].matrix);
        } else if (entries[i].kind == Kind::BeginStencil) {
            const std::size_t found = findGroups(entries.subspan(i));
            // In one that stays alone, there may be some.
            if (groups_.size() > 1) {
                length = found;
                append(entries.subspan(appended, i - appended));
                appendGroups();
                appended = i + length;
            }
        }
        i += length;
    }
    if (appended == 0) {
        return entries;
    }
    append(entries.subspan(appended));
    return merged_;
}

/// Finds the groups, from the first entry on, that may take each step together.
/// @return how many entries they and the quads between them are
std::size_t MVStencilGroups::findGroups(Entries entries) {
    groups_.clear();
    const Entries first = entries.first(lengthOfGroup(entries));
    std::size_t length = first.size();
    if (first.empty() || !quadsBeforeGroup(entries.subspan(length), first)) {
        return length;
    }
    std::array<GLint, 4> viewport{};
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    gapWidth_ = 2 * kGapPixels / static_cast<float>(viewport[2]);
    gapHeight_ = 2 * kGapPixels / static_cast<float>(viewport[3]);
    if (!addGroup({}, first)) {
        return length;
    }
    while (const auto quads = quadsBeforeGroup(entries.subspan(length), first)) {
        const std::size_t begin = length + quads->size();
        if (!addGroup(*quads, entries.subspan(begin, first.size()))) {
            break;
        }
        length = begin + first.size();
    }
    return length;
}

/// Adds a group, and the quads before it, if they may be drawn together with those that are there.
bool MVStencilGroups::addGroup(Entries quadsBefore, Entries entries) {
    for (const MVQuadEntry& quad : quadsBefore) {
        const auto box = boxOf(quad);
        const auto isApart = [this, &box](const Group& group) { return areApart(*box, group.all); };
        if (!box || !std::all_of(groups_.begin(), groups_.end(), isApart)) {
            return false;
        }
    }
    std::optional<Group> added;
    for (const MVQuadEntry& entry : entries) {
        if (entry.kind != Kind::Quad) {
            continue;
        }
        const auto box = boxOf(entry);
        if (!box) {
            return false;
        }
        if (!added) {
            added = {quadsBefore, entries, *box, *box};  // The outermost shape comes first.
        }
        added->all.include(*box);
    }
    const auto isApart = [this, &added](const Group& group) {
        return areApart(added->shape, group.all) && areApart(added->all, group.shape);
    };
    if (!std::all_of(groups_.begin(), groups_.end(), isApart)) {
        return false;
    }
    groups_.push_back(*added);
    return true;
}

std::optional<MVQuadBox> MVStencilGroups::boxOf(const MVQuadEntry& quad) const {
    return MVQuadBox::of(product(projection_, columnsOf(quad.matrix)), quad.size);
}

bool MVStencilGroups::areApart(const MVQuadBox& a, const MVQuadBox& b) const {
    return a.isApartFrom(b, gapWidth_, gapHeight_);
}

void MVStencilGroups::append(Entries entries) {
    merged_.insert(merged_.end(), entries.begin(), entries.end());
}

/// Appends each step of the groups for all of them together.
void MVStencilGroups::appendGroups() {
    for (const Group& group : groups_) {
        append(group.quadsBefore);
    }
    const Entries first = groups_.front().entries;
    for (std::size_t step = 0; step < first.size(); ++step) {
        if (first[step].kind == Kind::Quad) {
            for (const Group& group : groups_) {
                merged_.push_back(group.entries[step]);
            }
        } else {
            merged_.push_back(first[step]);
            if (first[step].kind == Kind::BeginStencil) {
                merged_.back().kind = Kind::BeginStencils;
            }
        }
    }
}
