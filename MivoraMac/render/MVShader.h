#pragma once

#include <cstdint>
#include <glm/mat4x4.hpp>
#include <memory>
#include <string>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVRenderContext;
class MVRenderGroup;
struct MVQuadProgram;

/// The names of vertex attributes and uniforms that all shaders share.
inline constexpr const char* MVShaderAttributeNamePosition = "a_position";
inline constexpr const char* MVShaderAttributeNameNormal = "a_normal";
inline constexpr const char* MVShaderAttributeNameTangent = "a_tangent";
inline constexpr const char* MVShaderAttributeNameBinormal = "a_binormal";
inline constexpr const char* MVShaderAttributeNameColor = "a_color";
inline constexpr const char* MVShaderAttributeNameTexCoord = "a_texCoord";
inline constexpr const char* MVShaderUniformNamePosition = "u_position";
inline constexpr const char* MVShaderUniformNameNormal = "u_normal";
inline constexpr const char* MVShaderUniformNameColor = "u_color";
inline constexpr const char* MVShaderUniformNameTexCoord = "u_texCoord";
inline constexpr const char* MVShaderUniformNameSampler = "u_sampler";

/// The attribute slots that shaders bind before linking and vertex arrays point at.
enum MVShaderAttributeSlot : std::uint32_t {
    MVShaderAttributeSlotPosition = 0,
    MVShaderAttributeSlotColor = 4,
    MVShaderAttributeSlotTexCoord = 5,
};

/// The matrices of whatever is being drawn: column-major, a product A x B means A after B.
struct MVShaderMatrices {
    glm::mat4 transform{0.0F};         ///< "u_transformMatrix": content to world space
    glm::mat4 inverseTransform{0.0F};  ///< "u_inverseTransformMatrix"
    glm::mat4 projection{0.0F};        ///< "u_projectionMatrix": world to clip space
};

/// Something drawn with shaders, which asks it for its matrices on every `MVShader::use`.
class MIVORA_EXPORT MVShaderMatrixSource {
 public:
    /// Thread: the drawing one.
    virtual MVShaderMatrices mv_shaderMatrices() = 0;

    /// As above, but for the inverse.
    virtual void mv_readQuadMatrices(glm::mat4& projection, glm::mat4& transform);

 protected:
    MVShaderMatrixSource() = default;
    ~MVShaderMatrixSource() = default;
};

/// One GLSL program: compiles a vertex and a fragment stage, links them and, on `use`, binds the
/// program and uploads the matrices of what is being drawn.
///
/// Sources are GLSL ES 1.00 in UTF-8, without a version line: "#version 100" is put in front, so
/// a source that brings its own does not compile. Any of the uniforms "u_transformMatrix",
/// "u_inverseTransformMatrix", "u_projectionMatrix" and "u_transformProjectionMatrix" (projection
/// x transform) that a shader declares is filled on every `use`.
///
/// Order of use: initialise from sources, bind attributes, `link`, look up further uniforms; then
/// for each draw `use`, the subclass's own setters, and the draw calls.
///
/// Subclasses have a protected constructor and an `init` of their own that calls
/// `mv_makeWithSources`.
///
/// GL work goes through the render context that is active at the time. Without an active context,
/// or with one that has no GL context, a shader cannot be made; while one is active that does not
/// share objects with the one it was made with, nothing is drawn with it. The program is deleted
/// where it was made, whichever context is active. Thread: any, one at a time.
class MIVORA_EXPORT MVShader : public std::enable_shared_from_this<MVShader> {
 public:
    /// A shader of the class it is called on, made with plain `init`; null for this class.
    static std::shared_ptr<MVShader> shader();

    /// Refused: yields null. A shader can only be made from sources.
    static std::shared_ptr<MVShader> init();

    /// Compiles both stages from UTF-8 text files.
    /// @param vertexShaderFile    a path; one that is not absolute is looked up as a resource
    /// @param fragmentShaderFile  likewise
    /// @return null when a file cannot be read or a stage does not compile
    static std::shared_ptr<MVShader> initWithVertexShaderFileFragmentShaderFile(
        const std::string& vertexShaderFile, const std::string& fragmentShaderFile);

    /// As below, without the driver's log.
    static std::shared_ptr<MVShader> initWithVertexShaderSourceFragmentShaderSource(
        const char* vertexShaderSource, const char* fragmentShaderSource);

    /// Compiles both stages and attaches them to a new program; does not link.
    /// @param vertexShaderSource    null, or text that is not UTF-8, counts as a source that is
    ///                              missing: the result is null and no stage is compiled from it
    /// @param fragmentShaderSource  likewise; not compiled when the vertex stage failed
    /// @param errorMessage          optional; the driver's logs are appended, warnings included
    /// @return null when a stage does not compile
    static std::shared_ptr<MVShader> initWithVertexShaderSourceFragmentShaderSourceErrorMessage(
        const char* vertexShaderSource, const char* fragmentShaderSource,
        std::string* errorMessage);

    virtual ~MVShader();
    MVShader(const MVShader&) = delete;
    MVShader& operator=(const MVShader&) = delete;

    /// Ties an attribute to a slot. Takes effect at the next link.
    void bindAttributeToIndex(const char* name, std::uint32_t index);

    /// `attemptLinkWithErrorMessage` without its result.
    void link();

    /// Links the program, unless it is linked already, and looks up the standard uniforms. The
    /// stages are let go either way.
    /// @param errorMessage  optional; the driver's log is appended
    /// @return whether the program is linked
    bool attemptLinkWithErrorMessage(std::string* errorMessage);

    /// The location of a uniform, -1 for one that the program does not use.
    std::int32_t uniformLocation(const char* name);

    /// Makes this the active context's shader and uploads the matrices of what is being drawn,
    /// as they are now. All zeros are uploaded while nothing is.
    void use();

    /// Queues the binding of the program on `context`. Subclasses that set uniforms on every bind
    /// call this first. Called by `MVRenderContext::setShader` only.
    virtual void renderContextBindShader(MVRenderContext& context);

    /// The share group that the program is in; null where there is none.
    const std::shared_ptr<MVRenderGroup>& mv_group() const { return group_; }

    /// Whether a link has succeeded.
    bool isLinked() const { return linked_; }

    /// What `use` asks for matrices; null when nothing is being drawn. The source must stay alive
    /// until the next call. Thread: the drawing one.
    static MVShaderMatrixSource* mv_matrixSource();
    static void mv_setMatrixSource(MVShaderMatrixSource* source);

    /// The matrices of what is being drawn; left as they are while nothing is. Thread: the drawing
    /// one.
    static void mv_readQuadMatrices(glm::mat4& projection, glm::mat4& transform);

 protected:
    friend struct MVMaker;
    MVShader();

    /// Makes a shader of class `Shader` from sources: the initialiser of subclasses.
    template <class Shader>
    static std::shared_ptr<Shader> mv_makeWithSources(const char* vertexShaderSource,
                                                      const char* fragmentShaderSource,
                                                      std::string* errorMessage = nullptr) {
        auto shader = MVMake<Shader>();
        return shader->mv_compile(vertexShaderSource, fragmentShaderSource, errorMessage) ? shader
                                                                                          : nullptr;
    }

    /// Queues the upload of a colour to the program that is current by then.
    static void mv_setColorUniform(std::int32_t location, Mivora::ColorRGBA color);

    /// Makes the program and compiles its two stages, waiting for the GL queue.
    /// @param errorMessage  optional; the driver's log is appended
    /// @return whether both stages are attached; false without an active GL context
    bool mv_compile(const char* vertexShaderSource, const char* fragmentShaderSource,
                    std::string* errorMessage);
    /// Looks up the standard uniforms of the program.
    void mv_updateUniforms();
    /// How a quad is drawn that is recorded for this shader.
    /// @param colorUniform    the location of the colour
    /// @param samplerUniform  that of the sampler; negative for none
    MVQuadProgram mv_quadProgram(std::int32_t colorUniform, std::int32_t samplerUniform) const;
    /// Compiles one stage. In GL work only.
    /// @param shader        receives the name, which is deleted again on failure
    /// @param type          GL_VERTEX_SHADER or GL_FRAGMENT_SHADER
    /// @param source        UTF-8; the version line is put before it. Null fails
    /// @param errorMessage  optional; the driver's log is appended
    static bool mv_compileShader(std::uint32_t* shader, std::uint32_t type, const char* source,
                                 std::string* errorMessage);
    /// Links a program, waiting for the GL queue.
    /// @param errorMessage  optional; the driver's log is appended
    static bool mv_linkProgram(std::uint32_t program, std::string* errorMessage);

 private:
    void releaseStages();
    std::shared_ptr<MVRenderContext> ownContext(const char* operation) const;

    std::shared_ptr<MVRenderGroup> group_;  // where the names below are
    std::uint32_t program_ = 0;
    bool linked_ = false;
    std::uint32_t vertexShader_ = 0;
    std::uint32_t fragmentShader_ = 0;
    // 0, not -1, until a link succeeds: an unlinked shader uploads to location 0.
    std::int32_t transformMatrixUniform_ = 0;
    std::int32_t inverseTransformMatrixUniform_ = 0;
    std::int32_t projectionMatrixUniform_ = 0;
    std::int32_t transformProjectionMatrixUniform_ = 0;
};
