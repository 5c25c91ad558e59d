// The user's grid survives the toy's end, however it comes, and bad files and folders around it
// never hang or crash it: the real toy in a private virtual X display, drawn on, then ended from
// outside (the window destroyed, signals, a kill after the focus moved or after a timed save), or
// started with its data and settings damaged.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

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

TEST_F(LumlifeLifecycle, WithoutItsFontTheToySaysSoAndEndsWithStatusOne)
{
    // A copy of the toy beside an empty image folder, started from there
    const std::string folder = home + "/copy";
    fs::create_directories(folder + "/gfx");
    fs::copy_file(LUMLIFE_PATH, folder + "/lumlife");
    std::ofstream(folder + "/gfx/font8x8.png") << "not a picture";
    program = start_from(folder, folder + "/lumlife");
    ASSERT_TRUE(launch());
    ASSERT_TRUE(logged("cannot read the font 'gfx/font8x8.png' \\(looked in .*\\): nothing to draw with, quitting"));
    int status = 0;
    ASSERT_TRUE(ends(status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << describe_status(status);
}

}  // namespace
