#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>
#include <utility>

#include "MivoraMac/platform/text/TextEnginePrivate.h"

namespace Mivora::platform {

namespace {

/// How many fonts, by name and size, the font map is asked for before a new one takes its place.
/// To find and load a font takes most of a millisecond, so it should be many.
constexpr std::size_t kMostFonts = 1024;

/// How long the name of a font may be.
constexpr std::size_t kLongestName = 1024;

PangoStretch stretchOf(int width) {
    constexpr int kWidths[] = {
        FC_WIDTH_ULTRACONDENSED, FC_WIDTH_EXTRACONDENSED, FC_WIDTH_CONDENSED,
        FC_WIDTH_SEMICONDENSED,  FC_WIDTH_NORMAL,         FC_WIDTH_SEMIEXPANDED,
        FC_WIDTH_EXPANDED,       FC_WIDTH_EXTRAEXPANDED,  FC_WIDTH_ULTRAEXPANDED};
    const auto nearest = std::min_element(
        std::begin(kWidths), std::end(kWidths),
        [width](int a, int b) { return std::abs(a - width) < std::abs(b - width); });
    return static_cast<PangoStretch>(std::distance(std::begin(kWidths), nearest));
}

PangoStyle styleOf(int slant) {
    switch (slant) {
        case FC_SLANT_ITALIC:
            return PANGO_STYLE_ITALIC;
        case FC_SLANT_OBLIQUE:
            return PANGO_STYLE_OBLIQUE;
        default:
            return PANGO_STYLE_NORMAL;
    }
}

/// "Family-BoldItalic" as "Family, Bold Italic".
std::string withWordsOfStyle(const std::string& name, std::size_t hyphen) {
    std::string words = name.substr(0, hyphen) + ",";
    for (std::size_t i = hyphen + 1; i < name.size(); ++i) {
        if (i == hyphen + 1 || std::isupper(static_cast<unsigned char>(name[i])) != 0) {
            words += ' ';
        }
        words += name[i];
    }
    return words;
}

float effectiveSize(float size) {
    return size > 0 && std::isfinite(size)
               ? std::clamp(size, TextFont::kSmallestSize, TextFont::kLargestSize)
               : TextFont::kDefaultSize;
}

}  // namespace

TextEngine& TextEngine::ofThread() {
    static thread_local TextEngine engine;
    return engine;
}

TextEngine::TextEngine() {
    renew();
}

TextEngine::~TextEngine() = default;

void TextEngine::renew() {
    layout_.reset();
    context_.reset();
    fontMap_.reset(pango_cairo_font_map_new());
    context_.reset(pango_font_map_create_context(fontMap_.get()));
    cairo_font_options_t* const options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(context_.get(), options);
    cairo_font_options_destroy(options);
    pango_context_set_round_glyph_positions(context_.get(), FALSE);
    layout_.reset(pango_layout_new(context_.get()));
    pango_layout_set_wrap(layout_.get(), PANGO_WRAP_WORD_CHAR);
    attributes_.reset(pango_attr_list_new());
    pango_attr_list_insert(attributes_.get(), pango_attr_insert_hyphens_new(FALSE));
    last_ = nullptr;
    descriptions_.clear();
}

void TextEngine::begin() {
    if (descriptions_.size() >= kMostFonts) {
        renew();
    }
}

const PangoFontDescription* TextEngine::description(const TextFont& font) {
    const float size = effectiveSize(font.size);
    if (last_ == nullptr || last_->first.size != size || last_->first.name != font.name) {
        auto [found, isNew] = descriptions_.try_emplace(TextFont{font.name, size});
        if (isNew) {
            found->second = makeDescription(font.name);
            pango_font_description_set_absolute_size(found->second.get(),
                                                     double{size} * PANGO_SCALE);
        }
        last_ = &*found;
    }
    return last_->second.get();
}

TextEngine::Description TextEngine::makeDescription(const std::string& name) {
    const bool isUsable = !name.empty() && name.size() <= kLongestName &&
                          g_utf8_validate_len(name.data(), name.size(), nullptr) != FALSE;
    if (!isUsable) {
        return makeDescription(TextFont::kDefaultName);
    }
    if (name.find_first_of(" ,") == std::string::npos) {
        if (Description description = descriptionOfPostScriptName(name)) {
            return description;
        }
        if (const std::size_t hyphen = name.find('-'); hyphen != std::string::npos && hyphen > 0) {
            return Description(
                pango_font_description_from_string(withWordsOfStyle(name, hyphen).c_str()));
        }
    }
    Description description(pango_font_description_from_string(name.c_str()));
    if ((pango_font_description_get_set_fields(description.get()) & PANGO_FONT_MASK_SIZE) != 0) {
        // A number at the end was taken for a size; it belongs to the family.
        description.reset(pango_font_description_from_string((name + ",").c_str()));
    }
    return description;
}

TextEngine::Description TextEngine::descriptionOfPostScriptName(const std::string& name) {
    FcPattern* const pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_POSTSCRIPT_NAME, reinterpret_cast<const FcChar8*>(name.c_str()));
    FcObjectSet* const wanted =
        FcObjectSetBuild(FC_FAMILY, FC_WEIGHT, FC_SLANT, FC_WIDTH, static_cast<char*>(nullptr));
    FcFontSet* const found = FcFontList(nullptr, pattern, wanted);
    Description description;
    FcChar8* family = nullptr;
    if (found != nullptr && found->nfont > 0 &&
        FcPatternGetString(found->fonts[0], FC_FAMILY, 0, &family) == FcResultMatch) {
        int weight = FC_WEIGHT_NORMAL;
        int slant = FC_SLANT_ROMAN;
        int width = FC_WIDTH_NORMAL;
        FcPatternGetInteger(found->fonts[0], FC_WEIGHT, 0, &weight);
        FcPatternGetInteger(found->fonts[0], FC_SLANT, 0, &slant);
        FcPatternGetInteger(found->fonts[0], FC_WIDTH, 0, &width);
        description.reset(pango_font_description_new());
        pango_font_description_set_family(description.get(), reinterpret_cast<char*>(family));
        pango_font_description_set_weight(description.get(),
                                          static_cast<PangoWeight>(FcWeightToOpenType(weight)));
        pango_font_description_set_style(description.get(), styleOf(slant));
        pango_font_description_set_stretch(description.get(), stretchOf(width));
    }
    if (found != nullptr) {
        FcFontSetDestroy(found);
    }
    FcObjectSetDestroy(wanted);
    FcPatternDestroy(pattern);
    return description;
}

}  // namespace Mivora::platform
