#include "tests/support/GLCallRecorder.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <type_traits>
#include <utility>

namespace Mivora::tests {

namespace {

GLCallRecorder* recorder = nullptr;

template <class Argument>
double number(Argument argument) {
    if constexpr (std::is_pointer_v<Argument>) {
        return argument != nullptr ? 1 : 0;
    } else {
        return static_cast<double>(argument);
    }
}

/// Copies what lies behind the pointers of the signatures that tests look into.
template <class... Arguments>
void readPointers(GLCall&, Arguments...) {}
void readPointers(GLCall& call, GLsizei count, GLuint* names) {
    call.names.assign(names, names + count);
}
void readPointers(GLCall& call, GLsizei count, const GLuint* names) {
    call.names.assign(names, names + count);
}
void readPointers(GLCall& call, GLint, GLsizei count, GLboolean, const GLfloat* matrices) {
    call.floats.assign(matrices, matrices + static_cast<std::ptrdiff_t>(count) * 16);
}
void readPointers(GLCall& call, GLuint, GLsizei count, const GLchar* const* texts, const GLint*) {
    call.strings.assign(texts, texts + count);
}
void readPointers(GLCall& call, GLuint, const GLchar* name) {
    call.strings = {name};
}
void readPointers(GLCall& call, GLuint, GLuint, const GLchar* name) {
    call.strings = {name};
}
void readPointers(GLCall& call, GLenum, GLsizeiptr size, const void* data, GLenum) {
    if (data != nullptr) {
        const auto* floats = static_cast<const float*>(data);
        call.floats.assign(floats, floats + size / static_cast<GLsizeiptr>(sizeof(float)));
    }
}

}  // namespace

struct GLCallRecorder::Hook {
    std::function<void()> remove;

    static void record(GLCall call) { recorder->record(std::move(call)); }
    static void runBefore(const GLCall& call) { recorder->runBefore(call); }
    template <class Result>
    static Result resultOf(const char* name, Result result) {
        return static_cast<Result>(recorder->resultOf(name, static_cast<std::uint32_t>(result)));
    }

    template <auto* Slot, class Result, class... Arguments>
    struct Swap {
        using Function = Result (*)(Arguments...);
        static inline Function original = nullptr;
        static inline const char* name = nullptr;

        static Result call(Arguments... arguments) {
            GLCall seen{name, {number(arguments)...}, {}, {}, {}};
            runBefore(seen);
            // The loader finds the driver's function when its own pointer is first called through,
            // so that pointer has to be in its place then.
            *Slot = original;
            if constexpr (std::is_void_v<Result>) {
                (*Slot)(arguments...);
                finish(seen, arguments...);
            } else {
                Result result = (*Slot)(arguments...);
                if constexpr (std::is_integral_v<Result>) {
                    result = resultOf(name, result);
                    seen.names = {static_cast<std::uint32_t>(result)};
                }
                finish(seen, arguments...);
                return result;
            }
        }

        static void finish(GLCall& seen, Arguments... arguments) {
            original = *Slot;
            *Slot = &call;
            readPointers(seen, arguments...);
            record(std::move(seen));
        }
    };

    template <auto* Slot, class Result, class... Arguments>
    static std::unique_ptr<Hook> makeFor(const char* name, Result (**)(Arguments...)) {
        using Swapped = Swap<Slot, Result, Arguments...>;
        Swapped::original = *Slot;
        Swapped::name = name;
        *Slot = &Swapped::call;
        auto hook = std::make_unique<Hook>();
        hook->remove = [] { *Slot = Swapped::original; };
        return hook;
    }

    template <auto* Slot>
    static std::unique_ptr<Hook> make(const char* name) {
        return makeFor<Slot>(name, Slot);
    }
};

GLCallRecorder::GLCallRecorder() {
    recorder = this;
#define MIVORA_WATCH(function) hooks_.push_back(Hook::make<&function>(#function))
    MIVORA_WATCH(glActiveTexture);
    MIVORA_WATCH(glAttachShader);
    MIVORA_WATCH(glBindAttribLocation);
    MIVORA_WATCH(glBindBuffer);
    MIVORA_WATCH(glBindFramebuffer);
    MIVORA_WATCH(glBindRenderbuffer);
    MIVORA_WATCH(glBindTexture);
    MIVORA_WATCH(glBindVertexArray);
    MIVORA_WATCH(glBlendFunc);
    MIVORA_WATCH(glBlitFramebuffer);
    MIVORA_WATCH(glBufferData);
    MIVORA_WATCH(glBufferSubData);
    MIVORA_WATCH(glCheckFramebufferStatus);
    MIVORA_WATCH(glClear);
    MIVORA_WATCH(glClearColor);
    MIVORA_WATCH(glClearStencil);
    MIVORA_WATCH(glColorMask);
    MIVORA_WATCH(glCompileShader);
    MIVORA_WATCH(glCreateProgram);
    MIVORA_WATCH(glCreateShader);
    MIVORA_WATCH(glDeleteBuffers);
    MIVORA_WATCH(glDeleteFramebuffers);
    MIVORA_WATCH(glDeleteProgram);
    MIVORA_WATCH(glDeleteRenderbuffers);
    MIVORA_WATCH(glDeleteShader);
    MIVORA_WATCH(glDeleteTextures);
    MIVORA_WATCH(glDeleteVertexArrays);
    MIVORA_WATCH(glDepthMask);
    MIVORA_WATCH(glDetachShader);
    MIVORA_WATCH(glDisable);
    MIVORA_WATCH(glDrawArrays);
    MIVORA_WATCH(glDrawElementsBaseVertex);
    MIVORA_WATCH(glEnable);
    MIVORA_WATCH(glEnableVertexAttribArray);
    MIVORA_WATCH(glFinish);
    MIVORA_WATCH(glFlush);
    MIVORA_WATCH(glFramebufferRenderbuffer);
    MIVORA_WATCH(glFramebufferTexture2D);
    MIVORA_WATCH(glGenBuffers);
    MIVORA_WATCH(glGenFramebuffers);
    MIVORA_WATCH(glGenRenderbuffers);
    MIVORA_WATCH(glGenTextures);
    MIVORA_WATCH(glGenVertexArrays);
    MIVORA_WATCH(glGetBooleanv);
    MIVORA_WATCH(glGetError);
    MIVORA_WATCH(glGetIntegerv);
    MIVORA_WATCH(glGetProgramiv);
    MIVORA_WATCH(glGetProgramInfoLog);
    MIVORA_WATCH(glGetShaderiv);
    MIVORA_WATCH(glGetShaderInfoLog);
    MIVORA_WATCH(glGetStringi);
    MIVORA_WATCH(glGetUniformLocation);
    MIVORA_WATCH(glIsEnabled);
    MIVORA_WATCH(glLinkProgram);
    MIVORA_WATCH(glPixelStorei);
    MIVORA_WATCH(glReadPixels);
    MIVORA_WATCH(glRenderbufferStorage);
    MIVORA_WATCH(glRenderbufferStorageMultisample);
    MIVORA_WATCH(glShaderSource);
    MIVORA_WATCH(glScissor);
    MIVORA_WATCH(glStencilFunc);
    MIVORA_WATCH(glStencilMask);
    MIVORA_WATCH(glStencilOp);
    MIVORA_WATCH(glTexImage2D);
    MIVORA_WATCH(glTexParameteri);
    MIVORA_WATCH(glUniform1i);
    MIVORA_WATCH(glUniform2f);
    MIVORA_WATCH(glUniform4f);
    MIVORA_WATCH(glUniformMatrix4fv);
    MIVORA_WATCH(glUseProgram);
    MIVORA_WATCH(glVertexAttribPointer);
    MIVORA_WATCH(glViewport);
#undef MIVORA_WATCH
}

GLCallRecorder::~GLCallRecorder() {
    // The calls are over; taking the lock that each took at its end makes what they wrote known
    // here.
    const std::lock_guard lock(mutex_);
    for (const auto& hook : hooks_) {
        hook->remove();
    }
    recorder = nullptr;
}

void GLCallRecorder::record(GLCall call) {
    const std::lock_guard lock(mutex_);
    const std::string_view name = call.name;
    if (name.starts_with("glGen")) {
        for (const std::uint32_t object : call.names) {
            ++objects_[std::string(name.substr(5))][object];
        }
    } else if (name == "glCreateProgram" || name == "glCreateShader") {
        ++objects_[std::string(name.substr(8)) + "s"][call.names.at(0)];
    } else if (name == "glDeleteProgram" || name == "glDeleteShader") {
        objects_[std::string(name.substr(8)) + "s"].erase(
            static_cast<std::uint32_t>(call.arguments.at(0)));
    } else if (name.starts_with("glDelete")) {
        for (const std::uint32_t object : call.names) {
            objects_[std::string(name.substr(8))].erase(object);
        }
    }
    calls_.push_back(std::move(call));
}

void GLCallRecorder::overrideResult(const std::string& name, std::uint32_t value) {
    const std::lock_guard lock(mutex_);
    results_[name] = value;
}

void GLCallRecorder::restoreResult(const std::string& name) {
    const std::lock_guard lock(mutex_);
    results_.erase(name);
}

std::uint32_t GLCallRecorder::resultOf(const std::string& name, std::uint32_t result) const {
    const std::lock_guard lock(mutex_);
    const auto found = results_.find(name);
    return found != results_.end() ? found->second : result;
}

void GLCallRecorder::before(const std::string& name, std::function<void(const GLCall&)> action) {
    const std::lock_guard lock(mutex_);
    actions_[name] = std::make_shared<std::function<void(const GLCall&)>>(std::move(action));
}

void GLCallRecorder::runBefore(const GLCall& call) const {
    std::shared_ptr<std::function<void(const GLCall&)>> action;
    {
        const std::lock_guard lock(mutex_);
        const auto found = actions_.find(call.name);
        if (found != actions_.end()) {
            action = found->second;
        }
    }
    if (action && *action) {
        (*action)(call);
    }
}

std::string GLCall::text() const {
    std::ostringstream stream;
    stream << name << "(";
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        stream << (i == 0 ? "" : ", ") << arguments[i];
    }
    stream << ")";
    return stream.str();
}

std::vector<GLCall> GLCallRecorder::calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
}

std::vector<GLCall> GLCallRecorder::callsOf(std::string_view name) const {
    std::vector<GLCall> found = calls();
    std::erase_if(found, [&](const GLCall& call) { return call.name != name; });
    return found;
}

std::vector<std::string> GLCallRecorder::names() const {
    std::vector<std::string> found;
    for (const GLCall& call : calls()) {
        found.push_back(call.name);
    }
    return found;
}

std::vector<std::string> GLCallRecorder::texts() const {
    std::vector<std::string> found;
    for (const GLCall& call : calls()) {
        found.push_back(call.text());
    }
    return found;
}

void GLCallRecorder::clear() {
    const std::lock_guard lock(mutex_);
    calls_.clear();
}

std::map<std::string, int> GLCallRecorder::liveObjects() const {
    const std::lock_guard lock(mutex_);
    std::map<std::string, int> live;
    for (const auto& [kind, names] : objects_) {
        if (!names.empty()) {
            live[kind] = static_cast<int>(names.size());
        }
    }
    return live;
}

}  // namespace Mivora::tests
