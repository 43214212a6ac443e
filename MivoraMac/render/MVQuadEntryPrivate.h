#pragma once

#include <cstdint>
#include <glm/mat4x4.hpp>

#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/geometry/Rect.h"
#include "MivoraMac/geometry/Size.h"

/// How drawn colours meet those that are there.
enum class MVQuadBlend : std::uint8_t {
    Off,
    Straight,       ///< source alpha, one minus source alpha
    Premultiplied,  ///< one, one minus source alpha
};

/// What has to be known of a standard shader to draw a quad with it, or as it would.
struct MVQuadProgram {
    std::uint32_t name = 0;
    std::int32_t matrixUniform = -1;
    std::int32_t colorUniform = -1;
    std::int32_t samplerUniform = -1;  ///< negative where the shader uses no texture

    bool operator==(const MVQuadProgram&) const = default;
};

/// One drawing of a view, or a step of a stencil level, as a value. What it means is the sequence
/// of GL calls that it stands for; see `MVQuadBatch`.
struct alignas(64) MVQuadEntry {
    enum class Kind : std::uint8_t {
        Quad,            ///< a rectangle
        Projection,      ///< `matrix` is that of the quads that follow
        BeginStencil,    ///< what is drawn from here on is the shape of `stencilLevel`
        BeginStencils,   ///< the same for quads each of which is a shape; see `MVStencilGroups`
        LimitToStencil,  ///< what is drawn from here on is seen where that shape is
        EndStencil,      ///< the level is over
        Unseen,          ///< any of these of which no pixel is to be drawn; see `MVPartialRedraw`
    };

    glm::mat4 matrix;                  ///< of a quad: from content to world space
    Mivora::ColorRGBA tint;            ///< the colour, or what the texture is multiplied with
    Mivora::Rect2 textureCoordinates;  ///< of the corners (0, 0) and (width, height)
    Mivora::Size2 size;
    MVQuadProgram program;
    std::uint32_t texture;
    Kind kind;
    MVQuadBlend blend;
    bool rebuilt;  ///< The vertices changed since the last drawing.
    std::uint8_t stencilLevel;
};
static_assert(sizeof(MVQuadEntry) == 128, "two lines of the cache");
