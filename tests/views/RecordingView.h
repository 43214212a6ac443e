#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVWindow.h"

/// Lines that several views write, in the order they happen.
using CallLog = std::vector<std::string>;

/// A view that logs its hooks as "name.hook" and then runs what a test put in their place.
class RecordingView : public MVView {
 public:
    static std::shared_ptr<RecordingView> make(std::string name, CallLog* log) {
        return MVMake<RecordingView>(std::move(name), log);
    }

    std::function<void()> onWindowWillChange;
    std::function<void()> onWindowDidChange;
    std::function<void()> onTransformMatrixWillBuild;
    std::function<void()> onTransformMatrixDidBuild;
    std::function<void()> onEffectivelyHiddenDidBuild;
    std::function<void()> onPrepareForLayoutSubviews;
    std::function<void()> onLayoutSubviews;
    std::function<void()> onPrepareForDraw;
    std::function<void()> onDraw;

    void setSize3(Mivora::Size3 size) override {
        record("setSize3", nullptr);
        MVView::setSize3(size);
    }

 protected:
    friend struct MVMaker;
    RecordingView(std::string name, CallLog* log) : name_(std::move(name)), log_(log) {}

    void mv_windowWillChange() override { record("windowWillChange", onWindowWillChange); }
    void mv_windowDidChange() override { record("windowDidChange", onWindowDidChange); }
    void mv_transformMatrixWillBuild() override {
        record("transformMatrixWillBuild", onTransformMatrixWillBuild);
    }
    void mv_transformMatrixDidBuild() override {
        record("transformMatrixDidBuild", onTransformMatrixDidBuild);
    }
    void mv_effectivelyHiddenDidBuild() override {
        record("effectivelyHiddenDidBuild", onEffectivelyHiddenDidBuild);
    }
    void prepareForLayoutSubviews() override {
        record("prepareForLayoutSubviews", onPrepareForLayoutSubviews);
    }
    void layoutSubviews() override { record("layoutSubviews", onLayoutSubviews); }
    void prepareForDraw() override { record("prepareForDraw", onPrepareForDraw); }
    void draw() override { record("draw", onDraw); }

 private:
    void record(const char* hook, const std::function<void()>& reaction) {
        if (log_ != nullptr) {
            log_->push_back(name_ + "." + hook);
        }
        // A copy, so that the reaction may take itself away.
        if (const std::function<void()> current = reaction) {
            current();
        }
    }

    std::string name_;
    CallLog* log_;
};

/// A window that logs the hooks of the four visits as "window.hook".
class RecordingWindow : public MVWindow {
 public:
    static std::shared_ptr<RecordingWindow> make(CallLog* log) {
        return MVMake<RecordingWindow>(log);
    }

 protected:
    friend struct MVMaker;
    explicit RecordingWindow(CallLog* log) : log_(log) {}
    void prepareForLayoutSubviews() override {
        log_->emplace_back("window.prepareForLayoutSubviews");
    }
    void layoutSubviews() override {
        log_->emplace_back("window.layoutSubviews");
        MVWindow::layoutSubviews();
    }
    void prepareForDraw() override { log_->emplace_back("window.prepareForDraw"); }
    void draw() override { log_->emplace_back("window.draw"); }

 private:
    CallLog* log_;
};

/// A window that counts the redraws it is asked for.
class CountingWindow : public MVWindow {
 public:
    static std::shared_ptr<CountingWindow> make() { return MVMake<CountingWindow>(); }

    void mv_setDrawDirty() override {
        MVWindow::mv_setDrawDirty();
        ++redrawRequests;
    }

    int redrawRequests = 0;

 protected:
    friend struct MVMaker;
    CountingWindow() = default;
};

/// Whether a value of a view waits to be rebuilt, by the name its description has for that. Unlike
/// reading the value this rebuilds nothing.
inline bool isMarked(const std::shared_ptr<MVView>& view, const std::string& flag) {
    const std::string description = view->describe();
    const std::string line = description.substr(0, description.find('\n')) + ' ';
    return line.find(' ' + flag + ' ') != std::string::npos;
}
