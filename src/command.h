// command: the toy's command line.
// Without arguments nothing happens here and the toy starts as it always has. With them:
//   lumlife PATTERN                  the toy starts with the pattern opened on the game screen
//   lumlife --import PATTERN         the pattern into the saved settings, without a window
//   lumlife --step N                 the saved grid N generations on, with its rule and border
//   lumlife --export [FILE|-]        the saved grid as RLE to FILE or standard output
//   lumlife --help, --version
// The three options combine, in the order import, step, export. They need no display and no
// sound device, and the framework's log is kept off standard output (which may carry the
// exported pattern) and standard error (which carries the command's own lines). An unknown
// option prints the usage on standard error with status 2; a file that cannot be read or written
// is named, with the line and column where a pattern failed to parse, with status 1, and the
// saved grid is left as it was.
// A relative file name is taken from the folder named by LUMLIFE_CALLER_DIR when the launcher,
// which starts the toy in its data folder, has set it, else from the working directory.
// Depends on: pattern (reading pattern files, refusals), exchange (a pattern into the toy, the grid
// out as RLE), game (the settings record, its file), life (generations), lum (the application's
// name), file (the saved record, the exported file), history (an import is an undo step).
#pragma once

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr int COMMAND_START = -1;           // command_line's result: start the toy
constexpr int COMMAND_DONE = 0;             // exit statuses
constexpr int COMMAND_FAILED = 1;
constexpr int COMMAND_USAGE = 2;
constexpr unsigned COMMAND_STEPS_MAX = 1000000000u;  // the most generations one --step runs
constexpr const char *COMMAND_CALLER_DIR = "LUMLIFE_CALLER_DIR";  // where relative names are from

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
// Read and carry out the command line: COMMAND_START when the toy is to start (always so without
// arguments), else the process's exit status. `version` is what --version prints.
int command_line(int argc, char **argv, const char *version);
// Once the toy has started and loaded its settings: open the pattern the command line named, if
// any (a log line says what was opened), and save the settings at once
void command_open_pending();
