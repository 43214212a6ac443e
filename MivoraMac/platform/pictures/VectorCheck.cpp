#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "MivoraMac/platform/pictures/ImageClaimPrivate.h"
#include "MivoraMac/platform/pictures/ImageFormatPrivate.h"
#include "MivoraMac/platform/pictures/VectorCheckPrivate.h"
#include "MivoraMac/platform/pictures/VectorSizesPrivate.h"

namespace Mivora::platform {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kBlanks = " \t\r\n"sv;
/// How deep elements may nest, those drawn by reference within those that refer to them: each level
/// takes a part of the decoder's stack.
constexpr std::uint64_t kMostDepth = 256;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// One element, and what it draws besides its children.
struct Element {
    std::vector<std::size_t> children;
    std::vector<std::string_view> references;
    bool isLayer = false;  ///< may have to be drawn apart before it is put on the rest
    VectorSizes sizes;
    // Found by the sum.
    enum { New, Open, Done } state = New;
    std::uint64_t count = 0;
    std::uint64_t depth = 0;
    std::uint64_t layers = 0;
    VectorBound bound;
};

struct Attribute {
    std::string_view name;
    std::string_view value;
};

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

std::string_view withoutPrefix(std::string_view name) {
    const std::size_t colon = name.rfind(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

template <std::size_t count>
bool isOneOf(std::string_view name, const std::array<std::string_view, count>& names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// Whether a style, or the name of an attribute, may ask for a layer.
bool asksForLayer(std::string_view text) {
    constexpr std::array kWords = {"opacity"sv,   "mask"sv,      "filter"sv,
                                   "clip-path"sv, "mix-blend"sv, "isolation"sv};
    return std::any_of(kWords.begin(), kWords.end(),
                       [text](std::string_view word) { return contains(text, word); });
}

/// The bytes of base 64 digits; nothing for other characters, blanks aside.
std::optional<std::vector<std::uint8_t>> decodedBase64(std::string_view digits) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"sv;
    std::vector<std::uint8_t> bytes;
    bytes.reserve(digits.size() / 4 * 3);
    unsigned bits = 0;
    int count = 0;
    for (std::size_t i = 0; i < digits.size() && digits[i] != '='; ++i) {
        if (digits.substr(i).starts_with("&#10;") || digits.substr(i).starts_with("&#13;")) {
            i += 4;
            continue;
        }
        if (contains(kBlanks, digits.substr(i, 1))) {
            continue;
        }
        const std::size_t value = kDigits.find(digits[i]);
        if (value == std::string_view::npos) {
            return std::nullopt;
        }
        bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFFFFU;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<std::uint8_t>(bits >> count));
        }
    }
    return bytes;
}

/// Reads one file. Members return false where it is not to be drawn, and say why in `failure_`.
class Reader {
 public:
    Reader(std::string_view text, const ImageLimits& limits) : rest_(text), limits_(limits) {}

    VectorClaim read() {
        VectorClaim claim;
        if (!readMarkup() || !sumUp(claim)) {
            claim.failure = failure_;
        }
        return claim;
    }

 private:
    bool refuse(std::string why) {
        failure_ = std::move(why);
        return false;
    }

    void skip(std::size_t count) { rest_.remove_prefix(std::min(count, rest_.size())); }

    /// What comes before `end`, which is skipped as well; all there is where it is missing.
    std::string_view until(std::string_view end) {
        const std::string_view found = rest_.substr(0, rest_.find(end));
        skip(found.size() + end.size());
        return found;
    }

    bool readMarkup() {
        if (contains(rest_, "\0"sv)) {
            return refuse("the text is not in an encoding that is read");
        }
        elements_.emplace_back();  // holds those at the top
        open_.push_back(0);
        while (!rest_.empty()) {
            if (rest_.front() != '<') {
                const std::string_view text = rest_.substr(0, rest_.find('<'));
                if (!readText(text)) {
                    return false;
                }
                skip(text.size());
            } else if (!readTag()) {
                return false;
            }
        }
        return true;
    }

    bool readTag() {
        if (rest_.starts_with("<!--")) {
            until("-->");
            return true;
        }
        if (rest_.starts_with("<![CDATA[")) {
            skip(9);
            return readText(until("]]>"));
        }
        if (rest_.starts_with("<?")) {
            return readInstruction(until("?>"));
        }
        if (rest_.starts_with("<!DOCTYPE")) {
            return readDeclarations();
        }
        if (rest_.starts_with("<!")) {
            return refuse("something is declared in a way that is not followed");
        }
        if (rest_.starts_with("</")) {
            until(">");
            isInStyle_ = false;
            if (open_.size() > 1) {
                open_.pop_back();
            }
            return true;
        }
        return readElement();
    }

    bool readInstruction(std::string_view instruction) {
        if (contains(instruction, "xml-stylesheet")) {
            return refuse("the style is in another file");
        }
        const std::size_t at = instruction.find("encoding");
        if (at == std::string_view::npos) {
            return true;
        }
        std::string name;
        for (const char character : instruction.substr(at + 8)) {
            if (std::isalnum(static_cast<unsigned char>(character)) != 0) {
                name.push_back(static_cast<char>(std::tolower(character)));
            }
        }
        // Those in which the marks of the language are the bytes that are looked for.
        const bool isRead = name.starts_with("utf8") || name.starts_with("usascii") ||
                            name.starts_with("ascii") || name.starts_with("iso8859") ||
                            name.starts_with("windows125");
        return isRead || refuse("the text is not in an encoding that is read");
    }

    /// Entities may stand for plain text and no more, whose length counts where they are used.
    bool readDeclarations() {
        const std::size_t end = rest_.find('>');
        const std::size_t inner = rest_.find('[');
        if (inner == std::string_view::npos || inner > end) {
            until(">");
            return true;
        }
        const std::string_view declarations = until("]");
        std::size_t at = 0;
        while ((at = declarations.find("<!ENTITY", at)) != std::string_view::npos) {
            at += 8;
            const std::string_view entity =
                declarations.substr(at, declarations.find('>', at) - at);
            const std::size_t quote = entity.find_first_of("\"'");
            const std::string_view head = entity.substr(0, quote);
            const std::string_view value =
                quote == std::string_view::npos ? ""sv : entity.substr(quote);
            if (contains(head, "%") || contains(head, "SYSTEM") || contains(head, "PUBLIC") ||
                contains(value, "&") || contains(value, "<") || contains(value, "%")) {
                return refuse("an entity holds more than plain text");
            }
            longestEntity_ = std::max(longestEntity_, value.size());
        }
        if (declarations.find("<!ATTLIST") != std::string_view::npos) {
            return refuse("attributes are declared apart from the elements");
        }
        until(">");
        return true;
    }

    bool readElement() {
        skip(1);
        const std::string_view name = rest_.substr(0, rest_.find_first_of(" \t\r\n/>"));
        skip(name.size());
        if (elements_.size() > limits_.vectorElements) {
            return refuseTooMany();
        }
        const std::size_t index = elements_.size();
        elements_.emplace_back();
        elements_[open_.back()].children.push_back(index);
        const std::string_view kind = withoutPrefix(name);
        elements_[index].sizes.isPattern = kind == "pattern";
        elements_[index].sizes.isMarker = kind == "marker";
        elements_[index].sizes.isText = kind.starts_with("text") || kind == "tspan";
        hasPatterns_ = hasPatterns_ || kind == "pattern";
        if (kind == "include") {
            return refuse("a part is in another file");
        }
        bool isEmpty = false;
        if (!readAttributes(index, kind, isEmpty)) {
            return false;
        }
        if (kind.starts_with("fe")) {
            // What a step of a filter makes is kept for the steps that follow.
            filterSteps_ = std::max(filterSteps_, elements_[open_.back()].children.size());
        }
        if (!isEmpty) {
            open_.push_back(index);
            if (open_.size() > kMostDepth) {
                return refuse("elements are nested too deep");
            }
        }
        isInStyle_ = kind == "style" && !isEmpty;
        return true;
    }

    bool readAttributes(std::size_t index, std::string_view kind, bool& isEmpty) {
        while (true) {
            skip(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
            if (rest_.empty() || rest_.front() == '>' || rest_.front() == '/') {
                isEmpty = rest_.starts_with("/");
                until(">");
                break;
            }
            Attribute attribute;
            attribute.name = rest_.substr(0, rest_.find_first_of("= \t\r\n/>"));
            skip(std::max<std::size_t>(attribute.name.size(), 1));
            skip(std::min(rest_.find_first_not_of("= \t\r\n"), rest_.size()));
            if (!rest_.empty() && (rest_.front() == '"' || rest_.front() == '\'')) {
                const std::string_view quote = rest_.substr(0, 1);
                skip(1);
                attribute.value = until(quote);
            }
            if (!readAttribute(index, kind, attribute)) {
                return false;
            }
            readSizes(elements_[index].sizes, kind, attribute);
        }
        return true;
    }

    /// What tells how large something is drawn.
    void readSizes(VectorSizes& sizes, std::string_view kind, const Attribute& attribute) {
        const std::string_view name = withoutPrefix(attribute.name);
        const std::string_view value = attribute.value;
        const bool isExtent = name == "width" || name == "height";
        if (contains(name, "ransform") || (name == "style" && contains(value, "transform"))) {
            sizes.scale *= largestScale(value);
        } else if (name == "viewBox") {
            sizes.viewBox = value;
            units_.extent = std::max(units_.extent, largestLength(value).pixels);
        } else if (value == "objectBoundingBox" || value == "userSpaceOnUse") {
            const bool isRelative = value == "objectBoundingBox";
            if (name == "patternUnits") {
                sizes.saysUnits = true;
                sizes.isRelative = isRelative;
            } else {
                sizes.contentIsRelative = sizes.contentIsRelative || isRelative;
            }
        } else if (isExtent) {
            (name == "width" ? sizes.width : sizes.height) = largestLength(value);
        }
        const VectorLength extent = largestExtent(name, value);
        units_.extent = std::max(units_.extent, extent.pixels);
        if (kind != "pattern" && kind != "svg") {
            sizes.extent.widenBy(extent);
        }
        if (name == "font-size" || name == "font" || (name == "style" && contains(value, "font"))) {
            readFont(value);
        }
        if (name == "stroke-width" || (name == "style" && contains(value, "stroke-width"))) {
            largestStroke_ = std::max(largestStroke_, largestLength(value).pixels);
        }
    }

    void readFont(std::string_view style) {
        const VectorLength size = largestLength(style);
        // One relative to that of the element around it may grow with every level.
        units_.font =
            std::max(units_.font, size.percent == 0 && size.ems == 0 ? size.pixels : kInfinity);
    }

    bool readAttribute(std::size_t index, std::string_view kind, const Attribute& attribute) {
        const std::string_view name = withoutPrefix(attribute.name);
        const std::string_view value = attribute.value;
        if (contains(value, "&") && !countEntities(value)) {
            return false;
        }
        if (name == "id") {
            identified_.emplace(value, index);
        } else if (name == "href") {
            constexpr std::array kElsewhere = {"a"sv,     "script"sv, "animate"sv,
                                               "mpath"sv, "set"sv,    "animateTransform"sv};
            const std::size_t first = value.find_first_not_of(kBlanks);
            const std::string_view target =
                first == std::string_view::npos ? ""sv : value.substr(first);
            if (contains(target.substr(0, 8), "&")) {
                return refuse("a reference is written in a way that is not followed");
            }
            if (target.starts_with("data:")) {
                return readEmbedded(target);
            }
            if (target.starts_with("#") && !isOneOf(kind, kElsewhere)) {
                elements_[index].references.push_back(target.substr(1));
            }
        } else {
            elements_[index].isLayer = elements_[index].isLayer || asksForLayer(name) ||
                                       (name == "style" && asksForLayer(value));
            return readReferences(value, elements_[index].references);
        }
        return true;
    }

    /// Text between tags matters where it is a style.
    bool readText(std::string_view text) {
        if (contains(text, "&") && !countEntities(text)) {
            return false;
        }
        if (!isInStyle_) {
            return true;
        }
        if (contains(text, "@import") || contains(text, "\\")) {
            return refuse("the style is written in a way that is not followed");
        }
        stylesAskForLayers_ = stylesAskForLayers_ || asksForLayer(text);
        stylesTransform_ = stylesTransform_ || contains(text, "transform");
        styleExtent_.widenBy(largestExtent("style", text));
        if (contains(text, "font")) {
            readFont(text);
        }
        return readReferences(text, styleReferences_);
    }

    /// Those written as url(#name).
    bool readReferences(std::string_view value, std::vector<std::string_view>& references) {
        std::size_t at = 0;
        while ((at = value.find("url(", at)) != std::string_view::npos) {
            at += 4;
            const std::string_view inner = value.substr(at, value.find(')', at) - at);
            if (contains(inner, "&") || contains(inner, "\\")) {
                return refuse("a reference is written in a way that is not followed");
            }
            const std::size_t begin = inner.find('#');
            if (begin != std::string_view::npos) {
                const std::string_view name = inner.substr(begin + 1);
                references.push_back(name.substr(0, name.find_first_of("\"' \t\r\n")));
            }
        }
        return true;
    }

    /// What entities are replaced with counts as text of the file.
    bool countEntities(std::string_view text) {
        replaced_ +=
            longestEntity_ * static_cast<std::size_t>(std::count(text.begin(), text.end(), '&'));
        return replaced_ <= limits_.vectorBytes || refuse("entities stand for too much text");
    }

    /// A picture of pixels within the file.
    bool readEmbedded(std::string_view target) {
        const std::size_t comma = target.find(',');
        if (comma == std::string_view::npos || !contains(target.substr(0, comma), ";base64")) {
            return refuse("an embedded picture is not of a kind that is read");
        }
        const auto bytes = decodedBase64(target.substr(comma + 1));
        if (!bytes) {
            return refuse("an embedded picture is damaged");
        }
        const ImageFormat format = imageFormatOf(*bytes);
        constexpr std::array kRead = {ImageFormat::PNG, ImageFormat::JPEG, ImageFormat::GIF,
                                      ImageFormat::BMP, ImageFormat::WebP};
        if (std::find(kRead.begin(), kRead.end(), format) == kRead.end()) {
            return refuse("an embedded picture is not of a kind that is read");
        }
        const std::optional<ImageClaim> claim = imageClaim(format, *bytes);
        if (!claim || claim->fewestBytes > bytes->size()) {
            return refuse("an embedded picture is damaged");
        }
        constexpr std::uint64_t kMostExtent = 16384;
        if (claim->width > kMostExtent || claim->height > kMostExtent) {
            return refuse("an embedded picture is too large");
        }
        embeddedPixels_ += claim->width * claim->height;
        return embeddedPixels_ <= limits_.vectorPixels ||
               refuse("the embedded pictures are too large");
    }

    bool refuseTooMany() {
        return refuse("the picture draws more than " + std::to_string(limits_.vectorElements) +
                      " elements");
    }

    /// Counts below and behind an element, each element once.
    bool sumUp(std::size_t index, std::uint64_t level) {
        Element& element = elements_[index];
        if (element.state == Element::Done) {
            return true;
        }
        if (element.state == Element::Open) {
            return refuse("a part contains itself");
        }
        if (level > kMostDepth) {
            return refuse("elements are nested too deep");
        }
        element.state = Element::Open;
        std::uint64_t count = 1;
        std::uint64_t depth = 0;
        std::uint64_t layers = 0;
        VectorBound bound;
        const auto add = [&](std::size_t other) {
            if (!sumUp(other, level + 1)) {
                return false;
            }
            const Element& part = elements_[other];
            count += part.count;
            depth = std::max(depth, part.depth);
            layers = std::max(layers, part.layers);
            bound.add(part.bound);
            return count <= limits_.vectorElements || refuseTooMany();
        };
        for (const std::size_t child : element.children) {
            if (!add(child)) {
                return false;
            }
        }
        for (const std::string_view reference : element.references) {
            const auto found = identified_.find(reference);
            if (found != identified_.end() && !add(found->second)) {
                return false;
            }
        }
        element.count = count;
        element.depth = depth + 1;
        element.layers = layers + (element.isLayer || stylesAskForLayers_ ? 1 : 0);
        element.bound = hasPatterns_ ? withTiles(index, bound) : VectorBound();
        element.state = Element::Done;
        return element.depth <= kMostDepth || refuse("elements are nested too deep");
    }

    /// What an element may grow to, which draws parts of that size.
    VectorBound withTiles(std::size_t index, VectorBound bound) {
        Element& element = elements_[index];
        VectorSizes& sizes = element.sizes;
        const double extent = units_.pixelsOf(sizes.extent) + units_.pixelsOf(styleExtent_);
        bound.extent = std::max(bound.extent, sizes.isText ? kInfinity : extent);
        const auto fill = [&](std::string_view reference) {
            const auto found = identified_.find(reference);
            if (found == identified_.end() || !elements_[found->second].sizes.isPattern) {
                return;
            }
            const Element& pattern = elements_[found->second];
            if (sizes.isPattern) {
                sizes.inherit(pattern.sizes);
            }
            bound.fillWith(pattern.sizes, pattern.bound, units_);
        };
        std::for_each(element.references.begin(), element.references.end(), fill);
        std::for_each(styleReferences_.begin(), styleReferences_.end(), fill);
        bound.magnify(sizes.scale * scaleOfViewBox(index));
        return bound;
    }

    /// What a "viewBox" magnifies the content of an element by.
    double scaleOfViewBox(std::size_t index) const {
        constexpr std::size_t kRoot = 1;
        const VectorSizes& sizes = elements_[index].sizes;
        const double stroke = sizes.isMarker ? std::max(largestStroke_, 1.0) : 1;
        if (sizes.viewBox.empty()) {
            return stroke;
        }
        if (index == kRoot) {
            // A size that it does not state is that of the box.
            const VectorUnits whole{0, units_.font};
            const double scale = largestViewBoxScale(sizes.viewBox, whole.pixelsOf(sizes.width),
                                                     whole.pixelsOf(sizes.height));
            return scale > 0 ? scale : 1;
        }
        return stroke * largestViewBoxScale(sizes.viewBox, units_.extent, units_.extent);
    }

    bool sumUp(VectorClaim& claim) {
        for (const std::string_view reference : styleReferences_) {
            const auto found = identified_.find(reference);
            if (found != identified_.end() && !sumUp(found->second, 0)) {
                return false;
            }
        }
        if (!sumUp(0, 0)) {
            return false;
        }
        if (hasPatterns_ && stylesTransform_) {
            return refuse("the style is written in a way that is not followed");
        }
        const double tilePixels = elements_[0].bound.tilePixels;
        if (!(tilePixels <= static_cast<double>(limits_.vectorPixels))) {
            return refuse("the tiles of patterns may have too many pixels");
        }
        // What a style refers to may be drawn with every element.
        std::uint64_t perElement = 1;
        for (const std::string_view reference : styleReferences_) {
            const auto found = identified_.find(reference);
            if (found == identified_.end()) {
                continue;
            }
            perElement += elements_[found->second].count;
            if (perElement > limits_.vectorElements) {
                return refuseTooMany();
            }
        }
        if (elements_[0].count > limits_.vectorElements / perElement) {
            return refuseTooMany();
        }
        constexpr std::uint64_t kPerLayer = 2;  // one that is drawn and one to draw it with
        claim.surfaces = 1 + kPerLayer * elements_[0].layers + filterSteps_;
        return true;
    }

    std::string_view rest_;
    const ImageLimits& limits_;
    std::string failure_;
    std::vector<Element> elements_;
    std::vector<std::size_t> open_;
    std::unordered_map<std::string_view, std::size_t> identified_;
    std::vector<std::string_view> styleReferences_;
    bool isInStyle_ = false;
    bool stylesAskForLayers_ = false;
    std::size_t filterSteps_ = 0;  // of the longest filter
    bool hasPatterns_ = false;
    bool stylesTransform_ = false;
    VectorLength styleExtent_;
    double largestStroke_ = 0;
    VectorUnits units_;
    std::uint64_t embeddedPixels_ = 0;
    std::size_t longestEntity_ = 0;
    std::size_t replaced_ = 0;
};

}  // namespace

VectorClaim vectorClaim(std::string_view text, const ImageLimits& limits) {
    if (text.size() > limits.vectorBytes) {
        VectorClaim claim;
        claim.failure = "the text is longer than " + std::to_string(limits.vectorBytes) + " bytes";
        return claim;
    }
    return Reader(text, limits).read();
}

}  // namespace Mivora::platform
