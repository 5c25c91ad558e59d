// The user's grid survives the toy's end, however it comes, and bad files and folders around it
// never hang or crash it: the real toy in a private virtual X display, drawn on, then ended from
// outside (the window destroyed, signals, a kill after the focus moved or after a timed save), or
// started with its data and settings damaged.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <fstream>
#include <string>
#include <vector>

#include "png.h"
#include "process.h"
#include "settings_record.h"
#include "toy.h"

namespace {

namespace fs = std::filesystem;

// The cells a test paints with one stroke, as the screen shows them (column, row)
constexpr int STROKE[][2] = {{20, 10}, {21, 10}, {22, 10}, {22, 11}};

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class LumlifeLifecycle : public ToyTest {
protected:
    LumlifeLifecycle() : ToyTest(LUMLIFE_PATH) {}

    // Start on an empty, still grid
    ::testing::AssertionResult start_empty(const std::vector<std::string> &overrides = {})
    {
        prepare(record_prepared({}, {{RECORD_RUNNING, 0}}));
        return start(overrides);
    }

    // Paint the stroke's cells and wait until the toy has taken all of it
    ::testing::AssertionResult paint()
    {
        for (const auto &c : STROKE) {
            int px, py;
            layout_cell_centre(view, c[0], c[1], px, py);
            auto r = point_at(px, py, &c == &STROKE[0] ? std::vector<std::string>{"mousedown", "1"}
                                                       : std::vector<std::string>{});
            if (!r)
                return r;
            if (!(r = ticked()))
                return r;
        }
        return send_and_tick({"mouseup", "1"});
    }

    // The saved file holds the stroke
    ::testing::AssertionResult saved_the_stroke()
    {
        RECORD_GRID g = record_grid(saved());
        for (const auto &c : STROKE)
            if (!g[c[0]][c[1]])
                return ::testing::AssertionFailure() << "cell (" << c[0] << ", " << c[1] << ") is not in the saved file";
        return ::testing::AssertionSuccess();
    }

    // Wait for the toy to end; its wait status goes to `status`
    ::testing::AssertionResult ends(int &status)
    {
        if (!process_wait_exit(toy, TOY_EXIT_SECONDS))
            return ::testing::AssertionFailure() << "the toy did not end\n" << process_transcript(toy);
        status = toy.status;
        return ::testing::AssertionSuccess();
    }
};

//----------------------------------------------------------------------------------
// The grid survives
//----------------------------------------------------------------------------------
TEST_F(LumlifeLifecycle, AWindowDestroyedFromOutsideSavesTheDrawingAndEndsWithStatusOne)
{
    ASSERT_TRUE(start_empty());
    ASSERT_TRUE(paint());
    ASSERT_TRUE(xdo({"windowclose", std::to_string(window)}));
    int status = 0;
    ASSERT_TRUE(ends(status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << describe_status(status);
    EXPECT_TRUE(logged_since_start("display lost \\(.*\\): saving and quitting")) << process_transcript(toy);
    EXPECT_TRUE(saved_the_stroke());
}

class LumlifeSignal : public LumlifeLifecycle, public ::testing::WithParamInterface<int> {};

TEST_P(LumlifeSignal, EndsTheToyNormallyWithTheDrawingSaved)
{
    ASSERT_TRUE(start_empty());
    ASSERT_TRUE(paint());
    ASSERT_TRUE(process_signal(toy, GetParam()));
    int status = 0;
    ASSERT_TRUE(ends(status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << describe_status(status);
    EXPECT_TRUE(logged_since_start(literal("wrote 4172 bytes"))) << process_transcript(toy);
    EXPECT_TRUE(saved_the_stroke());
}

INSTANTIATE_TEST_SUITE_P(HangUpTermAndInterrupt, LumlifeSignal, ::testing::Values(SIGHUP, SIGTERM, SIGINT),
                         [](const ::testing::TestParamInfo<int> &info) { return std::string(sigabbrev_np(info.param)); });

TEST_F(LumlifeLifecycle, WhenTheFocusMovesAwayTheDrawingIsSavedBeforeAKill)
{
    ASSERT_TRUE(start_empty());
    ASSERT_TRUE(xdo({"windowfocus", "--sync", std::to_string(window)}));
    ASSERT_TRUE(paint());
    // Another window takes the focus
    Window other = XCreateSimpleWindow(x, DefaultRootWindow(x), 0, 0, 40, 40, 0, 0, 0);
    XMapWindow(x, other);
    XSync(x, False);
    ASSERT_TRUE(xdo({"windowfocus", "--sync", std::to_string(other)}));
    ASSERT_TRUE(logged(literal("wrote 4172 bytes")));
    ASSERT_TRUE(process_signal(toy, SIGKILL));
    int status = 0;
    ASSERT_TRUE(ends(status));
    EXPECT_TRUE(saved_the_stroke());
    XDestroyWindow(x, other);
}

TEST_F(LumlifeLifecycle, ARunningGridIsSavedOnTheClockSoAKillLosesLittle)
{
    // The tests' interval: two seconds instead of a minute
    ASSERT_TRUE(start_empty({"LUM_SAVE_SECONDS=2"}));
    ASSERT_TRUE(paint());
    ASSERT_TRUE(click(layout_control(view, LAYOUT_RUN)));
    ASSERT_TRUE(logged(literal("wrote 4172 bytes")));
    ASSERT_TRUE(logged(literal("wrote 4172 bytes"))) << "a second timed save while it runs";
    ASSERT_TRUE(process_signal(toy, SIGKILL));
    int status = 0;
    ASSERT_TRUE(ends(status));
    SETTINGS_RECORD r = saved();
    EXPECT_NE(record_get32(r, RECORD_RUNNING), 0) << "saved while running";
    EXPECT_GT(record_get32(r, RECORD_STEPS), 0) << "generations after the stroke are in the file";
}

//----------------------------------------------------------------------------------
// Files that are not files
//----------------------------------------------------------------------------------
class LumlifeNotAFile : public LumlifeLifecycle, public ::testing::WithParamInterface<const char *> {};

TEST_P(LumlifeNotAFile, AsTheSettingsFileIsRefusedAtOnceAndTheToyPlays)
{
    const std::string kind = GetParam();
    const std::string path = settings_path();
    fs::create_directories(fs::path(path).parent_path());
    if (kind == "fifo")
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    else if (kind == "device")
        fs::create_symlink("/dev/zero", path);
    else
        fs::create_directory(path);
    ASSERT_TRUE(start());
    const char *what = kind == "fifo" ? "a FIFO" : kind == "device" ? "a device" : "a directory";
    EXPECT_TRUE(logged_since_start(literal("'" + path + "' is " + what + ", not a file: ignored")))
        << process_transcript(toy);
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(logged_since_start(literal("save failed: '" + path + "' is " + what + ", not a file: not replaced; the previous settings are kept")))
        << process_transcript(toy);
    EXPECT_FALSE(fs::exists(path + ".new"));
    std::error_code ignored;
    fs::remove(path, ignored);
}

INSTANTIATE_TEST_SUITE_P(FifoDeviceDirectory, LumlifeNotAFile, ::testing::Values("fifo", "device", "directory"));

//----------------------------------------------------------------------------------
// Data files
//----------------------------------------------------------------------------------
// A shell script that starts the toy from another folder
std::string start_from(const std::string &folder, const std::string &toy)
{
    const std::string script = folder + "/start.sh";
    std::ofstream(script) << "#!/bin/sh\ncd '" << folder << "' && exec '" << toy << "'\n";
    fs::permissions(script, fs::perms::owner_all);
    return script;
}

TEST_F(LumlifeLifecycle, StartedFromAnotherFolderItFindsItsImagesBesideItself)
{
    program = start_from(home, LUMLIFE_PATH);
    ASSERT_TRUE(start());
    EXPECT_TRUE(logged_since_start("'gfx/font8x8.png' is not in the working directory: reading data from '.*/'"))
        << process_transcript(toy);
    EXPECT_FALSE(logged_since_start(".*load failed")) << process_transcript(toy);
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(quit_with_escape());
}

// A copy of the toy beside a copy of its images, with one image damaged by `damage`, started from
// its folder
std::string damaged_copy(const std::string &home, const std::string &image, const std::function<void(const std::string &)> &damage)
{
    const std::string folder = home + "/copy";
    fs::create_directories(folder);
    fs::copy(fs::path(LUMLIFE_PATH).parent_path() / "gfx", folder + "/gfx", fs::copy_options::recursive);
    fs::copy_file(LUMLIFE_PATH, folder + "/lumlife");
    damage(folder + "/gfx/" + image);
    return start_from(folder, folder + "/lumlife");
}

struct DAMAGE {
    const char *name;
    void (*apply)(const std::string &path);
};

void PrintTo(const DAMAGE &d, std::ostream *os)
{
    *os << d.name;
}

const DAMAGE DAMAGES[] = {
    {"Missing", [](const std::string &path) { fs::remove(path); }},
    {"Truncated", [](const std::string &path) { fs::resize_file(path, 100); }},
    {"NotAPicture", [](const std::string &path) { std::ofstream(path, std::ios::trunc) << "not a picture"; }},
    {"OnePixel", [](const std::string &path) {
         const uint8_t pixel[4] = {255, 255, 255, 255};
         png_write(path.c_str(), 1, 1, 4, pixel);
     }},
};

class LumlifeFont : public LumlifeLifecycle, public ::testing::WithParamInterface<DAMAGE> {};

TEST_P(LumlifeFont, ThatCannotBeReadMakesTheToySaySoAndEndWithStatusOne)
{
    program = damaged_copy(home, "font8x8.png", GetParam().apply);
    ASSERT_TRUE(launch());
    ASSERT_TRUE(logged("cannot read the font 'gfx/font8x8.png' \\(looked in .*\\): nothing to draw with, quitting"));
    int status = 0;
    ASSERT_TRUE(ends(status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << describe_status(status);
}

INSTANTIATE_TEST_SUITE_P(Damaged, LumlifeFont, ::testing::ValuesIn(DAMAGES),
                         [](const ::testing::TestParamInfo<DAMAGE> &info) { return std::string(info.param.name); });

class LumlifeIcon : public LumlifeLifecycle, public ::testing::WithParamInterface<DAMAGE> {};

TEST_P(LumlifeIcon, ThatCannotBeReadIsLeftOutAndTheToyPlays)
{
    program = damaged_copy(home, "hollowtide.png", GetParam().apply);
    ASSERT_TRUE(start_empty());
    ASSERT_TRUE(paint());
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(saved_the_stroke());
}

INSTANTIATE_TEST_SUITE_P(Damaged, LumlifeIcon, ::testing::ValuesIn(DAMAGES),
                         [](const ::testing::TestParamInfo<DAMAGE> &info) { return std::string(info.param.name); });

//----------------------------------------------------------------------------------
// A full disk and a read-only home
//----------------------------------------------------------------------------------
// A start script that runs the toy in a mount namespace of its own, with `setup` run first (it
// mounts what the test wants); the files left in the save folder are copied to `out` afterwards,
// since the mounts end with the script. Status 77 when this machine allows no mounts.
std::string start_in_namespace(const std::string &folder, const std::string &setup)
{
    const std::string script = folder + "/start.sh";
    std::ofstream(script) << "#!/bin/sh\n"
                             "exec unshare -m --propagation private sh -c '\n"
                             "save=\"$HOME/.kobaltine/lumlife\"\n"
                          << setup
                          << "\n\"$TOY\"; status=$?\n"
                             "mkdir -p \"$OUT\" && cp -a \"$save\"/. \"$OUT\"/ 2>/dev/null\n"
                             "exit $status'\n";
    fs::permissions(script, fs::perms::owner_all);
    return script;
}

class LumlifeDisk : public LumlifeLifecycle {
protected:
    std::string out;  // the save folder's files after the toy ended

    void SetUp() override
    {
        LumlifeLifecycle::SetUp();
        out = home + "/out";
    }

    // Start the toy through `setup`; skipped where this machine allows no mounts
    ::testing::AssertionResult start_mounted(const std::string &setup, bool &mounted)
    {
        program = start_in_namespace(home, setup);
        mounted = std::system("unshare -m --propagation private mount -t tmpfs tmpfs /mnt >/dev/null 2>&1") == 0;
        if (!mounted)
            return ::testing::AssertionSuccess();
        return start({"TOY=" LUMLIFE_PATH, "OUT=" + out});
    }
};

TEST_F(LumlifeDisk, AFullDiskKeepsThePreviousSettingsAndTheSaveSaysSo)
{
    SETTINGS_RECORD before = record_prepared({}, {{RECORD_RUNNING, 0}, {RECORD_FREQ, 7}});
    prepare(before);
    const std::string prepared = home + "/prepared.cfg";
    fs::copy_file(settings_path(), prepared);
    bool mounted = false;
    // The save folder on a small file system holding the old settings, then filled up
    ASSERT_TRUE(start_mounted("mount -t tmpfs -o size=16k tmpfs \"$save\" || exit 77\n"
                              "cp \"" + prepared + "\" \"$save/settings.cfg\"\n"
                              "dd if=/dev/zero of=\"$save/filler\" bs=1024 count=64 2>/dev/null\n",
                              mounted));
    if (!mounted)
        GTEST_SKIP() << "this machine allows no mounts";
    ASSERT_TRUE(paint());
    int quitting;
    ASSERT_TRUE(hold_escape(quitting));
    int status = 0;
    ASSERT_TRUE(ends(status));
    EXPECT_TRUE(logged_since_start("wrote [0-9]+ bytes")) << process_transcript(toy);
    EXPECT_TRUE(logged_since_start("save failed: cannot write '.*/settings.cfg.new': No space left on device; the previous settings are kept"))
        << process_transcript(toy);
    EXPECT_TRUE(record_same(record_read(out + "/settings.cfg"), before)) << "the previous settings are untouched";
    EXPECT_FALSE(fs::exists(out + "/settings.cfg.new")) << "nothing is left behind";
}

TEST_F(LumlifeDisk, AReadOnlyHomeLetsTheToyPlayAndTheSaveSaysWhy)
{
    bool mounted = false;
    ASSERT_TRUE(start_mounted("mount -t tmpfs tmpfs \"$HOME\" && mount -o remount,ro \"$HOME\" || exit 77\n", mounted));
    if (!mounted)
        GTEST_SKIP() << "this machine allows no mounts";
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    int quitting;
    ASSERT_TRUE(hold_escape(quitting));
    int status = 0;
    ASSERT_TRUE(ends(status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << describe_status(status);
    EXPECT_TRUE(logged_since_start("save failed: cannot create the folder '.*': Read-only file system"))
        << process_transcript(toy);
}

//----------------------------------------------------------------------------------
// The environment
//----------------------------------------------------------------------------------
TEST_F(LumlifeLifecycle, ADisplayThatIsNotThereIsSaidAndTheSettingsAreKept)
{
    SETTINGS_RECORD before = record_prepared({}, {{RECORD_FREQ, 9}});
    prepare(before);
    ASSERT_TRUE(launch({"DISPLAY=:4711", "SDL_VIDEODRIVER"}));
    ASSERT_TRUE(logged(literal("No display found: quitting")));
    int status = 0;
    ASSERT_TRUE(ends(status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << describe_status(status);
    EXPECT_TRUE(record_same(saved(), before));
}

TEST_F(LumlifeLifecycle, WithoutASoundDeviceTheToyAnswersClicksAndSaves)
{
    ASSERT_TRUE(start_empty({"SDL_AUDIODRIVER=no-such-device"}));
    EXPECT_TRUE(logged_since_start("No audio device: .+")) << process_transcript(toy);
    ASSERT_TRUE(paint());
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(saved_the_stroke());
}

}  // namespace
