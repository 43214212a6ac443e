#include "MivoraMac/input/MVKeyDispatcher.h"

#include <algorithm>
#include <string>
#include <utility>

#include "MivoraMac/input/MVEventLogPrivate.h"
#include "MivoraMac/input/MVKey.h"
#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/RunAllPrivate.h"
#include "MivoraMac/platform/windows/Event.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::AtEnd;
using Mivora::platform::DebugLog;
using Mivora::platform::Event;
using Mivora::platform::RunAll;

namespace {

using KeyPointer = MVKeyDispatcher::KeyPointer;

std::uint64_t nameOf(const Event& event) {
    return event.keyCode != 0 ? std::uint64_t{event.keyCode} << 32U : std::uint64_t{event.key};
}

void takeOver(MVKey& key, const Event& event) {
    key.setSymbol(event.key);
    key.setText(event.text);
    key.setModifiers(event.modifiers);
    key.setRepeat(event.isRepeat);
}

void log(const char* what, const MVKey& key) {
    if (DebugLog::isEnabled(DebugLog::Category::Events)) {
        const std::shared_ptr<MVView> view = key.view();
        DebugLog::log(DebugLog::Category::Events, "key %#x %s %s%s", key.symbol(), what,
                      view ? "in " : "and nobody has a use for it",
                      view ? MVEventLog::nameOf(*view).c_str() : "");
    }
}

void sendEnd(const KeyPointer& key) {
    log("ended", *key);
    key->mv_setOver();
    if (const std::shared_ptr<MVView> view = key->view()) {
        view->keyEnded(key);
    }
}

}  // namespace

std::shared_ptr<MVKeyDispatcher> MVKeyDispatcher::initWithWindow(
    const std::shared_ptr<MVWindow>& window) {
    return MVMake<MVKeyDispatcher>(window);
}

MVKeyDispatcher::MVKeyDispatcher(const std::shared_ptr<MVWindow>& window) : window_(window) {}
MVKeyDispatcher::~MVKeyDispatcher() = default;

bool MVKeyDispatcher::systemKeyBeganWithEvent(const EventPointer& event) {
    if (!event) {
        return false;
    }
    const auto kept = shared_from_this();
    const std::uint64_t name = nameOf(*event);
    RunAll all;
    bool isTaken = false;
    all.run([&] {
        if (const std::shared_ptr<MVWindow> window = window_.lock()) {
            window->mv_settleFocus();
        }
    });
    auto held = find(name);
    if (held != held_.end() && event->isRepeat && held->target.lock() == target()) {
        const KeyPointer key = held->key;
        all.run([&] { isTaken = repeat(key, event); });
        all.rethrow();
        return isTaken;
    }
    if (held != held_.end()) {
        const KeyPointer former = held->key;
        held_.erase(held);
        all.run([&] { sendEnd(former); });
    }
    if (find(name) == held_.end()) {
        all.run([&] { isTaken = begin(name, event); });
    }
    all.rethrow();
    return isTaken;
}

bool MVKeyDispatcher::begin(std::uint64_t name, const EventPointer& event) {
    const std::shared_ptr<MVView> view = target();
    if (!view) {
        return false;
    }
    const KeyPointer key = MVKey::initWithEvent(event);
    key->setView(view);
    held_.push_back({name, key, view});
    const auto drop = [&] {
        key->setView(nullptr);
        std::erase_if(held_, [&](const Held& other) { return other.key == key; });
    };
    bool isTaken = false;
    try {
        isTaken = view->keyBegan(key);
    } catch (...) {
        drop();
        throw;
    }
    if (!isTaken) {
        drop();
    }
    log("began", *key);
    return isTaken;
}

bool MVKeyDispatcher::repeat(const KeyPointer& key, const EventPointer& event) {
    takeOver(*key, *event);
    const std::shared_ptr<MVView> view = key->view();
    // Whoever has a use for it this time: the end belongs to the one that took the beginning.
    const AtEnd giveBack([&] { key->setView(view); });
    return view && view->keyBegan(key);
}

bool MVKeyDispatcher::systemKeyEndedWithEvent(const EventPointer& event) {
    const auto held = event ? find(nameOf(*event)) : held_.end();
    if (held == held_.end()) {
        return false;
    }
    const KeyPointer key = held->key;
    held_.erase(held);
    takeOver(*key, *event);
    sendEnd(key);
    return true;
}

void MVKeyDispatcher::endAllKeys() {
    RunAll all;
    for (const Held& held : std::exchange(held_, {})) {
        held.key->setRepeat(false);
        all.run([&] { sendEnd(held.key); });
    }
    all.rethrow();
}

std::shared_ptr<MVView> MVKeyDispatcher::target() const {
    const std::shared_ptr<MVWindow> window = window_.lock();
    if (!window) {
        return nullptr;
    }
    if (std::shared_ptr<MVView> focused = window->focusedView()) {
        return focused;
    }
    std::shared_ptr<MVView> content = window->contentView();
    return content ? content : window;
}

std::vector<MVKeyDispatcher::Held>::iterator MVKeyDispatcher::find(std::uint64_t name) {
    return std::find_if(held_.begin(), held_.end(),
                        [name](const Held& held) { return held.name == name; });
}
