// `make package`: the Debian package that CPack builds, read back with dpkg-deb (its files, their
// modes and owners, its control fields and dependencies), checked by lintian, and unpacked into a
// temporary folder, where its launcher starts the toy. The package is built in the tests' own
// build folder (INSTALL_BUILD_DIR), as the installation tests build.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <filesystem>
#include <iostream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "files.h"
#include "makefile.h"
#include "process.h"
#include "toy.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr const char *APP_ID = "com.kobaltine.lumlife";  // the menu entry's, the icon's and the metainfo's name
constexpr double TOOL_SECONDS = 120.0;                   // dpkg-deb, or lintian on a loaded machine

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Run a program to its end; its standard output and error, or a failure with them
static ::testing::AssertionResult ran(const std::vector<std::string> &argv, std::string &output)
{
    int status = process_run(argv, {}, TOOL_SECONDS, output);
    if (status >= 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << argv[0] << ": "
                                         << (status < 0 ? "not run to its end" : describe_status(status)) << "\n"
                                         << output;
}

// The version that the newest entry of the release history gives, "X.Y.Z"
static std::string changelog_version()
{
    std::smatch m;
    std::string text = files_read(std::string(SOURCE_DIR) + "/dist/changelog");
    std::string first = text.substr(0, text.find('\n'));
    return std::regex_search(first, m, std::regex(R"(^lumlife \(([0-9.]+)\) )")) ? m[1].str() : "";
}

//----------------------------------------------------------------------------------
// The package built
//----------------------------------------------------------------------------------
struct PACKAGE {
    std::string version;  // from the release history
    std::string arch;     // the machine's Debian architecture
    std::string deb;      // BUILD/lumlife_<version>_<arch>.deb
};

// `make package`, and the package file it makes
static ::testing::AssertionResult build_package(PACKAGE &p)
{
    p.version = changelog_version();
    if (p.version.empty())
        return ::testing::AssertionFailure() << "dist/changelog names no version";
    if (auto r = ran({"dpkg", "--print-architecture"}, p.arch); !r)
        return r;
    p.arch = p.arch.substr(0, p.arch.find('\n'));
    p.deb = std::string(INSTALL_BUILD_DIR) + "/lumlife_" + p.version + "_" + p.arch + ".deb";
    std::filesystem::remove(p.deb);
    std::string output;
    if (auto r = makefile_run(SOURCE_DIR, "package", {std::string("BUILD=") + INSTALL_BUILD_DIR}, output); !r)
        return r;
    if (!std::filesystem::is_regular_file(p.deb))
        return ::testing::AssertionFailure() << p.deb << " was not made\n" << output;
    return ::testing::AssertionSuccess();
}

class MakePackage : public ::testing::Test {
protected:
    PACKAGE package;

    void SetUp() override
    {
        ASSERT_TRUE(build_package(package));
    }

    // A control field of the package
    std::string field(const std::string &name)
    {
        std::string value;
        EXPECT_TRUE(ran({"dpkg-deb", "--field", package.deb, name}, value));
        return value.substr(0, value.find_last_not_of('\n') + 1);
    }
};

//----------------------------------------------------------------------------------
// Contents
//----------------------------------------------------------------------------------
// The launcher in /usr/games, where Debian keeps games' commands, and the rest as `make install`
// puts it under /usr; everything owned by root, the programs runnable by all
TEST_F(MakePackage, HoldsTheLauncherTheToyItsImagesAndTheDesktopFiles)
{
    std::string listing;
    ASSERT_TRUE(ran({"dpkg-deb", "--contents", package.deb}, listing));
    // "-rwxr-xr-x root/root 555 2026-11-22 22:42 ./usr/games/lumlife"
    const std::regex entry(R"(^([-dl][rwxsStT-]{9}) (\S+)/(\S+) +[0-9]+ \S+ \S+ \./(.*)$)");
    std::map<std::string, std::string> files;  // path: mode
    for (const std::string &line : files_lines(listing)) {
        std::smatch m;
        ASSERT_TRUE(std::regex_match(line, m, entry)) << line;
        EXPECT_EQ(m[2].str() + "/" + m[3].str(), "root/root") << line;
        if (m[1].str()[0] != 'd')
            files[m[4].str()] = m[1].str();
    }
    std::set<std::string> expected = {
        "usr/games/lumlife",
        "usr/libexec/lumlife/lumlife",
        std::string("usr/share/applications/") + APP_ID + ".desktop",
        std::string("usr/share/mime/packages/") + APP_ID + ".xml",
        std::string("usr/share/metainfo/") + APP_ID + ".metainfo.xml",
        "usr/share/man/man6/lumlife.6.gz",
        "usr/share/doc/lumlife/copyright",
        "usr/share/doc/lumlife/changelog.gz",
    };
    for (const auto &image : std::filesystem::directory_iterator(std::string(SOURCE_DIR) + "/gfx"))
        if (image.path().extension() == ".png")
            expected.insert("usr/share/lumlife/gfx/" + image.path().filename().string());
    for (const auto &pattern : std::filesystem::directory_iterator(std::string(SOURCE_DIR) + "/patterns"))
        expected.insert("usr/share/lumlife/patterns/" + pattern.path().filename().string());
    for (const char *size : {"48x48", "128x128", "256x256"})
        expected.insert(std::string("usr/share/icons/hicolor/") + size + "/apps/" + APP_ID + ".png");
    std::set<std::string> got;
    for (const auto &[path, mode] : files)
        got.insert(path);
    EXPECT_EQ(got, expected) << listing;
    EXPECT_EQ(files["usr/games/lumlife"], "-rwxr-xr-x");
    EXPECT_EQ(files["usr/libexec/lumlife/lumlife"], "-rwxr-xr-x");
    EXPECT_EQ(files[std::string("usr/share/applications/") + APP_ID + ".desktop"], "-rw-r--r--");
}

// Named and versioned from the release history, in the games section, for this machine
TEST_F(MakePackage, IsNamedAndVersionedFromTheChangelog)
{
    EXPECT_EQ(field("Package"), "lumlife");
    EXPECT_EQ(field("Version"), package.version);
    EXPECT_EQ(field("Architecture"), package.arch);
    EXPECT_EQ(field("Section"), "games");
    std::string text = files_read(std::string(SOURCE_DIR) + "/dist/changelog");
    std::smatch m;
    ASSERT_TRUE(std::regex_search(text, m, std::regex(R"(\n -- ([^<]+ <[^>]+>)  )")));
    EXPECT_EQ(field("Maintainer"), m[1].str());
}

// The libraries the toy links, each from its package: the SDL 1.2 API (libsdl1.2debian, which
// sdl12-compat's shim provides too), SDL_image, SDL_mixer and OpenGL (libgl1, through which
// Mesa comes), and the C and C++ runtimes
TEST_F(MakePackage, DependsOnTheSdlImageMixerAndOpenGlLibraries)
{
    std::string depends = field("Depends");
    std::set<std::string> packages;
    const std::regex item(R"(([a-z0-9][a-z0-9+.-]*)( \([^)]*\))?)");
    for (std::sregex_iterator it(depends.begin(), depends.end(), item), end; it != end; ++it)
        packages.insert((*it)[1].str());
    for (const char *p : {"libsdl1.2debian", "libsdl-image1.2", "libsdl-mixer1.2", "libgl1", "libc6", "libstdc++6"})
        EXPECT_TRUE(packages.count(p)) << p << " is not in Depends: " << depends;
    // Versions as the libraries' symbols ask for them
    EXPECT_TRUE(std::regex_search(depends, std::regex(R"(libsdl1\.2debian \(>= 1\.2\.[0-9]+\))"))) << depends;
}

//----------------------------------------------------------------------------------
// Lintian
//----------------------------------------------------------------------------------
// No error and no warning; its notes (the hardening and stripping hints, shown) are explained
// where the package is made, dist/CMakeLists.txt
TEST_F(MakePackage, LintianFindsNoErrorOrWarning)
{
    std::string output;
    EXPECT_TRUE(ran({"lintian", "--fail-on", "error,warning", "--display-info", package.deb}, output));
    for (const std::string &line : files_lines(output))
        EXPECT_FALSE(line.rfind("E: ", 0) == 0 || line.rfind("W: ", 0) == 0) << line;
    std::cout << output;
}

//----------------------------------------------------------------------------------
// The packaged toy
//----------------------------------------------------------------------------------
// The package unpacked into a folder of the test's own: its launcher in usr/games finds the toy
// and its images relative to itself, as it does under /usr
class PackagedToy : public ToyTest {
protected:
    PACKAGE package;
    std::string root;  // where it is unpacked

    PackagedToy() : ToyTest("") {}

    void SetUp() override
    {
        ToyTest::SetUp();
        if (HasFatalFailure())
            return;
        ASSERT_TRUE(build_package(package));
        root = process_temp_dir("lumtest-deb");
        ASSERT_FALSE(root.empty());
        std::string output;
        ASSERT_TRUE(ran({"dpkg-deb", "--extract", package.deb, root}, output));
        program = root + "/usr/games/lumlife";
    }

    void TearDown() override
    {
        ToyTest::TearDown();
        process_remove_dir(root);
    }
};

TEST_F(PackagedToy, ItsLauncherStartsTheToyInTheDataFolderAndItQuitsOnEscape)
{
    ASSERT_TRUE(start());
    std::error_code error;
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(toy.pid) + "/cwd", error).string(),
              root + "/usr/share/lumlife");
    EXPECT_TRUE(logged_since_start(literal("image './gfx/font8x8.png' ") + R"([0-9]+x[0-9]+ \([0-9]+ bytes\))"))
        << process_transcript(toy);
    EXPECT_TRUE(quit_with_escape());
}
