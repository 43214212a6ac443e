#include "MivoraMac/platform/base/Resources.h"

#include <dlfcn.h>
#include <glib.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "MivoraMac/platform/base/DebugLog.h"

namespace Mivora::platform {

namespace {

namespace fs = std::filesystem;

fs::path executableFolder() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).parent_path();
}

/// Where `cmake --install` puts the library's data, seen from the library itself so that an
/// installation may be moved.
fs::path installedDataFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&executableFolder), &info) == 0 ||
        info.dli_fname == nullptr) {
        return {};
    }
    std::error_code error;
    const fs::path library = fs::canonical(info.dli_fname, error);
    return error ? fs::path() : library.parent_path() / MIVORA_DATA_FOLDER_FROM_LIBRARY;
}

std::vector<fs::path> searchFolders() {
    std::vector<fs::path> folders;
    if (const char* value = std::getenv("MIVORA_RESOURCE_PATH")) {
        std::string_view rest = value;
        while (!rest.empty()) {
            const std::size_t colon = rest.find(':');
            if (const std::string_view folder = rest.substr(0, colon); !folder.empty()) {
                folders.emplace_back(folder);
            }
            rest.remove_prefix(colon == std::string_view::npos ? rest.size() : colon + 1);
        }
    }
    folders.push_back(executableFolder());
    folders.push_back(executableFolder() / "resources");
    folders.push_back(installedDataFolder());
    return folders;
}

}  // namespace

std::optional<std::string> Resources::pathForResource(std::string_view name,
                                                      std::string_view type) {
    if (name.empty()) {
        return std::nullopt;
    }
    std::string file(name);
    if (!type.empty()) {
        file.append(".").append(type);
    }
    for (const fs::path& folder : searchFolders()) {
        std::error_code error;
        if (!folder.empty() && fs::is_regular_file(folder / file, error)) {
            return (folder / file).string();
        }
    }
    return std::nullopt;
}

std::optional<std::string> Resources::readTextFile(const std::string& path) {
    gchar* contents = nullptr;
    gsize length = 0;
    GError* error = nullptr;
    if (g_file_get_contents(path.c_str(), &contents, &length, &error) == FALSE) {
        DebugLog::warnOnce(DebugLog::Category::GL, "%s", error->message);
        g_error_free(error);
        return std::nullopt;
    }
    std::string text(contents, length);
    g_free(contents);
    if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) == FALSE) {
        DebugLog::warnOnce(DebugLog::Category::GL, "%s is not UTF-8 text", path.c_str());
        return std::nullopt;
    }
    return text;
}

}  // namespace Mivora::platform
