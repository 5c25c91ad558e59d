// page: patterns in and out of the browser page around the toy's canvas (dist/web/page.js).
// The page hands over what the user brings (a file opened or dropped, pasted text, a link's
// pattern) as bytes; they are read as the pattern files of the command line are, and either
// opened (one undo step, saved at once) or refused with one line saying why, which the page
// shows, and nothing changes. The page takes the toy's grid as RLE for the clipboard, a
// download or a link. Only the browser build has it: the page calls its functions between the
// toy's ticks, and learns from page_start that the toy has read its saved settings and may take
// patterns.
// Depends on: pattern (reading what comes in, refusals), exchange (a pattern into the toy, the grid
// out as RLE), game (saving the settings record at once), history (saving the undo step with it),
// log (its lines).
#pragma once

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Once the toy has started and loaded its settings: the page may hand over patterns from now on
void page_start();

// Called by the page (exported to JavaScript):
extern "C" {
// Open `size` bytes at `bytes` from `source` (a file's name, "the clipboard", "the link"): ""
// when opened, else the refusal's line. The text lives until the next call.
const char *page_open_pattern(const char *source, const char *bytes, int size);
// The grid, rule and border as RLE; the text lives until the next call
const char *page_pattern_rle();
// The longest text page_open_pattern reads (a longer one is refused unread)
int page_read_max();
}
