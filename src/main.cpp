// main: the application shell (see main.h).
#include "main.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

#include "atlas.h"
#include "file.h"
#include "game.h"
#include "lum.h"
#include "sprite.h"
#include "turtle.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int APP_LOGIC_RATE = 60;                          // ticks per second of every screen
constexpr const char *SETTINGS_FILE = "settings.cfg";       // in the per-user save directory
constexpr const char *SETTINGS_NEW_FILE = "settings.cfg.new";  // a save in progress, beside it
constexpr int DUMP_ROW = 16;                                // bytes per hex dump row

// Atlas 0: one 512 x 512 page holding the font (with the interface sprites after its 96
// characters) and the icon sheets, uploaded without filtering as 16-bit 5-5-5-1 pixels
constexpr int APP_ATLAS_SIZE = 512;
constexpr int APP_FONT_FIRST = 32;           // the font's first character
constexpr int APP_UI_SPRITES_AT = 96;        // the interface sprites follow the 96 text glyphs
constexpr int APP_SHEET_BORDER = 1;          // a transparent frame around every icon
constexpr int APP_UPLOAD_FORMAT = 3;         // 5-5-5-1
constexpr int APP_LOGO_W = 240;
constexpr int APP_LOGO_H = 64;
constexpr int APP_ICON_SIDE = 72;
constexpr std::array<const char *, 4> APP_GAME_ICONS = {
    "gfx/hollowtide.png", "gfx/orbitcrane.png", "gfx/noiseorchard.png", "gfx/umberdeep.png"};

//----------------------------------------------------------------------------------
// Module state
//----------------------------------------------------------------------------------
SPRITEFONT font8x8;
SPRITE *glyphs = nullptr;
SPRITE *sprites = nullptr;
SPRITE *icons = nullptr;
int icons_spriteid = 0;

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Build atlas 0: the font, then the maker's logo and the four game icons, in the order the
// screens address them. Missing images are reported by the atlas and leave their sprites empty.
static void load_graphics()
{
    IMAGE *atlas = atlas_get(0);
    atlas_create_texture(atlas, APP_ATLAS_SIZE, APP_ATLAS_SIZE);
    glyphs = sprite_get(sprite_count());
    atlas_load_font(atlas, &font8x8, APP_FONT_FIRST, file_data_path("gfx/font8x8.png"));
    sprites = glyphs + APP_UI_SPRITES_AT;
    icons_spriteid = sprite_count();
    icons = sprite_get(icons_spriteid);
    atlas_load_spritesheet(atlas, nullptr, APP_LOGO_W, APP_LOGO_H, 0, APP_SHEET_BORDER, file_data_path("gfx/kobaltine.png"));
    for (const char *icon : APP_GAME_ICONS)
        atlas_load_spritesheet(atlas, nullptr, APP_ICON_SIDE, APP_ICON_SIDE, 0, APP_SHEET_BORDER, file_data_path(icon));
    atlas_upload(atlas, 0, APP_UPLOAD_FORMAT);
}

// Save the record: written whole to a new file beside the old one, flushed to the disk, then
// renamed over it. A crash, a kill or a full disk during the save leaves the previous file as
// it was; a failure to open is silent.
static void save_settings()
{
    LUM_TRACE();
    game_freeze_cells();
    FILE *out = file_open_save_write(SETTINGS_NEW_FILE);
    if (!out)
        return;
    size_t written = file_write(out, &game, sizeof(game));
    int synced = file_sync(out);
    file_close(out);
    std::string new_path = file_save_path(SETTINGS_NEW_FILE);
    if (written == sizeof(game) && synced == 0)
        file_rename(new_path.c_str(), file_save_path(SETTINGS_FILE));
    else
        file_delete(new_path.c_str());
    lum_logf("wrote %d bytes\n", static_cast<int>(written));
    dump("settings", &game, static_cast<int>(sizeof(game)));
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Start-up: the defaults, the saved settings over them, and the engine configured from them
void app_state_init()
{
    // Not yet connected: the store query, the audio stream at 22050 Hz, 8 effect slots of 8
    // stages and the synthesiser switch come with the about screen and the audio modules.
    lum_set_logic_rate(APP_LOGIC_RATE);
    game_reset();
    load_graphics();
    load_settings();
    game_update_config();
    turtle_reset();
    // Not yet connected: the switch to the title screen comes with the screens; until then the
    // framework's boot screen stays current.
}

// Shut-down: runs after the framework is down and only writes the settings file
void app_state_exit()
{
    save_settings();
}

void app_state_save()
{
    save_settings();
}

// Read the settings file over the defaults. A missing file leaves the defaults; a short file
// keeps the defaults for its missing tail; values out of the screen's ranges are brought into
// range.
void load_settings()
{
    LUM_TRACE();
    FILE *in = file_open_save_read(SETTINGS_FILE);
    if (!in)
        return;
    size_t count = file_read(in, &game, sizeof(game));
    file_close(in);
    game_clamp_config();
    game_thaw_cells();
    lum_logf("read %d bytes\n", static_cast<int>(count));
    dump("settings", &game, static_cast<int>(sizeof(game)));
}

// Hex dump to standard output without the log prefix: offset, 16 bytes, their printable text
void dump(const char *desc, const void *addr, int len)
{
    const auto *bytes = static_cast<const uint8_t *>(addr);
    if (!bytes)
        len = 0;
    if (desc)
        std::printf("%s (%d bytes):\n", desc, len);
    std::array<char, DUMP_ROW + 1> text{};
    int i = 0;
    for (; i < len; i++) {
        if (i % DUMP_ROW == 0) {
            if (i != 0)
                std::printf("  %s\n", text.data());
            std::printf("  %04x ", i);
        }
        std::printf(" %02x", bytes[i]);
        text[i % DUMP_ROW] = (bytes[i] >= 32 && bytes[i] <= 126) ? static_cast<char>(bytes[i]) : '.';
        text[i % DUMP_ROW + 1] = '\0';
    }
    for (; i % DUMP_ROW != 0; i++)
        std::printf("   ");
    std::printf("  %s\n", text.data());
    std::fflush(stdout);
}
