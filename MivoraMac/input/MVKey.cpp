#include "MivoraMac/input/MVKey.h"

#include <utility>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/windows/Event.h"
#include "MivoraMac/views/MVView.h"

std::shared_ptr<MVKey> MVKey::init() {
    return MVMake<MVKey>();
}

std::shared_ptr<MVKey> MVKey::initWithEvent(
    const std::shared_ptr<const Mivora::platform::Event>& event) {
    auto key = init();
    if (event) {
        key->setSymbol(event->key);
        key->setText(event->text);
        key->setModifiers(event->modifiers);
        key->setRepeat(event->isRepeat);
    }
    return key;
}

MVKey::MVKey() = default;
MVKey::~MVKey() = default;

void MVKey::setText(std::string text) {
    text_ = std::move(text);
}
