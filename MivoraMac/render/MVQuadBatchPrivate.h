#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <glm/mat4x4.hpp>
#include <memory>
#include <span>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Float4Private.h"
#include "MivoraMac/render/MVQuadEntryPrivate.h"
#include "MivoraMac/render/MVQuadProgramsPrivate.h"
#include "MivoraMac/render/MVQuadStreamPrivate.h"
#include "MivoraMac/render/MVStencilGroupsPrivate.h"
#include "MivoraMac/render/MVStencilState.h"

class MVPartialRedraw;

/// Draws recordings: their quads as one streamed array, corners transformed on the way, with as few
/// calls as differences between them demand.
///
/// What an entry means is a sequence of GL calls:
/// - a quad: use its program, upload projection x matrix, bind its texture to unit 0 and point the
///   sampler there, upload the tint, disable the depth test, set the blending, draw four vertices
///   as a strip, unbind the vertex array and disable blending;
/// - the beginning of a stencil level: save the stencil test and the depth mask, clear the level's
///   plane and have every fragment fail the test and set its bit;
/// - the limiting: restore the depth mask and let pass what has the bits of this and all enclosing
///   levels;
/// - the end: restore the stencil test.
///
/// Pixels come out as from those calls, and so does, once `settle` has been called, all state that
/// they leave in GL. Only a plane that others may have written to is cleared, though: of one that
/// is known, nothing but what the last shape has covered is taken back, before the next one is
/// drawn or by the same call. Groups of levels may take each step together; see `MVStencilGroups`.
///
/// Thread: the GL queue's, with a context current of the group that the batch belongs to.
class MIVORA_EXPORT MVQuadBatch {
 public:
    MVQuadBatch();
    ~MVQuadBatch();
    MVQuadBatch(const MVQuadBatch&) = delete;
    MVQuadBatch& operator=(const MVQuadBatch&) = delete;

    /// Whether the driver has turned out not to be able to do it: recordings are then played entry
    /// by entry, and better not made. Thread: any.
    bool isRefused() const { return refused_.load(std::memory_order_relaxed); }

    /// Draws what comes next, or leaves that to the frame that it is part of. State is left for the
    /// next recording, not for others.
    void draw(std::span<const MVQuadEntry> entries);
    /// Draws what comes next.
    void drawAtOnce(std::span<const MVQuadEntry> entries);

    /// There may be stencil levels among what is drawn from here on. Thread: any.
    void expectStencils() { mayHaveStencils_.store(true, std::memory_order_relaxed); }

    /// What is drawn from here on is part of a frame; of none where it is null.
    void setFrame(std::shared_ptr<MVPartialRedraw> frame);
    const std::shared_ptr<MVPartialRedraw>& frame() const { return frame_; }
    /// GL work comes of which nothing is known: what a frame holds back is drawn before it, and
    /// whatever frames are drawn from may be different after it.
    void otherWorkComes();
    /// A context's frame has something to catch up with before other work comes.
    void expectCatchUp(const std::shared_ptr<MVPartialRedraw>& frames);
    /// How often that has been.
    std::uint64_t otherWork() const { return otherWork_; }
    /// The context with these frames is to be drawn on.
    void contextComes(const MVPartialRedraw* frames);
    /// Whether GL is a software rasterizer, for which each pixel counts.
    bool isSoftware() const { return programs_.textures() != 0; }

    /// Leaves GL's state as the calls that the drawings stand for would. Before anything else that
    /// looks at it.
    void settle() {
        if (active_) {
            leaveState();
        }
    }

    /// Others may have written to stencil planes, or bound another framebuffer.
    void forgetStencil();
    /// The planes of the framebuffer at hand have just been cleared.
    void stencilCleared();
    /// They have within the scissor box, which will hold as long as this matters.
    void stencilClearedWithinScissor();

    /// Whether there are GL objects for `release` to delete. Thread: any that knows the queue to
    /// have no work of the group left.
    bool hasObjects() const { return stream_.isCreated(); }
    void release();

 private:
    struct Command;
    enum class Blending : std::uint8_t;

    /// What uses a program was drawn last: its uniforms, as they are to be left.
    struct LastUse {
        MVQuadProgram program;
        Mivora::Float4x4 matrix;
        Mivora::ColorRGBA tint;
    };

    /// A rectangle that is part of a level's shape.
    struct ShapeQuad {
        Mivora::Float4x4 matrix;
        Mivora::Size2 size;
    };

    /// A level as the vertices are written.
    struct Shape {
        std::vector<ShapeQuad> quads;
        bool isWriting = false;
        /// Whether nobody but the shape has written to the plane since the beginning.
        bool isKnown = false;
        /// Whether each pixel is set that an odd number of the quads cover.
        bool isInverted = false;
    };

    /// A level as the commands are issued.
    struct Saved {
        MVStencilState state;
        std::uint8_t depthMask = 1;
    };

    void noteOtherWork();
    bool makeObjects();
    void enterState();
    void leaveState();

    bool append(std::span<const MVQuadEntry> entries);
    bool appendBegin(std::span<const MVQuadEntry> entries);
    bool appendQuad(std::span<const MVQuadEntry> entries);
    bool canInvert(std::span<const MVQuadEntry> entries) const;
    void appendEnd(std::uint8_t level);
    bool emitColor(const Mivora::Float4x4& matrix, Mivora::Size2 size, Mivora::ColorRGBA color,
                   MVQuadBlend blend);
    bool emitTexture(const Mivora::Float4x4& matrix, const MVQuadEntry& entry);
    bool joinColors(Command& last, Mivora::Size2 size, Mivora::ColorRGBA color, MVQuadBlend blend);
    bool joinTextures(Command& last, const MVQuadEntry& entry, std::uint32_t& unit);
    void findUnits();
    Shape& beginShape();
    static bool isLastUse(std::span<const MVQuadEntry> entries);
    void rememberUse(const MVQuadEntry& entry, const Mivora::Float4x4& matrix);
    void rememberState(const MVQuadEntry& entry);

    void issueCommands();
    void drawQuads(const Command& command);
    void setBlending(Blending blending);
    void bindTextures(const Command& command);
    void restoreTextures();
    void setProgram(std::uint32_t program, std::uint32_t vertexArray);

    std::uint32_t clearedPlanes(const MVStencilState& state) const;
    void beginStencil(std::uint8_t level, bool isKnown);
    static void writeShape(std::uint8_t level);
    static void invertStencil();
    void limitToStencil(std::uint8_t level);
    static void cleanStencil(std::uint8_t level);
    void endStencil();

    void play(const MVQuadEntry& entry);
    void playQuad(const MVQuadEntry& entry);

    std::atomic<bool> refused_{false};
    std::atomic<bool> mayHaveStencils_{false};
    std::shared_ptr<MVPartialRedraw> frame_;
    std::uint64_t otherWork_ = 0;
    std::vector<std::weak_ptr<MVPartialRedraw>> behind_;  ///< may have something to catch up with
    MVQuadStream stream_;
    MVQuadPrograms programs_;

    // What is known of GL's state from `enterState` to `leaveState`.
    bool active_ = false;
    bool depthTestOff_ = false;
    bool blendingKnown_ = false;
    Blending blending_;
    std::uint32_t program_ = 0;
    std::int32_t activeUnit_ = -1;  ///< Negative until there is a texture.
    std::array<std::uint32_t, MVQuadPrograms::kMostUnits> bound_{};  ///< Of units up to `units_`.
    std::array<std::uint32_t, MVQuadPrograms::kMostUnits> boundBefore_{};  ///< Not of unit 0.
    std::size_t units_ = 0;  ///< As many may be used; 0 until a second one is asked for.
    std::int32_t arrayBufferBefore_ = 0;

    // What it is to be in the end.
    std::vector<LastUse> uses_;
    std::size_t lastUse_ = 0;
    bool texturesUsed_ = false;
    std::uint32_t lastTexture_ = 0;
    MVQuadBlend lastBlend_ = MVQuadBlend::Off;  ///< Off while nothing was blended.
    bool rebuilt_ = false;
    std::uint32_t settledProgram_ = 0;  ///< What was left bound last.

    MVStencilGroups groups_;
    Mivora::Float4x4 projection_{};
    std::vector<Command> commands_;
    std::vector<std::uint32_t> textures_;  ///< Those of the commands.

    std::vector<Shape> shapes_;  ///< Those of levels in use come first.
    std::size_t shapeCount_ = 0;
    std::vector<Saved> saved_;
    bool isCleared_ = false;         ///< All planes were cleared; `cleanPlanes_` has yet to follow.
    bool isWithinScissor_ = false;   ///< As far as the scissor box goes.
    std::uint32_t cleanPlanes_ = 0;  ///< The bits that are 0 everywhere.
    std::uint32_t shapedPlanes_ = 0;  ///< Those that hold one of `heldShapes_`, once all is issued.
    std::vector<Shape> heldShapes_;   ///< The last ones, by levels.
};
