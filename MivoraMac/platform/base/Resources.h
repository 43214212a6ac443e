#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// Finds and reads the files that come with a program.
///
/// Thread: any.
class MIVORA_EXPORT Resources {
 public:
    /// The path of a resource, looked for in this order: each folder of the colon-separated
    /// environment variable `MIVORA_RESOURCE_PATH`; the folder of the executable; `resources/`
    /// beside the executable; the data folder of the library's installation.
    /// @param name  a file name, which may contain folders
    /// @param type  the extension without its dot, or empty where the name already has it
    /// @return nothing when no such file exists, or when the name is empty
    static std::optional<std::string> pathForResource(std::string_view name,
                                                      std::string_view type = {});

    /// The whole of a UTF-8 text file; nothing when it cannot be read or is not UTF-8, with the
    /// reason in the debug log (category `gl`).
    static std::optional<std::string> readTextFile(const std::string& path);
};

}  // namespace Mivora::platform
