// Lays out and draws attributed strings, whatever their text and attributes, and shows them in a
// text view.

#include <cairo.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <glib.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/platform/text/AttributedStringBuilder.h"
#include "MivoraMac/platform/text/PixelCanvasPrivate.h"
#include "MivoraMac/platform/text/TextLayoutPrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVTextView.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::AttributedString;
using Mivora::platform::AttributedStringBuilder;
using Mivora::platform::ParagraphStyle;
using Mivora::platform::PixelCanvas;
using Mivora::platform::TextAttributes;
using Mivora::platform::TextColor;
using Mivora::platform::TextFont;
using Mivora::platform::TextLayout;

namespace {

/// Ends the program, as a failure that is kept.
void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

float anyFloat(FuzzedDataProvider& data) {
    constexpr float kOdd[] = {0.0F,  -1.0F,     1e-30F,    0.5F, 10'000.0F,
                              1e30F, -INFINITY, +INFINITY, NAN,  16384.0F};
    return data.ConsumeBool() ? data.PickValueInArray(kOdd)
                              : data.ConsumeFloatingPointInRange<float>(0, 60);
}

std::string anyFont(FuzzedDataProvider& data) {
    const char* const kNames[] = {
        "Sans", "DejaVu Sans Bold", "DejaVuSans-Oblique", "Serif 12", "Mono", "No Such Font", "-",
        ""};
    return data.ConsumeBool() ? data.PickValueInArray(kNames) : data.ConsumeRandomLengthString(12);
}

TextAttributes anyAttributes(FuzzedDataProvider& data) {
    TextAttributes attributes;
    if (data.ConsumeBool()) {
        attributes.font = TextFont{anyFont(data), anyFloat(data)};
    }
    if (data.ConsumeBool()) {
        attributes.foregroundColor =
            TextColor{anyFloat(data), anyFloat(data), anyFloat(data), anyFloat(data)};
    }
    if (data.ConsumeBool()) {
        using Setting = ParagraphStyle::Setting;
        std::vector<Setting> settings;
        for (int i = data.ConsumeIntegralInRange(0, 3); i > 0; --i) {
            settings.push_back({data.ConsumeBool() ? Setting::Specifier::Alignment
                                                   : Setting::Specifier::LineBreakMode,
                                data.ConsumeIntegral<std::uint8_t>()});
        }
        attributes.paragraphStyle = ParagraphStyle(settings);
    }
    return attributes;
}

std::string anyText(FuzzedDataProvider& data) {
    constexpr const char* kWords[] = {"word ",
                                      "\n",
                                      "\r\n",
                                      "\t",
                                      "\xE2\x80\xA8",
                                      "שלום ",
                                      "مرحبا ",
                                      "😀",
                                      "👩‍👩‍👧",
                                      "\xCC\x81",
                                      "\xE2\x80\xAE",
                                      "…"};
    std::string text;
    for (int i = data.ConsumeIntegralInRange(0, 8); i > 0; --i) {
        std::string piece = data.ConsumeBool() ? std::string(data.PickValueInArray(kWords))
                                               : data.ConsumeRandomLengthString(16);
        const int times = data.ConsumeBool() ? 1 : data.ConsumeIntegralInRange(1, 300);
        for (int j = 0; j < times; ++j) {
            text += piece;
        }
    }
    return text;
}

void requireSound(const AttributedString& string) {
    require(g_utf8_validate_len(string.text().data(), string.text().size(), nullptr) != FALSE ||
            string.text().find('\0') != std::string::npos);
    std::size_t end = 0;
    for (const AttributedString::Run& run : string.runs()) {
        require(run.start == end && run.length > 0);
        end += run.length;
    }
    require(end == string.text().size());
}

/// What views are shown in, from the first input to the end.
struct Stage {
    std::shared_ptr<MVRenderContext> context = MVRenderContext::init();
    std::shared_ptr<MVShaderCache> cache = MVShaderCache::init();
    std::shared_ptr<MVWindow> window;
    std::shared_ptr<MVTextView> view;

    Stage() {
        MVRenderContext::mv_setActiveContext(context);
        cache->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(cache);
        window = MVWindow::init();
        window->setSize({64, 64});
        view = MVTextView::init();
        window->addSubview(view);
    }
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/) {
    // What Pango complains of is to be kept away from it.
    g_log_set_default_handler(
        [](const gchar* domain, GLogLevelFlags level, const gchar* message, gpointer data) {
            g_log_default_handler(domain, level, message, data);
            require((level & G_LOG_LEVEL_CRITICAL) == 0);
        },
        nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static Stage stage;
    FuzzedDataProvider data(bytes, size);
    AttributedStringBuilder builder;
    for (int i = data.ConsumeIntegralInRange(0, 4); i > 0; --i) {
        const TextAttributes attributes = anyAttributes(data);
        builder.append(anyText(data), attributes);
    }
    const auto string = builder.build();
    requireSound(*string);
    if (const auto shown = string->mv_shown()) {
        requireSound(*shown);
        require(shown->mv_shown() == nullptr);
    }

    const float width = anyFloat(data);
    const float height = anyFloat(data);
    const TextLayout layout(string, width, height);
    require(layout.lineCount() == 0 || layout.height() <= height + 0.01F);
    if (auto canvas = PixelCanvas::create({40, 40})) {
        if (data.ConsumeBool()) {
            cairo_set_operator(canvas->context(), CAIRO_OPERATOR_SOURCE);
        }
        layout.draw(canvas->context());
        require(canvas->finish() != nullptr);
    }

    const auto limited = [](float extent) { return extent > 100 && extent < 1e6F ? 100 : extent; };
    stage.view->setText(string);
    stage.view->setSize({limited(width), limited(height)});
    const float scale = anyFloat(data);
    stage.view->setTextureScaleFactor(scale > 4 && scale < 1e6F ? 4 : scale);
    stage.window->mv_prepareForDrawVisit();
    stage.window->mv_drawVisit();
    stage.context->mv_dispatchBlockSync([] {});
    return 0;
}
