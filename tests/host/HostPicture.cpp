// Takes and judges pictures of screens, for the scripts beside it.
//
//   HostPicture grab FILE                        photographs the screen of the X server
//   HostPicture quadrants FILE X Y WIDTH HEIGHT [SCALE]
//                                                whether a QuadrantView of this size, in points, is
//                                                seen at this place, in pixels from the top left
//   HostPicture compare FILE X Y EXPECTED TOLERANCE
//                                                whether the picture EXPECTED is seen at this place
//   HostPicture alike FILE X Y X2 Y2 WIDTH HEIGHT PART
//                                                whether two rectangles, black on white, have the
//                                                same amount of ink, and of ink in dark pixels, but
//                                                for one part in PART
//   HostPicture cut FILE X Y WIDTH HEIGHT OUT    writes a rectangle into a file
//   HostPicture pixel FILE X Y                   prints red, green and blue
//   HostPicture box FILE RED GREEN BLUE          prints X Y WIDTH HEIGHT of the box around all that
//                                                has about this colour
//
// Ends with 0 if so, and else with 1 and a line that says where the two differ most.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#include "MivoraMac/platform/pictures/BitmapImage.h"
#include "MivoraMac/platform/pictures/ImageSource.h"
#include "MivoraMac/platform/pictures/Picture.h"
#include "tests/host/GrabScreen.h"

using Mivora::platform::Picture;

namespace {

using Color = std::array<std::uint8_t, 4>;

Picture read(const char* path) {
    const auto result = Mivora::platform::ImageSource::firstImageOfFile(path);
    if (!result.image) {
        std::printf("%s: %s\n", path, result.failure.c_str());
        return {};
    }
    const Mivora::platform::PixelSize size = result.image->size();
    const std::size_t step = result.image->bytesPerPixel();
    Picture picture{size, {}};
    for (int y = 0; y < size.height; ++y) {
        const std::uint8_t* pixel = result.image->row(y);
        for (int x = 0; x < size.width; ++x, pixel += step) {
            picture.rgba.insert(picture.rgba.end(), {pixel[0], pixel[1], pixel[2], 255});
        }
    }
    return picture;
}

/// What QuadrantView shows.
/// @param x, y  pixels from the view's top left corner
Color quadrant(int x, int y, int width, int height) {
    if (x == 0 || y == 0 || x == width - 1 || y == height - 1) {
        return {255, 255, 255, 255};
    }
    const bool isLeft = x < width / 2;
    const bool isTop = y < height - height / 2;
    if (isTop) {
        return isLeft ? Color{255, 0, 0, 255} : Color{0, 255, 0, 255};
    }
    return isLeft ? Color{0, 0, 255, 255} : Color{255, 255, 0, 255};
}

int difference(const Color& left, const Color& right) {
    int most = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        most = std::max(most, std::abs(left[i] - right[i]));
    }
    return most;
}

/// Compares every pixel of a rectangle with what is expected there.
/// @param expected  of pixels from the rectangle's top left corner
bool isSeen(const Picture& picture, int x, int y, int width, int height, int tolerance,
            const std::function<Color(int x, int y)>& expected) {
    if (picture.isEmpty() || width <= 0 || height <= 0) {
        std::puts("there is nothing to compare");
        return false;
    }
    int most = -1;
    int wrong = 0;
    std::array<int, 2> place = {};
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const int off = difference(picture.pixel(x + column, y + row), expected(column, row));
            wrong += off > tolerance ? 1 : 0;
            if (off > most) {
                most = off;
                place = {column, row};
            }
        }
    }
    if (most <= tolerance) {
        return true;
    }
    const Color is = picture.pixel(x + place[0], y + place[1]);
    const Color should = expected(place[0], place[1]);
    std::printf("%d of %d pixels are wrong; at (%d, %d) there is %d %d %d instead of %d %d %d\n",
                wrong, width * height, place[0], place[1], is[0], is[1], is[2], should[0],
                should[1], should[2]);
    return false;
}

/// How much of a rectangle is black rather than white, and how much of it in dark pixels.
std::array<long, 2> inkOf(const Picture& picture, int x, int y, int width, int height) {
    std::array<long, 2> ink{};
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const int amount = 255 - picture.pixel(x + column, y + row)[1];
            ink[0] += amount;
            ink[1] += amount > 170 ? amount : 0;
        }
    }
    return ink;
}

bool isAlike(const std::array<long, 2>& one, const std::array<long, 2>& other, long most,
             long part) {
    std::printf("ink %ld, %ld of it dark, beside %ld, %ld of it dark\n", one[0], one[1], other[0],
                other[1]);
    // Paper is mostly white; a screen on which nothing is seen yet is black.
    const bool isText = one[1] > 0 && one[0] < most / 2;
    return isText && std::labs(one[0] - other[0]) * part <= one[0] &&
           std::labs(one[1] - other[1]) * part <= one[1];
}

Picture cut(const Picture& picture, int x, int y, int width, int height) {
    Picture part{{width, height}, {}};
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const Color color = picture.pixel(x + column, y + row);
            part.rgba.insert(part.rgba.end(), color.begin(), color.end());
        }
    }
    return part;
}

/// The box around the pixels of a colour, but for the mixed ones at its edges.
std::array<int, 4> boxOf(const Picture& picture, const Color& color) {
    std::array<int, 4> corners = {picture.size.width, picture.size.height, 0, 0};
    for (int y = 0; y < picture.size.height; ++y) {
        for (int x = 0; x < picture.size.width; ++x) {
            if (difference(picture.pixel(x, y), color) < 100) {
                corners = {std::min(corners[0], x), std::min(corners[1], y),
                           std::max(corners[2], x + 1), std::max(corners[3], y + 1)};
            }
        }
    }
    return {corners[0], corners[1], corners[2] - corners[0], corners[3] - corners[1]};
}

}  // namespace

int main(int count, char** arguments) {
    const std::string_view task = count > 2 ? arguments[1] : "";
    const auto number = [&](int index) { return index < count ? std::atoi(arguments[index]) : 0; };
    if (task == "grab") {
        return Mivora::tests::grabScreen().writePNG(arguments[2]) ? 0 : 1;
    }
    if (task == "quadrants" && count >= 7) {
        const int scale = count > 7 ? number(7) : 1;
        const int width = number(5) * scale;
        const int height = number(6) * scale;
        return isSeen(read(arguments[2]), number(3), number(4), width, height, 0,
                      [=](int x, int y) { return quadrant(x, y, width, height); })
                   ? 0
                   : 1;
    }
    if (task == "compare" && count == 7) {
        const Picture expected = read(arguments[5]);
        return isSeen(read(arguments[2]), number(3), number(4), expected.size.width,
                      expected.size.height, number(6),
                      [&](int x, int y) { return expected.pixel(x, y); })
                   ? 0
                   : 1;
    }
    if (task == "alike" && count == 10) {
        const Picture picture = read(arguments[2]);
        const int width = number(7);
        const int height = number(8);
        return isAlike(inkOf(picture, number(3), number(4), width, height),
                       inkOf(picture, number(5), number(6), width, height), 255L * width * height,
                       number(9))
                   ? 0
                   : 1;
    }
    if (task == "cut" && count == 8) {
        const Picture part = cut(read(arguments[2]), number(3), number(4), number(5), number(6));
        return part.writePNG(arguments[7]) ? 0 : 1;
    }
    if (task == "pixel" && count == 5) {
        const Color color = read(arguments[2]).pixel(number(3), number(4));
        std::printf("%d %d %d\n", color[0], color[1], color[2]);
        return 0;
    }
    if (task == "box" && count == 6) {
        const auto channel = [&](int index) { return static_cast<std::uint8_t>(number(index)); };
        const auto box = boxOf(read(arguments[2]), {channel(3), channel(4), channel(5), 255});
        std::printf("%d %d %d %d\n", box[0], box[1], box[2], box[3]);
        return 0;
    }
    std::puts("HostPicture: see the head of its source for what it can do");
    return 2;
}
