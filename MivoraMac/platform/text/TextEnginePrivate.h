#pragma once

#include <pango/pangocairo.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "MivoraMac/platform/text/TextAttributes.h"

namespace Mivora::platform {

/// Lets go of a GObject.
struct ObjectUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
/// Shares a GObject.
template <class T>
using ObjectPointer = std::unique_ptr<T, ObjectUnref>;

/// What laying out text takes and is kept from one time to the next: a font map, which holds the
/// fonts in use, and a layout object. One for each thread.
///
/// Layout goes by points: metrics are not rounded to pixels, so that lines break at the same places
/// whatever the scale of the drawing. Glyphs are fitted to the pixels' rows as they are drawn, at
/// the size they then have, and smoothed in grey: what is drawn here turns in space, where the
/// colours of a screen's subpixels mean nothing.
class TextEngine {
 public:
    static TextEngine& ofThread();

    TextEngine();
    ~TextEngine();
    TextEngine(const TextEngine&) = delete;
    TextEngine& operator=(const TextEngine&) = delete;

    /// To be called before a text is laid out. Begins with a new font map once so many fonts were
    /// asked for that the old one would grow without bound.
    void begin();

    PangoFontMap* fontMap() const { return fontMap_.get(); }
    PangoContext* context() const { return context_.get(); }
    PangoLayout* layout() const { return layout_.get(); }

    /// What holds for all text; ranges of attributes are put into copies. Words that are broken get
    /// no hyphens, which would be no part of the text.
    PangoAttrList* attributes() const { return attributes_.get(); }

    /// The description that Pango wants, valid until the next call.
    const PangoFontDescription* description(const TextFont& font);

 private:
    struct FreeDescription {
        void operator()(PangoFontDescription* description) const {
            pango_font_description_free(description);
        }
    };
    using Description = std::unique_ptr<PangoFontDescription, FreeDescription>;

    struct UnrefAttributes {
        void operator()(PangoAttrList* attributes) const { pango_attr_list_unref(attributes); }
    };
    struct HashFont {
        std::size_t operator()(const TextFont& font) const {
            return std::hash<std::string>()(font.name) ^ (std::hash<float>()(font.size) << 1);
        }
    };

    void renew();
    static Description makeDescription(const std::string& name);
    static Description descriptionOfPostScriptName(const std::string& name);

    ObjectPointer<PangoFontMap> fontMap_;
    ObjectPointer<PangoContext> context_;
    ObjectPointer<PangoLayout> layout_;
    std::unique_ptr<PangoAttrList, UnrefAttributes> attributes_;
    std::unordered_map<TextFont, Description, HashFont> descriptions_;
    const std::pair<const TextFont, Description>* last_ = nullptr;  ///< what was asked for last
};

}  // namespace Mivora::platform
