// End-to-end tests of playing from the keyboard: the real `lumlife` in a private virtual X display
// with a temporary HOME, driven with xdotool (see toy). Each key's effect is read from the saved
// "settings.cfg" and compared with the same click's; undo and redo bring back strokes, clears,
// fills, runs, rule digits and borders, also after a restart; a damaged, foreign or not-a-file
// history is said in one line while the toy plays and saves; M silences every sound, as the
// disk audio driver's recording shows, and the choice outlives a restart; the named rules go by
// with their rule lines and a banner; the help overlay comes and goes, in both orientations.
//
// NOTE: nothing here waits a fixed time for the toy: every key and click waits for its answer in
// the log, or for the log's answers to keys sent after it (see ToyTest::send_and_tick).
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "audio_capture.h"
#include "process.h"
#include "settings_record.h"
#include "toy.h"
#include "toy_layout.h"
#include "xcapture.h"

namespace fs = std::filesystem;

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int QUIET = 4;                         // a recorded frame this loud or less is silence
constexpr size_t GAP = AUDIO_DEVICE_RATE / 50;   // 20 ms of silence part two sounds
constexpr size_t SETTLE = AUDIO_DEVICE_RATE / 2; // the audio path holds far less than this
constexpr double DRAIN_SECONDS = 0.05;

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Two gliders apart on the wrapped grid
RECORD_GRID gliders()
{
    const int glider[][2] = {{11, 5}, {12, 6}, {10, 7}, {11, 7}, {12, 7}};
    RECORD_GRID g{};
    for (const auto &c : glider) {
        g[c[0]][c[1]] = 1;
        g[c[0] + 20][c[1] + 13] = 1;
    }
    return g;
}

std::string read_text(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class LumlifeKeys : public ToyTest {
protected:
    LumlifeKeys() : ToyTest(LUMLIFE_PATH) {}

    std::string save_dir() const { return home + "/.kobaltine/lumlife"; }
    std::string history_path() const { return save_dir() + "/history.dat"; }

    // A key (as xdotool names it), taken by the toy
    ::testing::AssertionResult key(const std::string &k) { return send_and_tick({"key", k}); }

    // A key whose answer is a log line
    ::testing::AssertionResult key(const std::string &k, const std::string &answer)
    {
        if (auto r = xdo({"key", k}); !r)
            return r;
        return logged(answer);
    }

    ::testing::AssertionResult start_with(const SETTINGS_RECORD &rec)
    {
        prepare(rec);
        return start();
    }

    // A stroke along row `y` of the grid from column x0 to x1 (landscape: screen cells are
    // engine cells), each cell held over a tick
    ::testing::AssertionResult stroke(int x0, int x1, int y)
    {
        auto spot = [&](int c) {
            int px, py;
            layout_cell_centre(view, c, y, px, py);
            return LAYOUT_SPOT{static_cast<double>(px), static_cast<double>(py), 1, 1};
        };
        if (auto r = press(spot(x0)); !r)
            return r;
        for (int c = x0 + 1; c <= x1; c++) {
            LAYOUT_SPOT s = spot(c);
            if (auto r = point_at(static_cast<int>(s.x), static_cast<int>(s.y)); !r)
                return r;
            if (auto r = ticked(); !r)
                return r;
        }
        return release();
    }

    // Read frames until the game screen shows (the grid's backdrop covers more than a quarter of
    // the window; the title is black but for its text) and two in a row are the same; the last
    // stays in `frame`
    ::testing::AssertionResult steady()
    {
        XCAPTURE_IMAGE last;
        return see(
            [&last](const XCAPTURE_IMAGE &im) {
                size_t lit = 0;
                for (size_t i = 0; i + 2 < im.rgb.size(); i += 3)
                    lit += im.rgb[i] > 8 || im.rgb[i + 1] > 8 || im.rgb[i + 2] > 8;
                const bool same = im.w == last.w && im.rgb == last.rgb;
                last = im;
                return same && lit > im.rgb.size() / 12;
            },
            "the game screen, settled");
    }

    // Lines since the start that match `pattern` anywhere
    int count_lines(const std::string &pattern)
    {
        std::regex re(pattern);
        int n = 0;
        for (const std::string &line : toy.lines)
            n += std::regex_search(line, re);
        return n;
    }
};

//----------------------------------------------------------------------------------
// Undo and redo
//----------------------------------------------------------------------------------
TEST_F(LumlifeKeys, AClearedStrokeComesBackWithCtrlZGoesWithCtrlYAndBothOutliveARestart)
{
    const SETTINGS_RECORD rec = record_prepared({{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 5}});
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(stroke(5, 12, 6));
    ASSERT_TRUE(key("Delete"));
    ASSERT_TRUE(key("ctrl+z", literal("UNDO: clear (1 left)")));
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD drawn = saved();
    for (int x = 0; x < RECORD_COLS; x++)
        for (int y = 0; y < RECORD_ROWS; y++)
            EXPECT_EQ(record_cell(drawn, x, y), (y == 6 && x >= 5 && x <= 12) ? 1 : 0) << x << ", " << y;
    EXPECT_EQ(record_get32(drawn, RECORD_STEPS), 5);

    // The history is kept beside the settings: a redo after a restart clears again
    ASSERT_TRUE(start());
    EXPECT_TRUE(logged_since_start(literal("history: 1 undo and 1 redo steps"))) << process_transcript(toy);
    ASSERT_TRUE(key("ctrl+y", literal("REDO: clear (0 left)")));
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD cleared = rec;
    record_put32(cleared, RECORD_STEPS, 0);
    EXPECT_TRUE(record_same(saved(), cleared));

    // ... and an undo after the next restart brings the stroke back; Ctrl+Shift+Z redoes too
    ASSERT_TRUE(start());
    ASSERT_TRUE(key("ctrl+z", literal("UNDO: clear (1 left)")));
    ASSERT_TRUE(key("ctrl+shift+z", literal("REDO: clear (0 left)")));
    ASSERT_TRUE(key("ctrl+z", literal("UNDO: clear (1 left)")));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), drawn));
}

TEST_F(LumlifeKeys, RandARunARuleDigitAndABorderAreEachUndoneToTheSavedRecord)
{
    const SETTINGS_RECORD rec = record_prepared(gliders(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 321}});
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(key("r"));
    ASSERT_TRUE(key("ctrl+z", literal("UNDO: random fill (0 left)")));
    ASSERT_TRUE(key("space"));
    for (int i = 0; i < 3; i++)
        ASSERT_TRUE(ticked());
    ASSERT_TRUE(key("space"));
    ASSERT_TRUE(key("ctrl+z", literal("UNDO: run (0 left)")));
    ASSERT_TRUE(key("6", literal("CONFIG SET: b36s23w")));
    ASSERT_TRUE(key("b", literal("CONFIG SET: b36s23d")));
    ASSERT_TRUE(key("ctrl+z", literal("UNDO: border (1 left)")));
    ASSERT_TRUE(logged(literal("RULES: B36/S23, wrap border")));
    ASSERT_TRUE(key("ctrl+z", literal("UNDO: rule digit (0 left)")));
    ASSERT_TRUE(logged(literal("RULES: B3/S23, wrap border")));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), rec));
}

TEST_F(LumlifeKeys, CtrlZDuringARunStopsItAndBringsBackTheGridAndCounterOfItsStart)
{
    const SETTINGS_RECORD rec = record_prepared(gliders(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 40}});
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(key("space"));
    for (int i = 0; i < 3; i++)
        ASSERT_TRUE(ticked());
    ASSERT_TRUE(key("ctrl+z", literal("UNDO: run (0 left)")));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), rec));
}

//----------------------------------------------------------------------------------
// Keys as clicks
//----------------------------------------------------------------------------------
TEST_F(LumlifeKeys, EveryKeySavesWhatItsButtonsClickSaves)
{
    const SETTINGS_RECORD rec =
        record_prepared(gliders(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 7}, {RECORD_FREQ, 30}});
    ASSERT_TRUE(start_with(rec));
    for (LAYOUT_CONTROL c : {LAYOUT_STEP, LAYOUT_STEP})
        ASSERT_TRUE(click(layout_control(view, c)));
    ASSERT_TRUE(click(layout_rule_digit(view, true, 6), literal("CONFIG SET: b36s23w")));
    ASSERT_TRUE(click(layout_rule_digit(view, false, 1), literal("CONFIG SET: b36s123w")));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_BORDER), literal("CONFIG SET: b36s123d")));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_BORDER), literal("CONFIG SET: b36s123l")));
    for (LAYOUT_CONTROL c : {LAYOUT_SPEED_MINUS, LAYOUT_SPEED_MINUS, LAYOUT_SPEED_PLUS, LAYOUT_CLEAR})
        ASSERT_TRUE(click(layout_control(view, c)));
    ASSERT_TRUE(quit_with_escape());
    const SETTINGS_RECORD clicked = saved();

    fs::remove_all(save_dir());
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(key("Right"));
    ASSERT_TRUE(key("n"));
    ASSERT_TRUE(key("6", literal("CONFIG SET: b36s23w")));
    ASSERT_TRUE(key("shift+1", literal("CONFIG SET: b36s123w")));
    ASSERT_TRUE(key("b", literal("CONFIG SET: b36s123d")));
    ASSERT_TRUE(key("b", literal("CONFIG SET: b36s123l")));
    for (const char *k : {"minus", "KP_Subtract", "plus", "BackSpace"})
        ASSERT_TRUE(key(k));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), clicked));

    // The rest: the keypad's +, =, Delete, RUN's Space, and every rule digit
    fs::remove_all(save_dir());
    ASSERT_TRUE(start_with(rec));
    for (const char *k : {"KP_Add", "equal", "Delete", "space"})
        ASSERT_TRUE(key(k));
    for (int n = 0; n <= 8; n++) {
        ASSERT_TRUE(key(std::to_string(n)));
        ASSERT_TRUE(key("shift+" + std::to_string(n)));
    }
    ASSERT_TRUE(quit_with_escape());
    const SETTINGS_RECORD keyed = saved();
    EXPECT_EQ(record_get32(keyed, RECORD_FREQ), 32);
    EXPECT_EQ(record_get32(keyed, RECORD_RUNNING), 1);
    for (int n = 0; n <= 8; n++) {
        EXPECT_EQ(keyed.bytes[RECORD_BPARAMS + static_cast<size_t>(n)], n == 3 ? 0 : 1) << n;
        EXPECT_EQ(keyed.bytes[RECORD_SPARAMS + static_cast<size_t>(n)], (n == 2 || n == 3) ? 0 : 1) << n;
    }
    EXPECT_TRUE(logged_since_start(literal("RULES: B01245678/S0145678, wrap border"))) << process_transcript(toy);
}

//----------------------------------------------------------------------------------
// A damaged history
//----------------------------------------------------------------------------------
struct HISTORY_DAMAGE {
    const char *name;
    const char *said;  // how the one line names it
};

class LumlifeHistoryDamage : public LumlifeKeys, public ::testing::WithParamInterface<HISTORY_DAMAGE> {};

TEST_P(LumlifeHistoryDamage, IsSaidInOneLineWhileTheToyPlaysAndSaves)
{
    const HISTORY_DAMAGE d = GetParam();
    const SETTINGS_RECORD rec = record_prepared(gliders(), {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 3}});
    prepare(rec);
    const std::string path = history_path();
    const std::string name = d.name;
    if (name == "truncated") {
        // A history's header promising one step, cut short
        std::string bytes = std::string("LUMUNDO1") + std::string("\x01\0\0\0\0\0\0\0", 8) + std::string(100, '\x55');
        std::ofstream(path, std::ios::binary) << bytes;
    } else if (name == "random") {
        std::mt19937 rng(3);
        std::string bytes(3000, '\0');
        for (char &c : bytes)
            c = static_cast<char>(rng());
        std::ofstream(path, std::ios::binary) << bytes;
    } else if (name == "directory") {
        fs::create_directory(path);
    } else {
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    }
    ASSERT_TRUE(start());
    EXPECT_TRUE(logged_since_start(literal("history: '" + path + "' is " + d.said + ": starting without undo steps")))
        << process_transcript(toy);
    EXPECT_EQ(count_lines("\\] history: "), 1) << process_transcript(toy);
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD expected = rec;
    record_set_grid(expected, record_life_next(gliders(), rec));
    record_put32(expected, RECORD_STEPS, 4);
    EXPECT_TRUE(record_same(saved(), expected));
    if (name == "directory" || name == "truncated" || name == "random") {
        // A file is replaced by the new history; a directory is left as it is
        struct stat st {};
        ASSERT_EQ(stat(path.c_str(), &st), 0);
        EXPECT_EQ(S_ISDIR(st.st_mode), name == "directory");
    }
}

INSTANTIATE_TEST_SUITE_P(TruncatedRandomDirectoryFifo, LumlifeHistoryDamage,
                         ::testing::Values(HISTORY_DAMAGE{"truncated", "damaged (cut short or too long)"},
                                           HISTORY_DAMAGE{"random", "not a history file"},
                                           HISTORY_DAMAGE{"directory", "a directory, not a file"},
                                           HISTORY_DAMAGE{"fifo", "a FIFO, not a file"}),
                         [](const ::testing::TestParamInfo<HISTORY_DAMAGE> &i) { return std::string(i.param.name); });

//----------------------------------------------------------------------------------
// Sound off
//----------------------------------------------------------------------------------
class LumlifeMute : public LumlifeKeys {
protected:
    std::string recording;

    ::testing::AssertionResult start_recorded(const std::string &file)
    {
        recording = home + "/" + file;
        if (auto r = launch({"SDL_AUDIODRIVER=disk", "SDL_DISKAUDIOFILE=" + recording}); !r)
            return r;
        return laid_out();
    }

    // Frames recorded once the recording has run SETTLE frames past now; the toy's log is read
    // meanwhile, so that it never waits on a full pipe
    ::testing::AssertionResult settled(AUDIO_RECORDING &rec)
    {
        const size_t until = audio_frames(recording) + SETTLE;
        auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(TOY_LOG_SECONDS);
        while (!audio_wait_frames(recording, until, DRAIN_SECONDS)) {
            if (!process_drain(toy) || std::chrono::steady_clock::now() >= deadline)
                return ::testing::AssertionFailure() << "the recording stopped at " << audio_frames(recording);
        }
        rec = audio_read(recording);
        return ::testing::AssertionSuccess();
    }

    // Sounds recorded from frame `from` on, once settled
    ::testing::AssertionResult sounds_since(size_t from, size_t &count)
    {
        AUDIO_RECORDING rec;
        if (auto r = settled(rec); !r)
            return r;
        count = audio_sounds(rec.left, from, rec.left.size(), QUIET, GAP).size();
        return ::testing::AssertionSuccess();
    }
};

TEST_F(LumlifeMute, MSilencesAClickUntilASecondMAndTheChoiceOutlivesARestart)
{
    const SETTINGS_RECORD rec = record_prepared({{RECORD_SHOW_STEPS, 0}});
    prepare(rec);
    ASSERT_TRUE(start_recorded("first.raw"));
    AUDIO_RECORDING title;
    ASSERT_TRUE(settled(title)) << "the title's pips are over";
    ASSERT_TRUE(key("m", literal("sound off")));
    size_t from = audio_frames(recording);
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    size_t count = 0;
    ASSERT_TRUE(sounds_since(from, count));
    EXPECT_EQ(count, 0u) << "a STEP click makes no sound";
    ASSERT_TRUE(key("m", literal("sound on")));
    from = audio_frames(recording);
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(sounds_since(from, count));
    EXPECT_GE(count, 1u) << "the click is heard again";
    ASSERT_TRUE(key("m", literal("sound off")));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_EQ(read_text(save_dir() + "/sound.cfg"), "sound off\n");
    SETTINGS_RECORD expected = rec;
    record_put32(expected, RECORD_STEPS, 2);
    EXPECT_TRUE(record_same(saved(), expected)) << "the choice is not in the settings";

    // Off from the start, the title's pips included, until M
    ASSERT_TRUE(start_recorded("second.raw"));
    EXPECT_TRUE(logged_since_start(literal("sound off"))) << process_transcript(toy);
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(sounds_since(0, count));
    EXPECT_EQ(count, 0u) << "nothing at all is heard";
    ASSERT_TRUE(key("m", literal("sound on")));
    from = audio_frames(recording);
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(sounds_since(from, count));
    EXPECT_GE(count, 1u);
    ASSERT_TRUE(quit_with_escape());
    EXPECT_EQ(read_text(save_dir() + "/sound.cfg"), "sound on\n");
}

//----------------------------------------------------------------------------------
// Named rules and the help overlay
//----------------------------------------------------------------------------------
// Pixels of a frame's top half that are (nearly) white: the banner's text
int white_in_top_half(const XCAPTURE_IMAGE &im)
{
    int n = 0;
    for (int y = 0; y < im.h / 2; y++)
        for (int x = 0; x < im.w; x++) {
            const uint8_t *p = &im.rgb[(static_cast<size_t>(y) * im.w + x) * 3];
            n += p[0] > 240 && p[1] > 240 && p[2] > 240;
        }
    return n;
}

TEST_F(LumlifeKeys, PGoesThroughTheNamedRulesWithTheirRuleLinesAndABanner)
{
    const SETTINGS_RECORD rec = record_prepared({{RECORD_SHOW_STEPS, 0}});
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(steady());
    const int before = white_in_top_half(frame);
    const std::vector<std::pair<std::string, std::string>> rules = {
        {"HighLife", "B36/S23"}, {"Seeds", "B2/S"}, {"Day & Night", "B3678/S34678"},
        {"Life without Death", "B3/S012345678"}, {"Maze", "B3/S12345"}, {"2x2", "B36/S125"},
        {"Diamoeba", "B35678/S5678"}, {"Replicator", "B1357/S1357"}, {"Morley", "B368/S245"},
        {"34 Life", "B34/S34"}, {"Anneal", "B4678/S35678"}, {"Life", "B3/S23"},
    };
    for (const auto &[name, rule] : rules) {
        ASSERT_TRUE(key("p", literal("PRESET: " + name + " " + rule)));
        if (name == "HighLife") {
            // Paused, the toy runs only a few ticks between two looks: the banner is still there
            pause();
            ASSERT_TRUE(see([before](const XCAPTURE_IMAGE &im) { return white_in_top_half(im) > before + 200; }, "the banner"));
            resume();
        }
        ASSERT_TRUE(logged(literal("RULES: " + rule + ", wrap border")));
    }
    ASSERT_TRUE(see([before](const XCAPTURE_IMAGE &im) { return white_in_top_half(im) == before; }, "the banner gone"));
    ASSERT_TRUE(key("shift+p", literal("PRESET: Anneal B4678/S35678")));
    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD expected = rec;
    for (int n = 0; n <= 8; n++) {
        expected.bytes[RECORD_BPARAMS + static_cast<size_t>(n)] = (n == 4 || n >= 6) ? 1 : 0;
        expected.bytes[RECORD_SPARAMS + static_cast<size_t>(n)] = (n == 3 || n >= 5) ? 1 : 0;
    }
    EXPECT_TRUE(record_same(saved(), expected));
}

TEST_F(LumlifeKeys, TheHelpShowsItsFiguresAndGoesWithAKeyOrAClickInBothOrientations)
{
    RECORD_GRID blinker{};
    blinker[10][10] = blinker[11][10] = blinker[12][10] = 1;
    const SETTINGS_RECORD rec = record_prepared(blinker, {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 77}, {RECORD_FREQ, 12}});
    ASSERT_TRUE(start_with(rec));
    ASSERT_TRUE(steady());
    const XCAPTURE_IMAGE plain = frame;
    ASSERT_TRUE(key("h", literal("HELP: shown; generation 77, population 3, rule B3/S23 Life, border Wrap, speed 12, sound on")));
    auto differs = [&plain](const XCAPTURE_IMAGE &im) {
        size_t n = 0;
        for (size_t i = 0; i < im.rgb.size() && i < plain.rgb.size(); i++)
            n += im.rgb[i] != plain.rgb[i];
        return n > plain.rgb.size() / 4;
    };
    ASSERT_TRUE(see(differs, "the overlay"));
    ASSERT_TRUE(key("h", literal("HELP: closed")));
    ASSERT_TRUE(see([&plain](const XCAPTURE_IMAGE &im) { return im.rgb == plain.rgb; }, "the screen as before"));
    ASSERT_TRUE(key("F2", literal("HELP: shown; generation 77, population 3, rule B3/S23 Life, border Wrap, speed 12, sound on")));
    ASSERT_TRUE(key("space", literal("HELP: closed")));
    ASSERT_TRUE(key("question", literal("HELP: shown; generation 77, population 3, rule B3/S23 Life, border Wrap, speed 12, sound on")));
    ASSERT_TRUE(see(differs, "the overlay again"));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_RUN), literal("HELP: closed")));
    ASSERT_TRUE(see([&plain](const XCAPTURE_IMAGE &im) { return im.rgb == plain.rgb; }, "the screen as before"));

    // In portrait: the overlay fits the narrow window
    ASSERT_TRUE(key("F1"));
    view = layout_view(320, 480);
    ASSERT_TRUE(find_window());
    ASSERT_TRUE(see([](const XCAPTURE_IMAGE &im) { return im.w == 320; }, "the portrait window"));
    const XCAPTURE_IMAGE portrait = frame;
    ASSERT_TRUE(key("h", literal("HELP: shown; generation 77, population 3, rule B3/S23 Life, border Wrap, speed 12, sound on")));
    ASSERT_TRUE(see([&portrait](const XCAPTURE_IMAGE &im) { return im.w == 320 && im.rgb != portrait.rgb; },
                    "the overlay in portrait"));
    ASSERT_TRUE(key("h", literal("HELP: closed")));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), rec)) << "neither the key nor the click that closed the help did more";
}

// What the pattern is doing, found while the overlay shows: a blinker, a block, a lone cell, and
// a glider on the wrapped grid (back where it started after lcm(48, 30) / 1 = 240 diagonal moves
// of 4 generations each)
TEST_F(LumlifeKeys, TheHelpSaysWhatThePatternIsDoing)
{
    struct CASE {
        std::vector<std::pair<int, int>> cells;
        int steps;
        std::string said;
    };
    const std::vector<CASE> cases = {
        {{{10, 10}, {11, 10}, {12, 10}}, 77, "HELP: oscillates with period 2 from generation 77"},
        {{{5, 5}, {6, 5}, {5, 6}, {6, 6}}, 9, "HELP: still life from generation 9"},
        {{{20, 20}}, 0, "HELP: dies out at generation 1"},
        {{{11, 5}, {12, 6}, {10, 7}, {11, 7}, {12, 7}}, 0, "HELP: oscillates with period 960 from generation 0"},
    };
    for (const CASE &c : cases) {
        SCOPED_TRACE(c.said);
        RECORD_GRID g{};
        for (const auto &[x, y] : c.cells)
            g[x][y] = 1;
        fs::remove_all(save_dir());
        ASSERT_TRUE(start_with(record_prepared(g, {{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, c.steps}})));
        ASSERT_TRUE(key("h", "HELP: shown; .*"));
        ASSERT_TRUE(logged(literal(c.said)));
        ASSERT_TRUE(quit_with_escape());
    }
}

}  // namespace
