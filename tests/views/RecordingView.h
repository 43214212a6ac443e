#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/MVMake.h"
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
