// fuzz_settings: the settings file under libFuzzer.
// Each input is written as "settings.cfg" into the save directory of a temporary HOME and read
// over fresh defaults as start-up does (load_settings, then the rule handed to the engine); the
// record is saved as at exit, and the saved file read back. Checked:
// - after the load, every screen value lies in its range; a value that was in range, and every
//   field the screen does not range (the rule toggles, flags, reserved words, cells, counter), is
//   exactly the file's byte for byte, or the default past the end of a short file;
// - the engine holds the record's grid and counter, and the rule its toggles and border say;
// - the save leaves exactly the record's 4172 bytes in "settings.cfg", in range (so loading it
//   again gives the same record: the load keeps every value in range), and no file in progress.
// Depends on: game (the record, its loader and saver), life (the engine), file (the per-user save
// path), lum (the application name), process (the temporary HOME).
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "file.h"
#include "game.h"
#include "life.h"
#include "log.h"
#include "lum.h"
#include "process.h"

namespace {

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
std::string home;           // the temporary HOME, removed at exit
std::string settings_path;  // "settings.cfg" in its save directory
std::string new_path;       // the file a save writes before renaming it
GAME defaults;              // the record game_reset gives

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
void write_bytes(const std::string &path, const uint8_t *data, size_t size)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
    LUM_ASSERT(out.good());
}

std::vector<uint8_t> read_bytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool file_exists(const std::string &path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0;
}

// The screen's ranges, as game.h gives them
void check_in_range(const GAME &g)
{
    LUM_ASSERT(g.border_mode >= GAME_BORDER_WRAP && g.border_mode <= GAME_BORDER_LIVE);
    LUM_ASSERT(g.freq >= GAME_FREQ_MIN && g.freq <= GAME_FREQ_MAX);
    LUM_ASSERT(g.fg >= 0 && g.fg <= GAME_FG_MAX);
    LUM_ASSERT(g.bg >= 0 && g.bg <= GAME_BG_MAX);
    LUM_ASSERT(g.icon_cell >= 0 && g.icon_cell <= GAME_ICON_MAX);
    LUM_ASSERT(g.icon_grid >= 0 && g.icon_grid <= GAME_ICON_MAX);
    LUM_ASSERT(g.icon_glow == 0 || g.icon_glow == 1);
}

// A ranged value after the load: in range, and unchanged when it already was
void check_ranged(int32_t loaded, int32_t read, int32_t lo, int32_t hi)
{
    LUM_ASSERT(loaded >= lo && loaded <= hi);
    LUM_ASSERT(read < lo || read > hi || loaded == read);
}

// The loaded record against what the file held over the defaults
void check_loaded(const GAME &read)
{
    check_in_range(game);
    check_ranged(game.border_mode, read.border_mode, GAME_BORDER_WRAP, GAME_BORDER_LIVE);
    check_ranged(game.freq, read.freq, GAME_FREQ_MIN, GAME_FREQ_MAX);
    check_ranged(game.fg, read.fg, 0, GAME_FG_MAX);
    check_ranged(game.bg, read.bg, 0, GAME_BG_MAX);
    check_ranged(game.icon_cell, read.icon_cell, 0, GAME_ICON_MAX);
    check_ranged(game.icon_grid, read.icon_grid, 0, GAME_ICON_MAX);
    LUM_ASSERT(game.icon_glow == (read.icon_glow != 0 ? 1 : 0));

    // Every other byte is the file's: compare the records with the ranged fields taken out
    GAME loaded = game;
    GAME expected = read;
    for (GAME *g : {&loaded, &expected}) {
        g->border_mode = g->freq = g->fg = g->bg = 0;
        g->icon_cell = g->icon_grid = g->icon_glow = 0;
    }
    LUM_ASSERT(std::memcmp(&loaded, &expected, sizeof(GAME)) == 0);
}

// The engine after the load and the rule's set-up: the record's grid (each byte as stored, read
// back signed), its counter, and the rule of its toggles and border
void check_engine()
{
    LUM_ASSERT(life_step_count() == game.step_count);
    for (int x = 0; x < LIFE_W; x++)
        for (int y = 0; y < LIFE_H; y++)
            LUM_ASSERT(life_cell(x, y) == static_cast<int8_t>(game.cells[x][y]));
    for (int n = 0; n < LIFE_RULE_ENTRIES; n++) {
        bool born = std::find(rules_birth.begin(), rules_birth.end(), n) != rules_birth.end();
        bool kept = std::find(rules_survive.begin(), rules_survive.end(), n) != rules_survive.end();
        LUM_ASSERT(born == (game.bparams[n] != 0));
        LUM_ASSERT(kept == (game.sparams[n] != 0));
    }
    constexpr int ENGINE_BORDER[] = {LIFE_BORDER_WRAP, LIFE_BORDER_DEAD, LIFE_BORDER_LIVE};  // by GAME_BORDER_*
    LUM_ASSERT(border_mode == ENGINE_BORDER[game.border_mode]);
}

}  // namespace

//----------------------------------------------------------------------------------
// Fuzzer entry points
//----------------------------------------------------------------------------------
// A temporary HOME for the whole run: the per-user paths are computed once per process
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    home = process_temp_dir("lumlife-fuzz-settings");
    LUM_ASSERT(!home.empty());
    setenv("HOME", home.c_str(), 1);
    lum_set_app_name("lumlife");
    settings_path = file_save_path("settings.cfg");
    new_path = file_save_path("settings.cfg.new");
    game_reset();
    defaults = game;
    std::atexit([] { process_remove_dir(home); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    write_bytes(settings_path, data, size);
    GAME read = defaults;
    std::memcpy(&read, data, std::min(size, sizeof(GAME)));

    // Start-up: the defaults, the file read over them, the rule set up from the record
    game_reset();
    load_settings();
    game_update_config();
    check_loaded(read);
    check_engine();

    save_settings();
    LUM_ASSERT(!file_exists(new_path));
    std::vector<uint8_t> saved = read_bytes(settings_path);
    LUM_ASSERT(saved.size() == sizeof(GAME));
    LUM_ASSERT(std::memcmp(saved.data(), &game, sizeof(GAME)) == 0);
    check_in_range(game);
    return 0;
}
