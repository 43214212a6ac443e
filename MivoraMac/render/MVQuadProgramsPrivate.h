#pragma once

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

    std::uint32_t color() const { return color_; }
    std::uint32_t texture() const { return texture_; }

 private:
    std::uint32_t color_ = 0;
    std::uint32_t texture_ = 0;
};
