// help: the help overlay (see help.h).
#include "help.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>

#include "atlas.h"
#include "game.h"
#include "glyphs.h"
#include "input.h"
#include "life.h"
#include "lum.h"
#include "mute.h"
#include "presets.h"
#include "shell.h"
#include "sprite.h"
#include "turtle.h"
#include "watch.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr float HELP_MARGIN = 6.0f;          // layout units from the display's left and top edges
constexpr float HELP_LINE_MIN = 9.0f;        // layout units from one line to the next, at least ...
constexpr float HELP_LINE_MAX_STEP = 12.0f;  // ... and at most
constexpr float HELP_GLYPH = 8.0f;           // the font's glyph side
constexpr float HELP_BACKDROP_ALPHA = 0.9f;  // the grid shows faintly through the overlay
constexpr float HELP_BODY_GREY = 0.9f;

// The border's name by the screen's border value
constexpr std::array<const char *, 3> HELP_BORDERS = {"Wrap", "Dead", "Live"};

// The fixed text: a line starting with '#' is a heading, drawn in the cells' colour
constexpr std::array<const char *, 24> HELP_FIXED = {
    "#LUM LIFE HELP  (any key closes)",
    "#KEYS",
    " Space       run / stop",
    " Right, N    one step",
    " R           random fill",
    " Del, BkSp   clear",
    " + -         faster / slower",
    " B           border: wrap, dead, live",
    " 0-8         birth digit on / off",
    " Shift 0-8   survival digit on / off",
    " P, Shift P  named rules: next, back",
    " Ctrl Z      undo",
    " Ctrl Y      redo (or Ctrl Shift Z)",
    " M           sound on / off",
    " H, F2, ?    this help",
    " F1 window size   F5 restart screen",
    " F9 slow motion   F12 texture atlas",
    " Esc (hold)  quit",
    "#BUTTONS",
    " B S  neighbours that give birth and",
    "      let live: B3/S23 is Life",
    " ..  display settings    ?  about",
    " Hz  generations a second  Wrap Dead",
    " Live  the edge  RAND CLR RUN STEP",
};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
static int visible = 0;
static std::array<std::array<char, HELP_LINE_MAX>, HELP_LINES> lines{};
static int line_count = 0;
static WATCH_RESULT told{};  // what the watch had found when it was last logged

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
static void add_line(const char *format, ...) __attribute__((format(printf, 1, 2)));
static void add_line(const char *format, ...)
{
    if (line_count >= HELP_LINES)
        return;
    va_list args;
    va_start(args, format);
    std::vsnprintf(lines[static_cast<size_t>(line_count)].data(), HELP_LINE_MAX, format, args);
    va_end(args);
    line_count++;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
int help_visible()
{
    return visible;
}

// Shown, the overlay's live figures are also logged in one line
void help_toggle()
{
    visible = !visible;
    told = WATCH_RESULT{};
    if (!visible) {
        lum_log("HELP: closed");
        return;
    }
    std::array<char, PRESET_RULE_TEXT_MAX> rule{};
    presets_rule_text(presets_current_birth(), presets_current_survive(), rule.data());
    const char *name = presets_current_name();
    const int border = std::clamp(game.border_mode, GAME_BORDER_WRAP, GAME_BORDER_LIVE);
    lum_logf("HELP: shown; generation %u, population %d, rule %s%s%s, border %s, speed %d, sound %s\n",
             static_cast<unsigned>(life_step_count()), help_population(), rule.data(), name ? " " : "",
             name ? name : "", HELP_BORDERS[static_cast<size_t>(border)], static_cast<int>(game.freq),
             mute_on() ? "off" : "on");
}

void help_close()
{
    if (visible)
        help_toggle();
}

// What the watch finds is logged once for each new finding while the overlay shows
void help_update()
{
    if (!visible)
        return;
    watch_update(WATCH_TICK_BUDGET);
    const WATCH_RESULT r = watch_result();
    if (r.kind == told.kind && r.generation == told.generation && r.period == told.period)
        return;
    told = r;
    char text[2][WATCH_TEXT_SIZE];
    const int n = watch_text(text);
    if (n > 0)
        lum_logf("HELP: %s%s%s\n", text[0], n > 1 ? " " : "", n > 1 ? text[1] : "");
}

int help_touches()
{
    if (!visible)
        return 1;
    if (mouse_state[0].state & INPUT_RELEASED)
        help_close();
    return 0;
}

int help_population()
{
    int n = 0;
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            n += life_cell(x, y) != 0;
    return n;
}

int help_compose()
{
    line_count = 0;
    for (const char *fixed : HELP_FIXED)
        add_line("%s", fixed);
    add_line("#NOW");
    add_line(" Generation %u   Population %d", static_cast<unsigned>(life_step_count()), help_population());
    std::array<char, PRESET_RULE_TEXT_MAX> rule{};
    presets_rule_text(presets_current_birth(), presets_current_survive(), rule.data());
    const char *name = presets_current_name();
    add_line(" Rule %s  %s", rule.data(), name ? name : "");
    const int border = std::clamp(game.border_mode, GAME_BORDER_WRAP, GAME_BORDER_LIVE);
    add_line(" Border %s  Speed %d Hz  Sound %s", HELP_BORDERS[static_cast<size_t>(border)],
             static_cast<int>(game.freq), mute_on() ? "off" : "on");
    char text[2][WATCH_TEXT_SIZE];
    const int n = watch_text(text);
    for (int i = 0; i < n; i++)
        add_line(" %s", text[i]);
    return line_count;
}

const char *help_line(int i)
{
    return i >= 0 && i < line_count ? lines[static_cast<size_t>(i)].data() : "";
}

// Drawn over everything so far: the batches plotted until now are drawn first (the glow's
// additive cells too), then a dark backdrop over the whole display and the text, then the
// rule banner on top
void help_render()
{
    if (!visible && presets_banner() <= 0)
        return;
    sprite_batch_draw(atlas_get(0));
    const TURTLE saved = turtle;
    if (visible && sprites) {
        const SPRITE &solid = sprites[MAIN_SPRITE_SOLID];
        turtle_set_angle(0.0);
        turtle_set_pos_unscaled(lum_w() / 2.0, lum_h() / 2.0);
        turtle_set_scalex(lum_w() / std::max(static_cast<double>(solid.w), 1.0));
        turtle_set_scaley(lum_h() / std::max(static_cast<double>(solid.h), 1.0));
        turtle_set_rgba(0.0, 0.0, 0.0, HELP_BACKDROP_ALPHA);
        sprite_batch_plot(&solid, 0, 0);

        const int n = help_compose();
        const float room = (static_cast<float>(play_h) - 2 * HELP_MARGIN) / static_cast<float>(std::max(n, 1));
        const float step = std::clamp(room, HELP_LINE_MIN, HELP_LINE_MAX_STEP);
        const std::array<float, 3> &head = use_clr[static_cast<size_t>(std::clamp(game.fg, 0, GAME_FG_MAX))];
        turtle_set_scale(global_scale);
        for (int i = 0; i < n; i++) {
            const char *text = help_line(i);
            const bool heading = text[0] == '#';
            if (heading)
                turtle_set_rgba(head[0], head[1], head[2], 1.0);
            else
                turtle_set_rgba(HELP_BODY_GREY, HELP_BODY_GREY, HELP_BODY_GREY, 1.0);
            const float y = HELP_MARGIN + HELP_GLYPH / 2 + step * static_cast<float>(i);
            turtle_set_pos_unscaled(HELP_MARGIN * global_scale, y * global_scale);
            plot_text(heading ? text + 1 : text, GLYPHS_ALIGN_LEFT);
        }
    }
    turtle = saved;
    presets_render();
}
