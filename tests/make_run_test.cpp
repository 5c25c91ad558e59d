// `make run` on a fresh clone, as a newcomer runs it on a machine without a display: it builds
// only what it runs (the toy and the screenshot tool; the tests and benchmarks are neither
// configured nor built), runs the toy in a virtual X display, saves the screenshot in the build
// folder, and leaves nothing in the temporary folder. The clone is the project's source tree as
// a clone of it would hold it: the files that git tracks or would add (none that it ignores, such
// as build folders), copied from the working tree, so that uncommitted work is what is tried.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <iostream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "files.h"
#include "makefile.h"
#include "process.h"
#include "settings_record.h"
#include "toy_layout.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr double GIT_SECONDS = 60.0;

// The targets that running needs: the framework, the toolkit, the toy's modules and the toy, and
// the project's tool library and screenshot command
static const std::set<std::string> RUN_TARGETS = {"lum", "lumtoolkit", "lumlife_app", "lumlife", "lumtools", "lumshot"};

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Copy the files of the source tree that a clone would hold into `to`; false with the reason
static bool copy_as_cloned(const std::string &from, const std::string &to, std::string &error)
{
    std::string listing;
    int status = process_run({"git", "-C", from, "ls-files", "-z", "--cached", "--others", "--exclude-standard"}, {},
                             GIT_SECONDS, listing);
    if (status < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        error = "git ls-files: " + listing;
        return false;
    }
    size_t start = 0, copied = 0;
    while (start < listing.size()) {
        size_t end = listing.find('\0', start);
        if (end == std::string::npos)
            break;
        std::filesystem::path path = listing.substr(start, end - start);
        start = end + 1;
        std::filesystem::path source = std::filesystem::path(from) / path, target = std::filesystem::path(to) / path;
        std::error_code e;
        if (!std::filesystem::exists(std::filesystem::symlink_status(source, e)))
            continue;  // tracked, but deleted in the working tree
        std::filesystem::create_directories(target.parent_path(), e);
        std::filesystem::copy(source, target, std::filesystem::copy_options::copy_symlinks, e);
        if (e) {
            error = "cannot copy " + source.string() + ": " + e.message();
            return false;
        }
        copied++;
    }
    if (copied == 0)
        error = "git lists no files in " + from;
    return copied > 0;
}

//----------------------------------------------------------------------------------
// Tests
//----------------------------------------------------------------------------------
TEST(MakeRun, AFreshCloneBuildsOnlyTheToyAndTheScreenshotToolAndLeavesNothingInTmp)
{
    std::string work = process_temp_dir("lumtest-clone");
    ASSERT_FALSE(work.empty());
    const std::string clone = work + "/lumlife", tmp = work + "/tmp", home = work + "/home";
    std::filesystem::create_directories(tmp);
    std::filesystem::create_directories(home);
    std::string error;
    ASSERT_TRUE(copy_as_cloned(SOURCE_DIR, clone, error)) << error;

    // A newcomer's `make run` without a display, its temporary files going to a folder of our own
    auto began = std::chrono::steady_clock::now();
    std::string output;
    EXPECT_TRUE(makefile_run(clone, "run", {}, output,
                             {"TMPDIR=" + tmp, "HOME=" + home, "DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY",
                              "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"}));
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    std::cout << "make run on a fresh clone took " << seconds << " s\n";

    // It ran the toy headless, which saved its settings when it quit, and shot its window into the
    // build folder
    EXPECT_NE(output.find("No display found: running Lum Life"), std::string::npos) << output;
    const std::string shot = clone + "/build/lumlife-screenshot.png";
    EXPECT_NE(output.find("Screenshot saved: " + shot + "\n"), std::string::npos) << output;
    int w = 0, h = 0;
    EXPECT_TRUE(files_png_size(shot, w, h));
    EXPECT_EQ(w, LAYOUT_START_W);
    EXPECT_EQ(h, LAYOUT_START_H);
    EXPECT_EQ(record_read(record_path(home)).bytes.size(), RECORD_SIZE);

    // Configured without the tests and the benchmarks, and built only what running needs: the
    // build log names the targets, and no test or benchmark program is in the build tree
    std::string cache = files_read(clone + "/build/CMakeCache.txt");
    EXPECT_NE(cache.find("\nLUM_BUILD_TESTS:BOOL=OFF\n"), std::string::npos);
    EXPECT_NE(cache.find("\nLUM_BUILD_BENCH:BOOL=OFF\n"), std::string::npos);
    std::set<std::string> built;
    const std::regex built_line(R"(Built target (\S+))");
    for (std::sregex_iterator it(output.begin(), output.end(), built_line), end; it != end; ++it)
        built.insert((*it)[1].str());
    EXPECT_EQ(built, RUN_TARGETS) << output;
    std::set<std::string> programs;
    for (const std::string &path : files_only(files_tree(clone + "/build")))
        if (path.find("CMakeFiles/") == std::string::npos &&
            (std::filesystem::status(clone + "/build/" + path).permissions() & std::filesystem::perms::owner_exec) !=
                std::filesystem::perms::none)
            programs.insert(path);
    EXPECT_EQ(programs, (std::set<std::string>{"lumlife", "tools/lumshot"}));
    EXPECT_FALSE(std::filesystem::exists(clone + "/build/tests"));
    EXPECT_FALSE(std::filesystem::exists(clone + "/build/bench"));

    // Nothing left in the temporary folder
    EXPECT_EQ(files_tree(tmp), std::vector<std::string>{});
    process_remove_dir(work);
}
