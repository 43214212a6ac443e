#include "MivoraMac/platform/base/Resources.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "MivoraMac/platform/base/DebugLog.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/base/TemporaryFolder.h"

using Mivora::platform::DebugLog;
using Mivora::platform::Resources;
using Mivora::tests::LogCapture;
using Mivora::tests::ScopedEnvironment;
using Mivora::tests::TemporaryFolder;

namespace {

namespace fs = std::filesystem;

constexpr const char* kPathVariable = "MIVORA_RESOURCE_PATH";

fs::path executableFolder() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

/// A name that no other process uses at the same time.
std::string uniqueName(const std::string& name) {
    return std::to_string(::getpid()) + "-" + name;
}

/// A file that goes at the end of the scope, and its folder too if it was made for it.
class ScopedFile {
 public:
    explicit ScopedFile(fs::path path) : path_(std::move(path)) {
        fs::create_directories(path_.parent_path());
        std::ofstream(path_) << "text";
    }
    ~ScopedFile() {
        std::error_code ignored;
        fs::remove(path_, ignored);
        if (path_.parent_path() != executableFolder()) {
            fs::remove(path_.parent_path(), ignored);  // fails unless empty
        }
    }
    ScopedFile(const ScopedFile&) = delete;
    ScopedFile& operator=(const ScopedFile&) = delete;

 private:
    fs::path path_;
};

}  // namespace

TEST(ResourcesTest, findsFilesOfTheFolderInTheEnvironment) {
    const TemporaryFolder folder;
    const std::string file = folder.write("card.png", "picture");
    const ScopedEnvironment path(kPathVariable, folder.path().c_str());
    EXPECT_EQ(Resources::pathForResource("card.png"), file);
}

TEST(ResourcesTest, appendsTheTypeToTheName) {
    const TemporaryFolder folder;
    const std::string file = folder.write("card.png", "picture");
    const std::string twoDots = folder.write("card@2x.tar.gz", "archive");
    folder.write("card", "no extension");
    const ScopedEnvironment path(kPathVariable, folder.path().c_str());
    EXPECT_EQ(Resources::pathForResource("card", "png"), file);
    EXPECT_EQ(Resources::pathForResource("card@2x", "tar.gz"), twoDots);
    EXPECT_EQ(Resources::pathForResource("card", "jpg"), std::nullopt);
    EXPECT_EQ(Resources::pathForResource("card.png", "png"), std::nullopt);
}

TEST(ResourcesTest, findsFilesInFoldersOfTheName) {
    const TemporaryFolder folder;
    const std::string file = folder.write("shaders/blur/pass.fsh", "text");
    const ScopedEnvironment path(kPathVariable, folder.path().c_str());
    EXPECT_EQ(Resources::pathForResource("shaders/blur/pass", "fsh"), file);
    EXPECT_EQ(Resources::pathForResource("pass", "fsh"), std::nullopt);
}

TEST(ResourcesTest, earlierFoldersOfTheEnvironmentComeFirst) {
    const TemporaryFolder first;
    const TemporaryFolder second;
    const std::string inFirst = first.write("both", "1");
    second.write("both", "2");
    const std::string onlyInSecond = second.write("one", "3");
    const ScopedEnvironment path(kPathVariable,
                                 (first.path().string() + ":" + second.path().string()).c_str());
    EXPECT_EQ(Resources::pathForResource("both"), inFirst);
    EXPECT_EQ(Resources::pathForResource("one"), onlyInSecond);
}

TEST(ResourcesTest, emptyAndMissingFoldersOfTheEnvironmentArePassedOver) {
    const TemporaryFolder folder;
    const std::string file = folder.write("card", "picture");
    const std::string missing = (folder.path() / "missing").string();
    const ScopedEnvironment path(kPathVariable,
                                 ("::" + missing + "::" + folder.path().string() + ":").c_str());
    EXPECT_EQ(Resources::pathForResource("card"), file);
    EXPECT_EQ(Resources::pathForResource("nothing"), std::nullopt);
}

TEST(ResourcesTest, looksBesideTheExecutableThenInResourcesThere) {
    const std::string name = uniqueName("beside.txt");
    const ScopedEnvironment path(kPathVariable, nullptr);
    EXPECT_EQ(Resources::pathForResource(name), std::nullopt);
    const ScopedFile inResources(executableFolder() / "resources" / name);
    EXPECT_EQ(Resources::pathForResource(name), (executableFolder() / "resources" / name).string());
    {
        const ScopedFile beside(executableFolder() / name);
        EXPECT_EQ(Resources::pathForResource(name), (executableFolder() / name).string());
    }
    EXPECT_EQ(Resources::pathForResource(name), (executableFolder() / "resources" / name).string());
}

TEST(ResourcesTest, theEnvironmentComesBeforeTheExecutablesFolder) {
    const std::string name = uniqueName("environment.txt");
    const TemporaryFolder folder;
    const std::string file = folder.write(name, "text");
    const ScopedFile beside(executableFolder() / name);
    const ScopedEnvironment path(kPathVariable, folder.path().c_str());
    EXPECT_EQ(Resources::pathForResource(name), file);
    path.set("");
    EXPECT_EQ(Resources::pathForResource(name), (executableFolder() / name).string());
}

TEST(ResourcesTest, theWorkingFolderIsNotSearched) {
    const TemporaryFolder folder;
    folder.write("card", "picture");
    const ScopedEnvironment path(kPathVariable, nullptr);
    const fs::path former = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_EQ(Resources::pathForResource("card"), std::nullopt);
    fs::current_path(former);
}

TEST(ResourcesTest, missingFilesAndEmptyNamesYieldNothing) {
    const TemporaryFolder folder;
    folder.write(".png", "hidden");
    const ScopedEnvironment path(kPathVariable, folder.path().c_str());
    EXPECT_EQ(Resources::pathForResource("missing"), std::nullopt);
    EXPECT_EQ(Resources::pathForResource(""), std::nullopt);
    EXPECT_EQ(Resources::pathForResource("", "png"), std::nullopt);
}

TEST(ResourcesTest, aFolderIsNoFile) {
    const TemporaryFolder first;
    const TemporaryFolder second;
    first.write("card/inside", "text");
    const std::string file = second.write("card", "picture");
    const ScopedEnvironment path(kPathVariable, first.path().c_str());
    EXPECT_EQ(Resources::pathForResource("card"), std::nullopt);
    path.set((first.path().string() + ":" + second.path().string()).c_str());
    EXPECT_EQ(Resources::pathForResource("card"), file);
}

TEST(ResourcesTest, aLinkToAFileIsAFile) {
    const TemporaryFolder folder;
    const std::string file = folder.write("card", "picture");
    fs::create_symlink(file, folder.path() / "link");
    fs::create_symlink(folder.path() / "missing", folder.path() / "broken");
    const ScopedEnvironment path(kPathVariable, folder.path().c_str());
    EXPECT_EQ(Resources::pathForResource("link"), (folder.path() / "link").string());
    EXPECT_EQ(Resources::pathForResource("broken"), std::nullopt);
}

TEST(ResourcesTest, aTextFileIsReadWhole) {
    const TemporaryFolder folder;
    const std::string text =
        "#version 100\nvoid main() {}\r\n// \xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\x8C";
    EXPECT_EQ(Resources::readTextFile(folder.write("shader", text)), text);
    const std::string large(1'000'000, 'x');
    EXPECT_EQ(Resources::readTextFile(folder.write("large", large)), large);
}

TEST(ResourcesTest, anEmptyTextFileIsAnEmptyText) {
    const TemporaryFolder folder;
    EXPECT_EQ(Resources::readTextFile(folder.write("empty", "")), "");
}

TEST(ResourcesTest, aMissingTextFileYieldsNothingAndIsLogged) {
    const LogCapture log("gl");
    const TemporaryFolder folder;
    const std::string file = (folder.path() / "missing.vsh").string();
    EXPECT_EQ(Resources::readTextFile(file), std::nullopt);
    EXPECT_EQ(Resources::readTextFile(""), std::nullopt);
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].first, DebugLog::Category::GL);
    EXPECT_NE(lines[0].second.find(file), std::string::npos) << lines[0].second;
}

TEST(ResourcesTest, aFolderReadAsTextYieldsNothingAndIsLogged) {
    const LogCapture log("gl");
    const TemporaryFolder folder;
    EXPECT_EQ(Resources::readTextFile(folder.path().string()), std::nullopt);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_NE(log.lines()[0].second.find(folder.path().string()), std::string::npos);
}

TEST(ResourcesTest, textThatIsNotUtf8YieldsNothingAndIsLogged) {
    const TemporaryFolder folder;
    const std::vector<std::string> texts = {
        "\xFF\xFE",              // another encoding's mark
        "caf\xE9",               // Latin-1
        "\xC3",                  // cut off
        "\xC0\xAF",              // longer than need be
        "\xED\xA0\x80",          // half a surrogate pair
        "\xF4\x90\x80\x80",      // beyond the last character
        "fine until \x80 here",  // a byte that begins nothing
    };
    for (std::size_t i = 0; i < texts.size(); ++i) {
        SCOPED_TRACE(i);
        const LogCapture log("gl");
        const std::string file = folder.write("text", texts[i]);
        EXPECT_EQ(Resources::readTextFile(file), std::nullopt);
        ASSERT_EQ(log.lines().size(), 1U);
        EXPECT_EQ(log.lines()[0].second, file + " is not UTF-8 text");
    }
}

TEST(ResourcesTest, aFileThatMayNotBeReadYieldsNothing) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "the superuser may read everything";
    }
    const LogCapture log("gl");
    const TemporaryFolder folder;
    const std::string file = folder.write("secret", "text");
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    EXPECT_EQ(Resources::readTextFile(file), std::nullopt);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST(ResourcesTest, aFileWhoseReadingFailsYieldsNothing) {
    const LogCapture log("gl");
    // Opens like any file, but nothing is mapped at its beginning.
    EXPECT_EQ(Resources::readTextFile("/proc/self/mem"), std::nullopt);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST(ResourcesTest, aFailureIsWrittenOnceWhileTheCategoryIsOff) {
    const LogCapture log("");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Resources::readTextFile("/missing/file to be named once"), std::nullopt);
    }
    EXPECT_EQ(log.lines().size(), 1U);
}
