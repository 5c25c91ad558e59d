// Tests of the settings file, the game record's raw image in the per-user folder: the defaults
// without a file, the save/load round trip, damaged files of every size and value, saves that
// cannot complete and the save hook that saves only what changed, through the shell's start-up
// and exit hooks as the toy calls them. The sound effects are the recording test double.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "atlas.h"
#include "buttons.h"
#include "capture.h"
#include "core_state.h"
#include "fake_sounds.h"
#include "fake_wrapper.h"
#include "game.h"
#include "glyphs.h"
#include "input.h"
#include "life.h"
#include "lum.h"
#include "main.h"
#include "process.h"
#include "rnd.h"
#include "sine.h"
#include "sprite.h"
#include "state.h"
#include "turtle.h"

namespace {

// The per-user paths are computed once per process, so the whole test program shares one
// temporary HOME; each test starts with an empty save directory.
std::string test_home;

class TempHome : public ::testing::Environment {
public:
    void SetUp() override
    {
        test_home = process_temp_dir("lumlife-settings-test");
        ASSERT_FALSE(test_home.empty());
        setenv("HOME", test_home.c_str(), 1);
        lum_set_app_name("lumlife");
    }
    void TearDown() override { process_remove_dir(test_home); }
};
const auto *const temp_home = ::testing::AddGlobalTestEnvironment(new TempHome);

// Standard output into a pipe while it lives (a file size limit does not apply to a pipe); the
// text must fit the pipe's buffer, as a save's log does
struct PIPE_CAPTURE {
    int saved = -1;
    int fds[2] = {-1, -1};

    PIPE_CAPTURE()
    {
        std::fflush(stdout);
        if (pipe(fds) == 0) {
            saved = dup(1);
            dup2(fds[1], 1);
        }
    }

    std::string finish()
    {
        std::fflush(stdout);
        dup2(saved, 1);
        close(saved);
        close(fds[1]);
        std::string text;
        char buffer[4096];
        ssize_t n;
        while ((n = read(fds[0], buffer, sizeof buffer)) > 0)
            text.append(buffer, static_cast<size_t>(n));
        close(fds[0]);
        return text;
    }
};

// Files may grow to 1000 bytes only while it lives, with the signal of the limit ignored: a
// save's flush to the disk then fails as on a full disk
struct FULL_DISK {
    struct rlimit saved {};
    void (*old_handler)(int) = SIG_DFL;
    bool set = false;

    FULL_DISK()
    {
        if (getrlimit(RLIMIT_FSIZE, &saved) != 0)
            return;
        struct rlimit small = saved;
        small.rlim_cur = 1000;
        old_handler = std::signal(SIGXFSZ, SIG_IGN);
        set = setrlimit(RLIMIT_FSIZE, &small) == 0;
    }

    ~FULL_DISK()
    {
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, old_handler);
    }
};

std::string save_dir()
{
    return test_home + "/.kobaltine/lumlife";
}

std::string settings_path()
{
    return save_dir() + "/settings.cfg";
}

std::vector<uint8_t> read_bytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void write_bytes(const std::string &path, const std::vector<uint8_t> &bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<uint8_t> record_bytes()
{
    const auto *p = reinterpret_cast<const uint8_t *>(&game);
    return {p, p + sizeof(game)};
}

// Every cell of the engine's grid, row by row
std::vector<int> engine_grid()
{
    std::vector<int> grid;
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            grid.push_back(life_cell(x, y));
    return grid;
}

class Settings : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Make sure the directories exist, then empty the save directory
        testing::internal::CaptureStdout();
        load_settings();
        testing::internal::GetCapturedStdout();
        process_remove_dir(save_dir());
        mkdir(save_dir().c_str(), 0777);
        testing::internal::CaptureStdout();
        game_reset();
        testing::internal::GetCapturedStdout();
    }

    // Load the file over fresh defaults and configure the engine, as start-up does; returns
    // everything printed
    static std::string start_up()
    {
        testing::internal::CaptureStdout();
        game_reset();
        load_settings();
        game_update_config();
        return testing::internal::GetCapturedStdout();
    }

    static std::string save()
    {
        testing::internal::CaptureStdout();
        app_state_exit();
        return testing::internal::GetCapturedStdout();
    }

    static void expect_in_range()
    {
        EXPECT_GE(game.border_mode, 0);
        EXPECT_LE(game.border_mode, 2);
        EXPECT_GE(game.freq, 1);
        EXPECT_LE(game.freq, 60);
        EXPECT_GE(game.fg, 0);
        EXPECT_LE(game.fg, 7);
        EXPECT_GE(game.bg, 0);
        EXPECT_LE(game.bg, 8);
        EXPECT_GE(game.icon_cell, 0);
        EXPECT_LE(game.icon_cell, 15);
        EXPECT_GE(game.icon_grid, 0);
        EXPECT_LE(game.icon_grid, 15);
        EXPECT_GE(game.icon_glow, 0);
        EXPECT_LE(game.icon_glow, 1);
    }
};

TEST_F(Settings, WithoutAFileStartUpKeepsEveryDefault)
{
    std::string out = start_up();
    EXPECT_NE(out.find("load_settings\n"), std::string::npos) << out;
    EXPECT_NE(out.find("file_open_read '" + settings_path() + "': FAIL\n"), std::string::npos) << out;
    EXPECT_EQ(out.find("] read "), std::string::npos) << out;
    EXPECT_NE(out.find("CONFIG SET: b3s23w\n"), std::string::npos) << out;
    EXPECT_NE(out.find("RULES: B3/S23, wrap border\nstep 0 (random fill %50)\n"), std::string::npos) << out;
    EXPECT_EQ(game.freq, 60);
    EXPECT_EQ(game.running, 0);
    EXPECT_EQ(game.show_steps, 1);
    EXPECT_EQ(game.border_mode, 0);
    EXPECT_EQ(game.fg, 0);
    EXPECT_EQ(game.icon_cell, 0);
    EXPECT_EQ(life_step_count(), 0u);
    EXPECT_EQ(border_mode, LIFE_BORDER_WRAP);
}

TEST_F(Settings, SaveWritesTheRecordWholeAndLogsAndDumpsIt)
{
    std::string out = save();
    EXPECT_NE(out.find(": save_settings\n"), std::string::npos) << out;
    EXPECT_NE(out.find("wrote 4172 bytes\n"), std::string::npos) << out;
    EXPECT_NE(out.find("\nsettings (4172 bytes):\n  0000  "), std::string::npos) << out;
    EXPECT_NE(out.find("\n  1040  "), std::string::npos) << out;  // the last row, at 4160
    std::vector<uint8_t> file = read_bytes(settings_path());
    ASSERT_EQ(file.size(), 4172u);
    EXPECT_EQ(file, record_bytes());
    // Nothing is left beside it
    struct stat st;
    EXPECT_NE(stat((settings_path() + ".new").c_str(), &st), 0);
}

TEST_F(Settings, ASaveAndALoadGiveBackEveryByteTheGridAndTheCounter)
{
    std::mt19937 random(7);
    game.bparams = {0, 1, 0, 0, 0, 0, 1, 0, 1, 0};
    game.sparams = {1, 0, 0, 1, 0, 1, 0, 0, 0, 0};
    game.border_mode = 2;
    game.freq = 17;
    game.running = 1;
    game.show_steps = 0;
    game.fg = 5;
    game.bg = 8;
    game.icon_cell = 9;
    game.icon_grid = 15;
    game.icon_glow = 1;
    game.pad = {1, -2, 3, INT_MIN};
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            life_set_cell(x, y, random() % 3 == 0 ? 1 : 0);
    life_set_step_count(987654321u);
    std::vector<int> grid = engine_grid();
    save();
    std::vector<uint8_t> saved = record_bytes();
    EXPECT_EQ(read_bytes(settings_path()), saved);

    std::string out = start_up();
    EXPECT_NE(out.find("read 4172 bytes\n"), std::string::npos) << out;
    EXPECT_NE(out.find("settings (4172 bytes):\n"), std::string::npos) << out;
    EXPECT_EQ(record_bytes(), saved);
    EXPECT_EQ(engine_grid(), grid);
    EXPECT_EQ(life_step_count(), 987654321u);
    // The rule printed after loading matches the saved toggles
    EXPECT_NE(out.find("CONFIG SET: b168s035l\n"), std::string::npos) << out;
    EXPECT_NE(out.find("RULES: B168/S035, live border\nstep 987654321\n"), std::string::npos) << out;
}

TEST_F(Settings, TheSavedGridOutsideTheUsedCornerIsAllZero)
{
    for (int y = 0; y < LIFE_H; y++)
        for (int x = 0; x < LIFE_W; x++)
            life_set_cell(x, y, 1);
    save();
    std::vector<uint8_t> file = read_bytes(settings_path());
    ASSERT_EQ(file.size(), 4172u);
    for (int x = 0; x < 64; x++)
        for (int y = 0; y < 64; y++)
            ASSERT_EQ(file[72 + x * 64 + y], (x < 48 && y < 30) ? 1 : 0) << x << "," << y;
}

TEST_F(Settings, ARestartRestoresARunningAutomaton)
{
    game.running = 1;
    game.freq = 30;
    save();
    start_up();
    EXPECT_EQ(game.running, 1);
    EXPECT_EQ(game.freq, 30);
}

TEST_F(Settings, A72ByteFileRestoresTheSettingsAndLeavesAnEmptyGridAtCounterZero)
{
    game.freq = 12;
    game.fg = 3;
    game.bparams = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    game.bparams[2] = 1;
    std::vector<uint8_t> head = record_bytes();
    head.resize(72);
    write_bytes(settings_path(), head);
    std::string out = start_up();
    EXPECT_NE(out.find("read 72 bytes\n"), std::string::npos) << out;
    EXPECT_EQ(game.freq, 12);
    EXPECT_EQ(game.fg, 3);
    EXPECT_NE(out.find("CONFIG SET: b2s23w\n"), std::string::npos) << out;
    EXPECT_EQ(life_step_count(), 0u);
    for (int cell : engine_grid())
        ASSERT_EQ(cell, 0);
}

// A damaged file of any size with any bytes loads without a sanitizer report and leaves every
// value in range
TEST_F(Settings, DamagedFilesOfEverySizeLoadWithEveryValueInRange)
{
    std::mt19937 random(1234);
    const size_t sizes[] = {0, 1, 72, 4171, 4173, 10000};
    for (size_t size : sizes) {
        for (int pass = 0; pass < 4; pass++) {
            std::vector<uint8_t> bytes(size);
            for (uint8_t &b : bytes)
                b = static_cast<uint8_t>(pass == 0 ? 0xff : pass == 1 ? 0x80 : random());
            write_bytes(settings_path(), bytes);
            std::string out = start_up();
            size_t expected = size < 4172 ? size : 4172;
            EXPECT_NE(out.find("read " + std::to_string(expected) + " bytes\n"), std::string::npos) << size;
            EXPECT_NE(out.find("CONFIG SET: "), std::string::npos) << size;
            expect_in_range();
            for (int cell : engine_grid())
                ASSERT_TRUE(cell >= -128 && cell <= 127);
        }
    }
}

TEST_F(Settings, EveryIntegerFieldAtItsExtremesLoadsInRange)
{
    const size_t offsets[] = {20, 24, 28, 32, 36, 40, 44, 48, 52, 56, 60, 64, 68, 4168};
    const int32_t values[] = {INT_MIN, INT_MAX, -1};
    for (size_t offset : offsets) {
        for (int32_t value : values) {
            game_reset();
            std::vector<uint8_t> bytes = record_bytes();
            std::memcpy(&bytes[offset], &value, sizeof(value));
            write_bytes(settings_path(), bytes);
            start_up();
            expect_in_range();
            if (offset == 4168) {
                EXPECT_EQ(life_step_count(), static_cast<uint32_t>(value));
            }
        }
    }
}

TEST_F(Settings, TheRunningShowStepsAndPadFieldsAreKeptAsRead)
{
    game.running = -7;
    game.show_steps = INT_MAX;
    game.pad = {INT_MIN, -1, 0, 42};
    std::vector<uint8_t> bytes = record_bytes();
    write_bytes(settings_path(), bytes);
    start_up();
    EXPECT_EQ(game.running, -7);
    EXPECT_EQ(game.show_steps, INT_MAX);
    EXPECT_EQ(game.pad[0], INT_MIN);
    EXPECT_EQ(game.pad[3], 42);
}

TEST_F(Settings, AFileThatIsADirectoryLoadsAsAnEmptyFile)
{
    mkdir(settings_path().c_str(), 0777);
    std::string out = start_up();
    EXPECT_NE(out.find("CONFIG SET: b3s23w\n"), std::string::npos) << out;
    expect_in_range();
    rmdir(settings_path().c_str());
}

TEST_F(Settings, ASaveThatCannotOpenSaysWhyAndLeavesTheOldFileUntouched)
{
    std::vector<uint8_t> old(4172, 0x33);
    write_bytes(settings_path(), old);
    // The new file's name is taken by a directory: it cannot be opened for writing, even by root
    mkdir((settings_path() + ".new").c_str(), 0777);
    std::string out = save();
    EXPECT_NE(out.find("save failed: cannot create '" + settings_path() + ".new': Invalid argument\n"), std::string::npos)
        << out;
    EXPECT_EQ(out.find("wrote "), std::string::npos) << out;
    EXPECT_EQ(out.find("settings ("), std::string::npos) << out;
    EXPECT_EQ(read_bytes(settings_path()), old);
    rmdir((settings_path() + ".new").c_str());
}

TEST_F(Settings, ASaveWithoutASaveDirectorySaysWhy)
{
    process_remove_dir(save_dir());
    // A plain file where the directory should be: it cannot be created either
    write_bytes(save_dir(), {1, 2, 3});
    std::string out = save();
    EXPECT_NE(out.find("save failed: cannot create '" + settings_path() + ".new': Not a directory\n"), std::string::npos)
        << out;
    EXPECT_EQ(out.find("wrote "), std::string::npos) << out;
    out = start_up();
    EXPECT_EQ(out.find("] read "), std::string::npos) << out;
    EXPECT_NE(out.find("CONFIG SET: b3s23w\n"), std::string::npos) << out;
    std::remove(save_dir().c_str());
}

TEST_F(Settings, ADiskThatFillsDuringASaveLeavesTheOldFileUntouched)
{
    std::vector<uint8_t> old(4172, 0x44);
    write_bytes(settings_path(), old);
    {
        FULL_DISK full;
        ASSERT_TRUE(full.set);
        // NOTE: output is not captured here, since a capture goes to a file under the same limit
        app_state_exit();
    }
    EXPECT_EQ(read_bytes(settings_path()), old);
    struct stat st;
    EXPECT_NE(stat((settings_path() + ".new").c_str(), &st), 0) << "the unfinished file is removed";
    // A later save with room replaces the old file
    save();
    EXPECT_EQ(read_bytes(settings_path()), record_bytes());
}

TEST_F(Settings, ASaveThatCannotWriteSaysWhyAfterTheByteCount)
{
    std::vector<uint8_t> old(4172, 0x45);
    write_bytes(settings_path(), old);
    // Output goes into a pipe, which the file size limit does not touch
    PIPE_CAPTURE capture;
    {
        FULL_DISK full;
        ASSERT_TRUE(full.set);
        app_state_exit();
    }
    std::string out = capture.finish();
    const size_t wrote = out.find("wrote ");
    const size_t failed = out.find("save failed: cannot write '" + settings_path() + ".new': File too large; the previous settings are kept\n");
    EXPECT_NE(wrote, std::string::npos) << out;
    EXPECT_NE(failed, std::string::npos) << out;
    EXPECT_LT(wrote, failed) << out;
    EXPECT_EQ(read_bytes(settings_path()), old);
}

TEST_F(Settings, ADirectoryWhereTheSettingsBelongIsNotReplacedAndTheSaveSaysSo)
{
    mkdir(settings_path().c_str(), 0777);
    std::string out = save();
    EXPECT_NE(out.find("wrote 4172 bytes\n"), std::string::npos) << out;
    EXPECT_NE(out.find("save failed: '" + settings_path() + "' is a directory, not a file: not replaced; the previous settings are kept\n"),
              std::string::npos)
        << out;
    struct stat st;
    ASSERT_EQ(stat(settings_path().c_str(), &st), 0);
    EXPECT_TRUE(S_ISDIR(st.st_mode));
    EXPECT_NE(stat((settings_path() + ".new").c_str(), &st), 0) << "no new file is left behind";
    rmdir(settings_path().c_str());
}

TEST_F(Settings, AFifoWhereTheSettingsBelongIsIgnoredWithoutBlockingAndNotReplaced)
{
    ASSERT_EQ(mkfifo(settings_path().c_str(), 0600), 0);
    std::string out = start_up();  // an open of the FIFO would wait for a writer for ever
    EXPECT_NE(out.find("'" + settings_path() + "' is a FIFO, not a file: ignored\n"), std::string::npos) << out;
    EXPECT_NE(out.find("CONFIG SET: b3s23w\n"), std::string::npos) << out;
    out = save();
    EXPECT_NE(out.find("is a FIFO, not a file: not replaced"), std::string::npos) << out;
    struct stat st;
    ASSERT_EQ(stat(settings_path().c_str(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode));
    std::remove(settings_path().c_str());
}

TEST_F(Settings, TheSaveHookSavesOnlyWhatChanged)
{
    save();
    testing::internal::CaptureStdout();
    app_state_save();
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("save_settings"), std::string::npos) << "nothing changed since the save: " << out;
    life_set_cell(3, 4, life_cell(3, 4) ? 0 : 1);
    testing::internal::CaptureStdout();
    app_state_save();
    out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find("wrote 4172 bytes\n"), std::string::npos) << out;
    EXPECT_EQ(read_bytes(settings_path()), record_bytes());
}

}  // namespace
