#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace Mivora::tests {

/// A new, empty folder that goes with its contents at the end of the scope.
class TemporaryFolder {
 public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "mivora-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }

    /// Writes a file of the folder, with the folders its name contains.
    /// @return its path
    std::string write(const std::filesystem::path& name, std::string_view contents) const {
        const std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << contents;
        return file.string();
    }

 private:
    std::filesystem::path path_;
};

}  // namespace Mivora::tests
