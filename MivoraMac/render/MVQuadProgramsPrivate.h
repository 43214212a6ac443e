#pragma once

#include <cstddef>
#include <cstdint>

/// The programs that quads are drawn with when they are drawn together. They compute what the
/// standard shaders do, from what comes with the vertices in place of uniforms.
///
/// Thread: the GL queue's.
class MVQuadPrograms {
 public:
    /// The slots of the vertices' attributes.
    static constexpr std::uint32_t kPosition = 0;
    static constexpr std::uint32_t kColor = 1;
    static constexpr std::uint32_t kTexCoord = 2;
    static constexpr std::uint32_t kSource = 3;

    /// Compiles and links. Leaves no program bound.
    /// @return false, with a line in the debug log, where the driver cannot
    bool create();
    void destroy();

    /// One colour a quad.
    std::uint32_t color() const { return color_; }
    /// The texture of unit 0.
    std::uint32_t texture() const { return texture_; }

    /// As many textures can be drawn from by one call, those of the units from 0 on.
    static constexpr std::size_t kMostUnits = 16;
    /// For each quad the texture of a unit of its own, with what its source is multiplied with as
    /// the second source of blending. 0 where that would cost more than it saves: a driver that
    /// computes all branches samples sixteen textures for a pixel, and only of a software
    /// rasterizer is it known that an index may differ between the primitives of a call.
    std::uint32_t textures() const { return textures_; }

 private:
    void createTextures();

    std::uint32_t color_ = 0;
    std::uint32_t texture_ = 0;
    std::uint32_t textures_ = 0;
};
