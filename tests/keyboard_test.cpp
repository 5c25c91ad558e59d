// Tests of playing the game screen from the keyboard, over the platform's test double: each key
// leaves the record, the grid and the sounds exactly as its button's click does (in both panels),
// held keys repeat only as a held button does, the system's own repeats are dropped, keys count on
// the game screen only; undo and redo from the keys (a run stopped, the grid, counter, rule and
// border brought back, the digits' highlights following); the named rules one by one with their
// rule lines and banner; the help overlay opened and closed by keys and clicks, its figures; and
// sound switched off and on, kept in its own file.
// A synthetic 8 x 8 font stands in for the art, as in the screen's own tests.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
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
#include "help.h"
#include "history.h"
#include "input.h"
#include "keyboard.h"
#include "life.h"
#include "lum.h"
#include "main.h"
#include "mute.h"
#include "presets.h"
#include "process.h"
#include "screens.h"
#include "sprite.h"
#include "state.h"
#include "turtle.h"
#include "wrapper.h"

namespace {

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int PAGE = 512;           // the synthetic font's page
constexpr int FONT_ATLAS = 1;       // the atlas holding the synthetic font
constexpr int FONT_BASE = 200;      // sprite index of its first glyph
constexpr int FONT_FIRST = 32;      // character code of its first glyph
constexpr int FONT_COUNT = 160;     // codes 32..191
constexpr int GLYPHS_PER_ROW = PAGE / 8;
constexpr int UI_FIRST = 96;        // `sprites` is the glyph of code 128
constexpr int HOLD = 30;            // ticks of holding before a button repeats

// SDL 1.2's key symbols, written out here
constexpr int SYM_BACKSPACE = 8, SYM_SPACE = 32, SYM_PLUS = 43, SYM_MINUS = 45, SYM_SLASH = 47, SYM_0 = 48;
constexpr int SYM_EQUALS = 61, SYM_DELETE = 127, SYM_KP_MINUS = 269, SYM_KP_PLUS = 270, SYM_RIGHT = 275;
constexpr int SYM_F2 = 283, SYM_F9 = 290, SYM_LSHIFT = 304;
constexpr int SHIFT = 1, CTRL = 2;

int sym(char letter)
{
    return letter;
}

std::string test_home;

class TempHome : public ::testing::Environment {
public:
    void SetUp() override
    {
        test_home = process_temp_dir("lumlife-keyboard-test");
        ASSERT_FALSE(test_home.empty());
        setenv("HOME", test_home.c_str(), 1);
        lum_set_app_name("lumlife");
    }
    void TearDown() override { process_remove_dir(test_home); }
};
const auto *const temp_home = ::testing::AddGlobalTestEnvironment(new TempHome);

std::string save_dir()
{
    return test_home + "/.kobaltine/lumlife";
}

std::string read_text(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// What a test compares after a key and after a click: the record (with the grid frozen into it),
// and every sound made
struct OUTCOME {
    std::vector<uint8_t> record;
    std::vector<std::string> sounds;
};

std::string sound_text(const FAKE_SOUND &s)
{
    return s.name + " " + std::to_string(s.pitch) + " " + std::to_string(s.length);
}

// The nth button with this label and value (null label: the one without)
BTN *find(const char *name, const void *data = nullptr, int nth = 0)
{
    for (int i = 0; i < btn_count; i++) {
        BTN *b = &btns[i];
        bool same = b->name && name ? std::strcmp(b->name, name) == 0 : b->name == name;
        if (same && (!data || b->data == data) && nth-- == 0)
            return b;
    }
    return nullptr;
}

BTN *digit(std::array<uint8_t, GAME_RULE_BYTES> &params, int n)
{
    for (int i = 0; i < btn_count; i++)
        if (btns[i].update == btn_param && btns[i].data == params.data() && btns[i].id == n)
            return &btns[i];
    return nullptr;
}

BTN *border_button()
{
    for (int i = 0; i < btn_count; i++)
        if (btns[i].update == btn_border_mode)
            return &btns[i];
    return nullptr;
}

int pips(float pitch)
{
    int n = 0;
    for (const FAKE_SOUND &s : fake_sounds)
        n += s.name == "sound_pip" && s.pitch == pitch && s.length == 10;
    return n;
}

// Lines of a text that start with `prefix`, after the log prefix where a line has one
int lines_with(const std::string &text, const std::string &prefix)
{
    int n = 0;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        std::string line = text.substr(pos, end == std::string::npos ? std::string::npos : end - pos);
        if (line.rfind("[lum ", 0) == 0)
            line = line.substr(line.find("] ") + 2);
        n += line.rfind(prefix, 0) == 0;
        if (end == std::string::npos)
            break;
        pos = end + 1;
    }
    return n;
}

//----------------------------------------------------------------------------------
// Fixture
//----------------------------------------------------------------------------------
class Keyboard : public ::testing::Test {
protected:
    void SetUp() override
    {
        clear_drawing_state();
        atlas_[FONT_ATLAS].image.texture_w = PAGE;
        atlas_[FONT_ATLAS].image.texture_h = PAGE;
        for (int i = 0; i < FONT_COUNT; i++) {
            SPRITE &s = sprites_[FONT_BASE + i];
            s.atlasx = static_cast<int16_t>((i % GLYPHS_PER_ROW) * 8);
            s.atlasy = static_cast<int16_t>((i / GLYPHS_PER_ROW) * 8);
            s.w = 8;
            s.h = 8;
            s.boxw = 8;
            s.boxh = 8;
            s.atlas = &atlas_[FONT_ATLAS].image;
        }
        glyphs_make_font(&font8x8, FONT_BASE, FONT_FIRST, FONT_COUNT);
        glyphs = &sprites_[FONT_BASE];
        sprites = glyphs + UI_FIRST;
        keys.fill(0);
        keyevent.fill(0);
        mouse_state.fill(MOUSE_STATE{});
        fake_sounds_reset();
        std::string cmd = "rm -rf '" + save_dir() + "' && mkdir -p '" + save_dir() + "'";
        ASSERT_EQ(std::system(cmd.c_str()), 0);
        capture_stdout([] {
            lum_set_logic_rate(60);
            game_reset();
            game_update_config();
            lum_init_audio_stream(22050, 0);
            mute_set(0);
        });
        reset_life = 0;
        take_step = 0;
        layout_mode = 0;
        debug_atlas = 0;
        history_bind(game.bparams.data(), game.sparams.data(), &game.border_mode, &config_changed);
        history_clear();
        if (help_visible())
            capture_stdout(help_close);
        keyboard_init();
        game_play = GAME_PLAY{help_touches, keyboard_update, help_render};
        state_set(&game_state);
        turtle_reset();
        set_display(960, 640);
    }

    void TearDown() override
    {
        game_play = GAME_PLAY{};
        history_bind(nullptr, nullptr, nullptr, nullptr);
        wrapper_set_key_hook(nullptr);
        clear_atlases();
    }

    void set_display(int w, int h)
    {
        fake_platform.display_w = w;
        fake_platform.display_h = h;
        capture_stdout([] {
            main_update();
            layout_buttons();
        });
        turtle_set_scale(global_scale);
    }

    std::string tick() { return capture_stdout(game_update); }

    // A key pressed and let go, through the platform's raw-key hook, and the tick that takes it
    std::string key(int s, int mods = 0)
    {
        EXPECT_NE(fake_platform.key_hook, nullptr);
        fake_platform.key_hook(1, s, mods);
        fake_platform.key_hook(0, s, mods);
        return tick();
    }

    // A click through the toolkit at a button's centre, and the tick after it
    std::string click(const BTN *b)
    {
        EXPECT_NE(b, nullptr);
        if (!b)
            return "";
        const float x = b->x;
        const float y = b->y;
        std::string out = capture_stdout([&] {
            button_do_click_ex(x, y, 0, BTN_DOWN);
            button_do_click_ex(x, y, 0, BTN_HOLD);
            button_do_click_ex(x, y, 0, BTN_UP);
        });
        return out + tick();
    }

    // A stroke on the grid from cell (x0, y0) to (x1, y1) in landscape, pointer held between
    void stroke(int x0, int x1, int y)
    {
        const BTN *grid = editor_btn;
        const float left = grid->x - grid->rx;
        const float top = grid->y - grid->ry;
        const float side = 8 * global_scale;
        auto at = [&](int cx, int state, int down) {
            mouse_state[0] = MOUSE_STATE{static_cast<int>(left + side * (cx + 0.5f)), static_cast<int>(top + side * (y + 0.5f)),
                                         state, down};
            tick();
            mouse_state[0].state = 0;
        };
        at(x0, INPUT_PRESSED, 1);
        for (int x = x0; x <= x1; x++)
            at(x, 0, 1);
        at(x1, INPUT_RELEASED, 0);
    }

    OUTCOME outcome()
    {
        game_freeze_cells();
        OUTCOME o;
        const auto *bytes = reinterpret_cast<const uint8_t *>(&game);
        o.record.assign(bytes, bytes + sizeof game);
        for (const FAKE_SOUND &s : fake_sounds)
            o.sounds.push_back(sound_text(s));
        return o;
    }

    // The same start for both ways: the defaults, a fixed grid, a fixed random generator
    void fresh_start()
    {
        capture_stdout([] {
            game_reset();
            game_update_config();
        });
        std::srand(11);
        capture_stdout([] { life_reset_random(40); });
        reset_life = take_step = 0;
        history_clear();
        fake_sounds_reset();
        capture_stdout(layout_buttons);
    }
};

//----------------------------------------------------------------------------------
// Keys act as their buttons' clicks
//----------------------------------------------------------------------------------
struct KEY_CASE {
    const char *what;
    int sym, mods;
    std::function<BTN *()> button;
};

TEST_F(Keyboard, EveryKeyLeavesTheRecordAndTheSoundsAsItsButtonsClick)
{
    const std::vector<KEY_CASE> cases = {
        {"Space: RUN", SYM_SPACE, 0, [] { return find("RUN"); }},
        {"Right: STEP", SYM_RIGHT, 0, [] { return find("STEP"); }},
        {"N: STEP", sym('n'), 0, [] { return find("STEP"); }},
        {"R: RAND", sym('r'), 0, [] { return find("RAND"); }},
        {"Delete: CLR", SYM_DELETE, 0, [] { return find("CLR"); }},
        {"Backspace: CLR", SYM_BACKSPACE, 0, [] { return find("CLR"); }},
        {"+: faster", SYM_PLUS, SHIFT, [] { return find("+", &game.freq); }},
        {"=: faster", SYM_EQUALS, 0, [] { return find("+", &game.freq); }},
        {"keypad +: faster", SYM_KP_PLUS, 0, [] { return find("+", &game.freq); }},
        {"-: slower", SYM_MINUS, 0, [] { return find("-", &game.freq); }},
        {"keypad -: slower", SYM_KP_MINUS, 0, [] { return find("-", &game.freq); }},
        {"B: border", sym('b'), 0, [] { return border_button(); }},
    };
    std::vector<KEY_CASE> all = cases;
    for (int n = 0; n <= 8; n++) {
        all.push_back({"birth digit", SYM_0 + n, 0, [n] { return digit(game.bparams, n); }});
        all.push_back({"survival digit", SYM_0 + n, SHIFT, [n] { return digit(game.sparams, n); }});
    }
    for (const KEY_CASE &c : all) {
        SCOPED_TRACE(std::string(c.what) + " sym " + std::to_string(c.sym));
        // The speed can go either way from 30; a run at 60 takes one generation a tick, whatever
        // the speed's remainder from before
        const int freq = c.sym == SYM_SPACE ? 60 : 30;
        fresh_start();
        game.freq = freq;
        click(c.button());
        const OUTCOME clicked = outcome();
        fresh_start();
        game.freq = freq;
        key(c.sym, c.mods);
        const OUTCOME keyed = outcome();
        EXPECT_EQ(keyed.record, clicked.record);
        EXPECT_EQ(keyed.sounds, clicked.sounds);
        EXPECT_FALSE(keyed.sounds.empty()) << "a key is heard";
    }
}

TEST_F(Keyboard, KeysActOnTheDisplayPanelTooAndTheMainPanelShowsIt)
{
    layout_mode = 1;
    capture_stdout(layout_buttons);
    ASSERT_EQ(find("RUN"), nullptr);
    key(SYM_0 + 5);
    key(SYM_0 + 1, SHIFT);
    key(sym('b'));
    key(SYM_MINUS);
    EXPECT_EQ(game.bparams[5], 1);
    EXPECT_EQ(game.sparams[1], 1);
    EXPECT_EQ(game.border_mode, GAME_BORDER_DEAD);
    EXPECT_EQ(game.freq, 59);
    key(SYM_SPACE);
    EXPECT_EQ(game.running, 1);
    layout_mode = 0;
    capture_stdout(layout_buttons);
    EXPECT_EQ(digit(game.bparams, 5)->highlight, 1);
    EXPECT_EQ(digit(game.sparams, 1)->highlight, 1);
}

TEST_F(Keyboard, ADigitKeyHighlightsItsButtonAndRebuildsTheRule)
{
    std::string out = key(SYM_0 + 6);
    EXPECT_EQ(digit(game.bparams, 6)->highlight, 1);
    EXPECT_EQ(lines_with(out, "CONFIG SET: b36s23w"), 1) << out;
    EXPECT_EQ(lines_with(out, "RULES: B36/S23, wrap border"), 1) << out;
    EXPECT_EQ(key(SYM_0 + 9).find("CONFIG SET"), std::string::npos) << "9 is no digit of a rule";
}

TEST_F(Keyboard, AHeldStepKeyRepeatsOnlyAsAHeldButtonDoes)
{
    const uint32_t start = life_step_count();
    fake_platform.key_hook(1, SYM_RIGHT, 0);
    tick();
    EXPECT_EQ(life_step_count(), start + 1) << "the press steps once";
    for (int i = 1; i < HOLD; i++) {
        fake_platform.key_hook(1, SYM_RIGHT, 0);  // the system's own repeats change nothing
        tick();
    }
    EXPECT_EQ(life_step_count(), start + 1);
    for (int i = 0; i < 10; i++)
        tick();
    EXPECT_EQ(life_step_count(), start + 11) << "from the 30th tick of holding, every tick";
    fake_platform.key_hook(0, SYM_RIGHT, 0);
    tick();
    tick();
    EXPECT_EQ(life_step_count(), start + 11);
}

TEST_F(Keyboard, AHeldSpeedKeyRepeatsAndAHeldSpaceDoesNot)
{
    game.freq = 10;
    fake_platform.key_hook(1, SYM_PLUS, SHIFT);
    for (int i = 0; i < HOLD + 4; i++)
        tick();
    fake_platform.key_hook(0, SYM_PLUS, SHIFT);
    // The press adds one; ticks 31 to 34 of holding one each
    EXPECT_EQ(game.freq, 10 + 1 + 4);
    fake_platform.key_hook(1, SYM_SPACE, 0);
    for (int i = 0; i < HOLD + 4; i++)
        tick();
    EXPECT_EQ(game.running, 1);
}

TEST_F(Keyboard, KeysWithCtrlOrAltOtherThanUndoAndRedoDoNothing)
{
    fresh_start();
    const OUTCOME before = outcome();
    key(sym('r'), CTRL);
    key(SYM_SPACE, 4);
    key(SYM_DELETE, CTRL);
    EXPECT_EQ(outcome().record, before.record);
    EXPECT_TRUE(fake_sounds.empty());
}

TEST_F(Keyboard, KeysOnOtherScreensAreNotTaken)
{
    state_set(&main_state);
    fake_platform.key_hook(1, SYM_SPACE, 0);
    state_set(&game_state);
    tick();
    EXPECT_EQ(game.running, 0);
}

//----------------------------------------------------------------------------------
// Undo and redo from the keys
//----------------------------------------------------------------------------------
TEST_F(Keyboard, AStrokeClearedIsBroughtBackByCtrlZAndClearedAgainByCtrlY)
{
    capture_stdout([] { life_reset_random(0); });
    stroke(3, 9, 4);
    std::vector<int> drawn;
    for (int x = 0; x < LIFE_W; x++)
        drawn.push_back(life_cell(x, 4));
    for (int x = 3; x <= 9; x++)
        EXPECT_EQ(life_cell(x, 4), 1) << x;
    click(find("CLR"));
    EXPECT_EQ(life_cell(5, 4), 0);
    fake_sounds_reset();
    std::string out = key(sym('z'), CTRL);
    EXPECT_EQ(lines_with(out, "UNDO: clear"), 1) << out;
    EXPECT_EQ(pips(1.0f), 1) << "an undo is heard";
    for (int x = 0; x < LIFE_W; x++)
        EXPECT_EQ(life_cell(x, 4), drawn[static_cast<size_t>(x)]) << x;
    out = key(sym('y'), CTRL);
    EXPECT_EQ(lines_with(out, "REDO: clear"), 1) << out;
    EXPECT_EQ(life_cell(5, 4), 0);
    key(sym('z'), CTRL);
    out = key(sym('z'), CTRL | SHIFT);
    EXPECT_EQ(lines_with(out, "REDO: clear"), 1) << out;
    key(sym('z'), CTRL);
    key(sym('z'), CTRL);
    EXPECT_EQ(life_cell(5, 4), 0) << "the stroke undone";
}

TEST_F(Keyboard, CtrlZStopsARunAndBringsBackTheGridAndCounterOfItsStart)
{
    fresh_start();
    game_freeze_cells();
    const auto cells = game.cells;
    const uint32_t steps = life_step_count();
    click(find("RUN"));
    for (int i = 0; i < 40; i++)
        tick();
    ASSERT_GT(life_step_count(), steps);
    std::string out = key(sym('z'), CTRL);
    EXPECT_EQ(lines_with(out, "UNDO: run"), 1) << out;
    EXPECT_EQ(game.running, 0);
    tick();
    EXPECT_EQ(find("RUN")->highlight, 0);
    game_freeze_cells();
    EXPECT_EQ(game.cells, cells);
    EXPECT_EQ(life_step_count(), steps);
}

TEST_F(Keyboard, ARuleDigitAndABorderAreUndoneWithTheirRuleLines)
{
    click(digit(game.bparams, 6));
    click(border_button());
    std::string out = key(sym('z'), CTRL);
    EXPECT_EQ(game.border_mode, GAME_BORDER_WRAP);
    EXPECT_EQ(lines_with(out, "CONFIG SET: b36s23w"), 1) << out;
    out = key(sym('z'), CTRL);
    EXPECT_EQ(game.bparams[6], 0);
    EXPECT_EQ(digit(game.bparams, 6)->highlight, 0);
    EXPECT_EQ(lines_with(out, "RULES: B3/S23, wrap border"), 1) << out;
    out = key(sym('z'), CTRL);
    EXPECT_EQ(lines_with(out, "UNDO: nothing to undo"), 1) << out;
}

//----------------------------------------------------------------------------------
// Named rules
//----------------------------------------------------------------------------------
TEST_F(Keyboard, PStepsThroughTwelveNamedRulesWithTheirRuleLinesAndBanner)
{
    const std::vector<std::pair<std::string, std::string>> rules = {
        {"HighLife", "B36/S23"}, {"Seeds", "B2/S"}, {"Day & Night", "B3678/S34678"},
        {"Life without Death", "B3/S012345678"}, {"Maze", "B3/S12345"}, {"2x2", "B36/S125"},
        {"Diamoeba", "B35678/S5678"}, {"Replicator", "B1357/S1357"}, {"Morley", "B368/S245"},
        {"34 Life", "B34/S34"}, {"Anneal", "B4678/S35678"}, {"Life", "B3/S23"},
    };
    ASSERT_EQ(presets_count(), 12);
    for (const auto &[name, rule] : rules) {
        SCOPED_TRACE(name);
        fake_sounds_reset();
        std::string out = key(sym('p'));
        EXPECT_EQ(lines_with(out, "PRESET: " + name + " " + rule), 1) << out;
        EXPECT_EQ(lines_with(out, "RULES: " + rule + ", wrap border"), 1) << out;
        EXPECT_GT(presets_banner(), 0);
        EXPECT_EQ(pips(1.0f), 1);
        // The toggles are what the rule's digits say, and each digit button shows it
        const size_t slash = rule.find('/');
        for (int n = 0; n <= 8; n++) {
            const char c = static_cast<char>('0' + n);
            const bool born = rule.find(c) < slash;
            const bool lives = rule.find(c, slash) != std::string::npos;
            EXPECT_EQ(game.bparams[n], born ? 1 : 0) << n;
            EXPECT_EQ(game.sparams[n], lives ? 1 : 0) << n;
            EXPECT_EQ(digit(game.bparams, n)->highlight, born ? 1 : 0) << n;
        }
        EXPECT_STREQ(presets_current_name(), name.c_str());
    }
    std::string out = key(sym('p'), SHIFT);
    EXPECT_EQ(lines_with(out, "PRESET: Anneal B4678/S35678"), 1) << out;
    for (int i = 0; i < PRESET_BANNER_TICKS; i++)
        tick();
    EXPECT_EQ(presets_banner(), 0);
}

TEST_F(Keyboard, ARuleWithoutANameGoesToTheFirstOrTheLastAndEachChoiceIsOneUndoStep)
{
    click(digit(game.bparams, 0));
    std::string out = key(sym('p'));
    EXPECT_EQ(lines_with(out, "PRESET: Life B3/S23"), 1) << out;
    key(sym('z'), CTRL);
    EXPECT_EQ(game.bparams[0], 1);
    EXPECT_EQ(presets_current_name(), nullptr);
    out = key(sym('p'), SHIFT);
    EXPECT_EQ(lines_with(out, "PRESET: Anneal B4678/S35678"), 1) << out;
}

//----------------------------------------------------------------------------------
// The help overlay
//----------------------------------------------------------------------------------
TEST_F(Keyboard, HF2AndQuestionMarkOpenTheHelpAndAnyKeyClosesIt)
{
    for (const auto &[s, mods] : std::vector<std::pair<int, int>>{{sym('h'), 0}, {SYM_F2, 0}, {SYM_SLASH, SHIFT}}) {
        SCOPED_TRACE(s);
        key(s, mods);
        EXPECT_EQ(help_visible(), 1);
        key(s, mods);
        EXPECT_EQ(help_visible(), 0);
    }
    key(sym('h'));
    fake_platform.key_hook(1, SYM_LSHIFT, SHIFT);  // a modifier alone closes nothing
    tick();
    EXPECT_EQ(help_visible(), 1);
    key(SYM_F9);  // the debug keys keep their own meaning
    EXPECT_EQ(help_visible(), 1);
    key(SYM_SPACE);
    EXPECT_EQ(help_visible(), 0);
    EXPECT_EQ(game.running, 0) << "the key that closes the help does nothing else";
}

TEST_F(Keyboard, AClickClosesTheHelpAndGoesNoFurther)
{
    key(sym('h'));
    BTN *run = find("RUN");
    mouse_state[0] = MOUSE_STATE{static_cast<int>(run->x), static_cast<int>(run->y), INPUT_PRESSED, 1};
    tick();
    mouse_state[0] = MOUSE_STATE{static_cast<int>(run->x), static_cast<int>(run->y), INPUT_RELEASED, 0};
    tick();
    mouse_state[0].state = 0;
    EXPECT_EQ(help_visible(), 0);
    EXPECT_EQ(game.running, 0);
    tick();
    EXPECT_EQ(game.running, 0);
}

TEST_F(Keyboard, TheHelpShowsTheLiveFigures)
{
    capture_stdout([] { life_reset_random(0); });
    for (int x = 0; x < 17; x++)
        life_set_cell(x, 3, 1);
    life_set_step_count(321);
    key(sym('p'));  // HighLife
    key(sym('b'));
    key(SYM_MINUS);
    key(sym('m'));
    help_compose();
    bool generation = false, rule = false, border = false;
    for (int i = 0; i < HELP_LINES; i++) {
        const std::string line = help_line(i);
        generation |= line == " Generation 321   Population 17";
        rule |= line == " Rule B36/S23  HighLife";
        border |= line == " Border Dead  Speed 59 Hz  Sound off";
    }
    EXPECT_TRUE(generation);
    EXPECT_TRUE(rule);
    EXPECT_TRUE(border);
    EXPECT_EQ(help_population(), 17);
}

// What the pattern is doing, on prepared grids: the overlay's lines and the log's one line
TEST_F(Keyboard, TheHelpSaysWhatThePatternIsDoing)
{
    struct CASE {
        std::vector<std::pair<int, int>> cells;
        uint32_t steps;
        std::vector<std::string> lines;
        std::string logged;
    };
    const std::vector<CASE> cases = {
        {{{10, 10}, {11, 10}, {12, 10}}, 77, {" oscillates with period 2", " from generation 77"},
         "HELP: oscillates with period 2 from generation 77"},
        {{{5, 5}, {6, 5}, {5, 6}, {6, 6}}, 9, {" still life from generation 9"}, "HELP: still life from generation 9"},
        {{{20, 20}}, 0, {" dies out at generation 1"}, "HELP: dies out at generation 1"},
        {{{11, 5}, {12, 6}, {10, 7}, {11, 7}, {12, 7}}, 0, {" oscillates with period 960", " from generation 0"},
         "HELP: oscillates with period 960 from generation 0"},
    };
    for (const CASE &c : cases) {
        SCOPED_TRACE(c.logged);
        capture_stdout([] { life_reset_random(0); });
        for (const auto &[x, y] : c.cells)
            life_set_cell(x, y, 1);
        life_set_step_count(c.steps);
        // Found in the tick that opens the overlay, or soon after
        std::string out = key(sym('h'));
        for (int i = 0; i < 5; i++)
            out += tick();
        EXPECT_EQ(lines_with(out, c.logged), 1) << out;
        const int n = help_compose();
        ASSERT_GE(n, static_cast<int>(c.lines.size()));
        for (size_t i = 0; i < c.lines.size(); i++)
            EXPECT_EQ(help_line(n - static_cast<int>(c.lines.size()) + static_cast<int>(i)), c.lines[i]);
        key(sym('h'));
    }
}

TEST_F(Keyboard, EveryHelpLineFitsThePortraitLayout)
{
    const int n = help_compose();
    ASSERT_GT(n, 20);
    for (int i = 0; i < n; i++) {
        std::string line = help_line(i);
        if (!line.empty() && line[0] == '#')
            line = line.substr(1);
        EXPECT_LE(line.size() * 8 + 6, 320u) << line;
    }
}

TEST_F(Keyboard, TheHelpIsDrawnOverTheGridInBothOrientations)
{
    // The font's atlas is never drawn here, so its batch keeps what one frame plotted
    auto plotted = [] {
        atlas_[FONT_ATLAS].batch[0].count = 0;
        capture_stdout(game_render);
        return atlas_[FONT_ATLAS].batch[0].count;
    };
    for (const auto &[w, h] : std::vector<std::pair<int, int>>{{960, 640}, {320, 480}}) {
        SCOPED_TRACE(w);
        set_display(w, h);
        const int without = plotted();
        key(sym('h'));
        const int with = plotted();
        // The backdrop, and each character of the text and its shadow
        int characters = 0;
        for (int i = 0; i < help_compose(); i++)
            for (const char *c = help_line(i); *c; c++)
                characters += *c != '#';
        EXPECT_EQ(with - without, 1 + 2 * characters);
        key(sym('h'));
        EXPECT_EQ(plotted(), without);
    }
}

//----------------------------------------------------------------------------------
// Sound off and on
//----------------------------------------------------------------------------------
TEST_F(Keyboard, MSwitchesSoundOffAndOnAndKeepsTheChoiceInItsOwnFile)
{
    std::string out = key(sym('m'));
    EXPECT_EQ(lines_with(out, "sound off"), 1) << out;
    EXPECT_EQ(mute_on(), 1);
    EXPECT_EQ(lum_settings.enable_synth.load(), 0);
    EXPECT_EQ(read_text(save_dir() + "/sound.cfg"), "sound off\n");
    struct stat st {};
    EXPECT_NE(stat((save_dir() + "/settings.cfg").c_str(), &st), 0) << "the settings file is not written";
    capture_stdout([] { mute_set(0); });
    capture_stdout([] { EXPECT_EQ(mute_load(), 1); });
    EXPECT_EQ(lum_settings.enable_synth.load(), 0);
    out = key(sym('m'));
    EXPECT_EQ(lines_with(out, "sound on"), 1) << out;
    EXPECT_EQ(lum_settings.enable_synth.load(), 1);
    EXPECT_EQ(read_text(save_dir() + "/sound.cfg"), "sound on\n");
}

TEST_F(Keyboard, ASoundFileOfAnythingElseIsSaidOnceAndSoundStaysOn)
{
    ASSERT_EQ(std::system(("printf 'loud' > '" + save_dir() + "/sound.cfg'").c_str()), 0);
    std::string out = capture_stdout([] { EXPECT_EQ(mute_load(), 0); });
    EXPECT_EQ(lines_with(out, "sound: '" + save_dir() + "/sound.cfg' holds neither"), 1) << out;
    ASSERT_EQ(std::system(("rm -f '" + save_dir() + "/sound.cfg' && mkdir '" + save_dir() + "/sound.cfg'").c_str()), 0);
    out = capture_stdout([] { EXPECT_EQ(mute_load(), 0); });
    EXPECT_EQ(lines_with(out, "sound: '" + save_dir() + "/sound.cfg' is a directory, not a file: sound on"), 1) << out;
}

}  // namespace
