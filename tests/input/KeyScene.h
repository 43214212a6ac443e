#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/input/MVKey.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/headless/HeadlessKeyboard.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/windows/KeySymbol.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/platform/base/ScopedEnvironment.h"

/// A view that logs its hooks of keys and of the focus, "card.keyBegan a" or "card.focusEnded", and
/// then runs what a test put in their place.
class KeyView : public MVView {
 public:
    static std::shared_ptr<KeyView> make(std::string name, std::vector<std::string>* log) {
        return MVMake<KeyView>(std::move(name), log);
    }

    /// Called after every hook, with its bare name.
    std::function<void(const std::string& hook)> reaction;
    /// Whether the view has a use for keys; where not, it passes them on.
    bool takesKeys = true;
    std::shared_ptr<MVKey> lastKey;

    bool keyBegan(const std::shared_ptr<MVKey>& key) override {
        lastKey = key;
        record("keyBegan", " " + key->text() + (key->isRepeat() ? " again" : ""));
        return takesKeys || MVView::keyBegan(key);
    }
    bool keyEnded(const std::shared_ptr<MVKey>& key) override {
        lastKey = key;
        record("keyEnded", "");
        return takesKeys || MVView::keyEnded(key);
    }
    void focusBegan() override { record("focusBegan", ""); }
    void focusEnded() override { record("focusEnded", ""); }

 protected:
    friend struct MVMaker;
    KeyView(std::string name, std::vector<std::string>* log) : name_(std::move(name)), log_(log) {
        setDebugName(name_);
    }

 private:
    void record(const std::string& hook, const std::string& details) {
        log_->push_back(name_ + '.' + hook + details);
        // A copy, so that the reaction may take itself away.
        if (const auto current = reaction) {
            current(hook);
        }
    }

    std::string name_;
    std::vector<std::string>* log_;
};

/// What a host has for a view: logs what it is told, and moves its own focus as it is told to, or
/// says back at once what it has done, as toolkits do.
struct RecordingPeer : Mivora::platform::OpenGLView::Peer {
    std::vector<std::string> log;
    std::function<void(std::uint64_t)> onFocus;

    void subviewsDidChange() override {}
    void elementsDidChange() override { log.emplace_back("elements"); }
    void focusElement(std::uint64_t identifier) override {
        log.push_back("focus " + std::to_string(identifier));
        if (onFocus) {
            onFocus(identifier);
        }
    }
    void cursorDidChange() override { log.emplace_back("cursor"); }

    std::vector<std::string> taken() { return std::exchange(log, {}); }
};

/// A window of 400 x 300 points in a headless window, with a keyboard and no application.
class KeyScene {
 public:
    KeyScene() {
        window->setContentScaleFactor(1.0F);
        window->setSize({400.0F, 300.0F});
        renderView = MVApplicationRenderView::initWithApplicationAndWindow(nullptr, window);
        frame = Mivora::platform::HeadlessWindow::create("", {0, 0, 400, 300});
        frame->setContentView(renderView);
        frame->show();
        keyboard = std::make_unique<Mivora::platform::HeadlessKeyboard>(renderView);
    }
    ~KeyScene() {
        if (renderView) {
            renderView->setPeer(nullptr);
        }
    }

    std::shared_ptr<KeyView> add(const std::shared_ptr<MVView>& superview, const std::string& name,
                                 Mivora::Point2 position = {0, 0}, Mivora::Size2 size = {50, 50}) {
        auto view = KeyView::make(name, &log);
        view->setPosition(position);
        view->setSize(size);
        superview->addSubview(view);
        return view;
    }
    std::shared_ptr<KeyView> addFocusable(const std::shared_ptr<MVView>& superview,
                                          const std::string& name, Mivora::Point2 position = {0, 0},
                                          Mivora::Size2 size = {50, 50}) {
        auto view = add(superview, name, position, size);
        view->setFocusable(true);
        return view;
    }

    /// The lines since the last call.
    std::vector<std::string> taken() { return std::exchange(log, {}); }

    Mivora::tests::ScopedEnvironment host{"MIVORA_HOST", "headless"};
    Mivora::tests::ScopedEnvironment scale{"MIVORA_SCALE", "1"};
    std::vector<std::string> log;
    std::shared_ptr<MVWindow> window = MVWindow::init();
    std::shared_ptr<MVApplicationRenderView> renderView;
    std::shared_ptr<Mivora::platform::HeadlessWindow> frame;
    std::unique_ptr<Mivora::platform::HeadlessKeyboard> keyboard;
};
