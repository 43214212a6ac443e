#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Mivora::tests {

/// One GL call as the driver got it.
struct GLCall {
    std::string name;
    std::vector<double> arguments;     ///< numbers as they are; pointers as 0 (null) or 1
    std::vector<std::uint32_t> names;  ///< the objects that a glGen… or glDelete… call concerned
    std::vector<float> floats;         ///< the matrix or vector behind a pointer argument
    std::vector<std::string> strings;  ///< the texts behind a pointer argument

    /// "glUseProgram(3)": the name with all number arguments.
    std::string text() const;
};

/// Watches GL calls by swapping the loader's function pointers; calls still reach the driver.
///
/// One at a time. Create and destroy it while no GL work is in flight; `calls` and the like are
/// for when all GL work is done, too.
class GLCallRecorder {
 public:
    GLCallRecorder();
    ~GLCallRecorder();
    GLCallRecorder(const GLCallRecorder&) = delete;
    GLCallRecorder& operator=(const GLCallRecorder&) = delete;

    /// Everything recorded since creation or the last `clear`.
    std::vector<GLCall> calls() const;
    /// The calls of one function.
    std::vector<GLCall> callsOf(std::string_view name) const;
    /// The names of all calls, in order; and with arguments.
    std::vector<std::string> names() const;
    std::vector<std::string> texts() const;
    void clear();

    /// GL objects that were generated and not deleted since creation, per kind ("Buffers": 2);
    /// kinds without any are left out. Not affected by `clear`.
    std::map<std::string, int> liveObjects() const;

    /// Has a function with an integer result return `value`, whatever the driver said.
    void overrideResult(const std::string& name, std::uint32_t value);
    void restoreResult(const std::string& name);

    /// Has `action` run before each call of a function that is still to come, with its arguments;
    /// null for nothing. Thread: that of the call.
    void before(const std::string& name, std::function<void(const GLCall&)> action);

    struct Hook;

 private:
    friend struct Hook;
    void record(GLCall call);
    std::uint32_t resultOf(const std::string& name, std::uint32_t result) const;
    void runBefore(const GLCall& call) const;

    mutable std::mutex mutex_;
    std::vector<GLCall> calls_;
    std::map<std::string, std::map<std::uint32_t, int>> objects_;
    std::map<std::string, std::uint32_t> results_;
    std::map<std::string, std::shared_ptr<std::function<void(const GLCall&)>>> actions_;
    std::vector<std::unique_ptr<Hook>> hooks_;
};

}  // namespace Mivora::tests
