// `make install` and `make uninstall`, end to end. The Makefile installs the toy under its
// default prefix into a temporary DESTDIR, from a build folder of the tests' own
// (INSTALL_BUILD_DIR: a developer's own installation, recorded in the main build folder, is left
// alone). The tests look at the tree it makes, put the menu entry and the metainfo through the
// desktop's own validators and the manual page through man, start the installed launcher by name
// from an unrelated folder in a private virtual X display, see the game screen, quit with Escape
// and find the settings saved; and uninstall.
#include <gtest/gtest.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "files.h"
#include "makefile.h"
#include "process.h"
#include "settings_record.h"
#include "toy.h"
#include "toy_layout.h"

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr const char *PREFIX = "usr/local";              // the Makefile's default prefix, under DESTDIR
constexpr const char *APP_ID = "com.kobaltine.lumlife";  // the menu entry's, the icon's and the metainfo's name
constexpr std::array<int, 3> ICON_SIDES = {48, 128, 256};
constexpr double TOOL_SECONDS = 60.0;                    // a validator, or man formatting the page

// The game screen in the toy's default look: live cells in colour 0, (1.0, 0.2, 0.2), drawn with
// live icon 0, a block, over the grid's backdrop, 0.3 times colour 0; dead cells with grid icon
// 0, the outline of a box
constexpr std::array<int, 3> LIVE_RGB = {255, 51, 51};
constexpr std::array<int, 3> BACKDROP_RGB = {76, 15, 15};
constexpr int COLOUR_SLACK = 3;
constexpr int INSIDE_PIXEL = 3;      // glyph pixel (3, 3): inside the block, inside the box's outline

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// Run a program to its end; succeeds when it ends with status 0 and prints nothing but what
// `quiet` allows (a line matching it)
static ::testing::AssertionResult runs_clean(const std::vector<std::string> &argv, const std::string &quiet = "^$")
{
    std::string output;
    int status = process_run(argv, {}, TOOL_SECONDS, output);
    const std::regex allowed(quiet);
    bool said = false;
    for (const std::string &line : files_lines(output))
        said = said || !std::regex_search(line, allowed);
    if (status >= 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0 && !said)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << argv[0] << " " << argv.back() << ": "
                                         << (status < 0 ? "not run to its end" : describe_status(status)) << "\n"
                                         << output;
}

// The file's mode bits, 0 when it is missing
static unsigned mode_of(const std::string &path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? st.st_mode & 07777 : 0;
}

//----------------------------------------------------------------------------------
// Installing and uninstalling
//----------------------------------------------------------------------------------
// A temporary DESTDIR, and `make install` and `make uninstall` into it
struct INSTALLATION {
    std::string work;     // the test's temporary folder
    std::string destdir;  // work/destdir
    std::string prefix;   // destdir/usr/local: where the tree is
    std::string output;   // the last make's output
};

static ::testing::AssertionResult make_in(INSTALLATION &in, const std::string &target)
{
    return makefile_run(SOURCE_DIR, target, {std::string("BUILD=") + INSTALL_BUILD_DIR, "DESTDIR=" + in.destdir},
                        in.output);
}

static ::testing::AssertionResult install(INSTALLATION &in)
{
    in.work = process_temp_dir("lumtest-install");
    if (in.work.empty())
        return ::testing::AssertionFailure() << "cannot make a temporary folder";
    in.destdir = in.work + "/destdir";
    in.prefix = in.destdir + "/" + PREFIX;
    std::filesystem::create_directory(in.destdir);
    return make_in(in, "install");
}

// Uninstall whatever is left, and remove the temporary folder
static void clean_up(INSTALLATION &in)
{
    if (in.work.empty())
        return;
    if (!std::filesystem::is_empty(in.destdir))
        make_in(in, "uninstall");
    process_remove_dir(in.work);
    in.work.clear();
}

// The files that an installation holds under DESTDIR, by the project's own lists: the images in
// gfx/, the patterns in patterns/ and the icon theme's sizes
static std::set<std::string> expected_files()
{
    const std::string p = std::string(PREFIX) + "/";
    std::set<std::string> files = {
        p + "bin/lumlife",
        p + "libexec/lumlife/lumlife",
        p + "share/applications/" + APP_ID + ".desktop",
        p + "share/mime/packages/" + APP_ID + ".xml",
        p + "share/metainfo/" + APP_ID + ".metainfo.xml",
        p + "share/man/man6/lumlife.6.gz",
        p + "share/doc/lumlife/copyright",
        p + "share/doc/lumlife/changelog.gz",
    };
    for (const auto &image : std::filesystem::directory_iterator(std::string(SOURCE_DIR) + "/gfx"))
        if (image.path().extension() == ".png")
            files.insert(p + "share/lumlife/gfx/" + image.path().filename().string());
    for (const auto &pattern : std::filesystem::directory_iterator(std::string(SOURCE_DIR) + "/patterns"))
        files.insert(p + "share/lumlife/patterns/" + pattern.path().filename().string());
    for (int side : ICON_SIDES) {
        std::string size = std::to_string(side) + "x" + std::to_string(side);
        files.insert(p + "share/icons/hicolor/" + size + "/apps/" + APP_ID + ".png");
    }
    return files;
}

class MakeInstall : public ::testing::Test {
protected:
    INSTALLATION in;

    void SetUp() override
    {
        ASSERT_TRUE(install(in));
    }

    void TearDown() override
    {
        clean_up(in);
    }
};

//----------------------------------------------------------------------------------
// The tree
//----------------------------------------------------------------------------------
// Exactly the listed files: the launcher and the executable runnable by all, the images and the
// icons as the project has them
TEST_F(MakeInstall, PutsTheLauncherTheToyItsImagesAndTheDesktopFilesUnderThePrefix)
{
    std::vector<std::string> files = files_only(files_tree(in.destdir));
    std::set<std::string> expected = expected_files();
    EXPECT_EQ(std::set<std::string>(files.begin(), files.end()), expected) << in.output;

    EXPECT_EQ(mode_of(in.prefix + "/bin/lumlife"), 0755u);
    EXPECT_EQ(mode_of(in.prefix + "/libexec/lumlife/lumlife"), 0755u);
    EXPECT_EQ(files_read(in.prefix + "/libexec/lumlife/lumlife"), files_read(LUMLIFE_PATH))
        << "the installed executable is not the one built";
    for (const auto &image : std::filesystem::directory_iterator(std::string(SOURCE_DIR) + "/gfx"))
        if (image.path().extension() == ".png") {
            std::string name = image.path().filename().string();
            EXPECT_EQ(files_read(in.prefix + "/share/lumlife/gfx/" + name), files_read(image.path()))
                << name;
            EXPECT_EQ(mode_of(in.prefix + "/share/lumlife/gfx/" + name), 0644u) << name;
        }
    for (int side : ICON_SIDES) {
        std::string size = std::to_string(side) + "x" + std::to_string(side);
        std::string icon = in.prefix + "/share/icons/hicolor/" + size + "/apps/" + APP_ID + ".png";
        int w = 0, h = 0;
        EXPECT_TRUE(files_png_size(icon, w, h)) << icon;
        EXPECT_EQ(w, side) << icon;
        EXPECT_EQ(h, side) << icon;
        EXPECT_EQ(files_read(icon), files_read(std::string(SOURCE_DIR) + "/dist/icon-" + std::to_string(side) + ".png"))
            << icon;
    }
}

// The menu entry starts `lumlife` from the PATH with the installed icon; its window's class, which
// desktops match the entry's StartupWMClass with, is checked where the toy runs below
TEST_F(MakeInstall, TheMenuEntryRunsTheLauncherWithTheIcon)
{
    std::string path = in.prefix + "/share/applications/" + APP_ID + ".desktop";
    std::vector<std::string> entry = files_lines(files_read(path));
    for (const char *line : {"Type=Application", "Name=Lum Life", "Exec=lumlife %f", "Terminal=false",
                             "Categories=Game;Simulation;", "StartupWMClass=lumlife",
                             "MimeType=application/x-life-rle;application/x-life-cells;application/x-life;"})
        EXPECT_NE(std::find(entry.begin(), entry.end(), line), entry.end()) << line;
    EXPECT_NE(std::find(entry.begin(), entry.end(), std::string("Icon=") + APP_ID), entry.end());
}

// The freedesktop.org tools find nothing to say, not even a pedantic note: the menu entry, the
// metainfo alone, and the metainfo within the installed tree (its launchable entry, its icon)
TEST_F(MakeInstall, TheMenuEntryAndTheMetainfoPassTheirValidators)
{
    EXPECT_TRUE(runs_clean({"desktop-file-validate", in.prefix + "/share/applications/" + APP_ID + ".desktop"}));
    const std::string appstream_ok = "^(✔ Validation was successful\\.)?$";
    EXPECT_TRUE(runs_clean({"appstreamcli", "validate", "--no-net", "--strict", "--pedantic",
                            in.prefix + "/share/metainfo/" + APP_ID + ".metainfo.xml"},
                           appstream_ok));
    EXPECT_TRUE(runs_clean({"appstreamcli", "validate-tree", "--no-net", "--strict", "--pedantic", in.prefix},
                           appstream_ok));
}

// The pattern files' MIME types: well-formed XML that the desktop's own tool takes into a MIME
// database beside the system's types, after which files are known by their names and, where an
// extension is shared (*.rle with an image format) or missing, by their content; the menu entry
// is then the application for all three types
TEST_F(MakeInstall, ThePatternTypesTakeFilesByNameAndContentAndOpenWithTheMenuEntry)
{
    const std::string xml = in.prefix + "/share/mime/packages/" + APP_ID + ".xml";
    EXPECT_TRUE(runs_clean({"xmllint", "--noout", xml}));
    const std::string data = in.work + "/xdg";
    std::filesystem::create_directories(data + "/mime/packages");
    std::filesystem::copy_file("/usr/share/mime/packages/freedesktop.org.xml", data + "/mime/packages/freedesktop.org.xml");
    std::filesystem::copy_file(xml, data + "/mime/packages/" + APP_ID + ".xml");
    // The desktop's lookups see only this database, and the installed launcher on the PATH (an
    // entry whose program is not there is not offered)
    const char *path = std::getenv("PATH");
    const std::vector<std::string> env = {"XDG_DATA_DIRS=" + data, "XDG_DATA_HOME=" + in.work + "/no-home",
                                          "XDG_CONFIG_HOME=" + in.work + "/no-home", "XDG_CONFIG_DIRS=" + in.work + "/no-home",
                                          "PATH=" + in.prefix + "/bin:" + (path ? path : "")};
    auto runs = [&env](const std::vector<std::string> &argv) {
        std::string output;
        int status = process_run(argv, env, TOOL_SECONDS, output);
        return ::testing::AssertionResult(WIFEXITED(status) && WEXITSTATUS(status) == 0) << argv[0] << ": " << output;
    };
    ASSERT_TRUE(runs({"update-mime-database", data + "/mime"}));
    std::filesystem::create_directories(data + "/applications");
    std::filesystem::copy_file(in.prefix + "/share/applications/" + APP_ID + ".desktop",
                               data + "/applications/" + APP_ID + ".desktop");
    ASSERT_TRUE(runs({"update-desktop-database", data + "/applications"}));
    const std::string files = in.work + "/files";
    std::filesystem::create_directories(files);
    struct CASE {
        std::string name, text, type;
    };
    const std::vector<CASE> cases = {
        {"glider.rle", files_read(std::string(SOURCE_DIR) + "/patterns/glider.rle"), "application/x-life-rle"},
        {"plain.rle", "x = 3, y = 1\n3o!\n", "application/x-life-rle"},
        {"glider.cells", "!Name: Glider\n.O.\n..O\nOOO\n", "application/x-life-cells"},
        {"glider.lif", "#Life 1.06\n0 0\n", "application/x-life"},
        {"glider.life", "#Life 1.05\n#P 0 0\n***\n", "application/x-life"},
        {"glider-rle", "x = 3, y = 1, rule = B3/S23\n3o!\n", "application/x-life-rle"},
        {"glider-106", "#Life 1.06\n0 0\n", "application/x-life"},
        {"glider-cells", "!Name: Glider\n.O.\n", "application/x-life-cells"},
    };
    for (const CASE &c : cases) {
        std::ofstream(files + "/" + c.name) << c.text;
        std::string output;
        int status = process_run({"gio", "info", "-a", "standard::content-type", files + "/" + c.name}, env, TOOL_SECONDS, output);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << output;
        EXPECT_NE(output.find("standard::content-type: " + c.type + "\n"), std::string::npos) << c.name << "\n" << output;
    }
    for (const char *type : {"application/x-life-rle", "application/x-life-cells", "application/x-life"}) {
        std::string output;
        process_run({"gio", "mime", type}, env, TOOL_SECONDS, output);
        EXPECT_NE(output.find(std::string("Default application for \u201c") + type + "\u201d: " + APP_ID + ".desktop\n"),
                  std::string::npos)
            << type << "\n" << output;
    }
}

// man formats the page without a warning, and it covers the keys, the settings file and the log
TEST_F(MakeInstall, TheManualPageFormatsWithoutWarningsAndNamesTheKeysTheSettingsAndTheLog)
{
    std::string page = in.prefix + "/share/man/man6/lumlife.6.gz";
    EXPECT_TRUE(runs_clean({"sh", "-c", "MANWIDTH=80 man --warnings -E UTF-8 -l \"$0\" >/dev/null", page}));
    std::string text;
    int status = process_run({"man", "-E", "UTF-8", "-l", page}, {"MANWIDTH=200"}, TOOL_SECONDS, text);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << text;
    for (const char *words : {"LUMLIFE(6)", "Escape", "F1", "F5", "F9", "F12", "~/.kobaltine/lumlife/settings.cfg",
                              "standard output"})
        EXPECT_NE(text.find(words), std::string::npos) << words << "\n" << text;
}

//----------------------------------------------------------------------------------
// Uninstalling
//----------------------------------------------------------------------------------
TEST_F(MakeInstall, UninstallLeavesTheDestdirEmpty)
{
    ASSERT_TRUE(make_in(in, "uninstall"));
    EXPECT_TRUE(std::filesystem::is_directory(in.destdir));
    EXPECT_EQ(files_tree(in.destdir), std::vector<std::string>{}) << in.output;
    EXPECT_FALSE(std::filesystem::exists(std::string(INSTALL_BUILD_DIR) + "/install_manifest.txt"));
}

// A folder that was there before the installation stays, with what else it holds, empty or not:
// only what the installation made goes. An installation made before into another DESTDIR, whose
// folders were all new, does not count.
TEST(MakeUninstall, KeepsWhatWasThereBeforeTheInstallation)
{
    INSTALLATION before;
    ASSERT_TRUE(install(before));
    INSTALLATION in;
    in.work = process_temp_dir("lumtest-install");
    ASSERT_FALSE(in.work.empty());
    in.destdir = in.work + "/destdir";
    in.prefix = in.destdir + "/" + PREFIX;
    std::filesystem::create_directories(in.prefix + "/bin");
    std::filesystem::create_directories(in.prefix + "/share/man/man6");
    std::ofstream(in.prefix + "/bin/other") << "another program\n";
    ASSERT_TRUE(make_in(in, "install"));
    ASSERT_TRUE(make_in(in, "uninstall"));
    std::vector<std::string> left = {std::string("usr/"), std::string(PREFIX) + "/", std::string(PREFIX) + "/bin/",
                                     std::string(PREFIX) + "/bin/other", std::string(PREFIX) + "/share/",
                                     std::string(PREFIX) + "/share/man/", std::string(PREFIX) + "/share/man/man6/"};
    EXPECT_EQ(files_tree(in.destdir), left) << in.output;
    process_remove_dir(in.work);
    process_remove_dir(before.work);
}

//----------------------------------------------------------------------------------
// The installed toy
//----------------------------------------------------------------------------------
// The toy installed and started by the launcher's name, from the PATH, in an empty folder of its
// own: the launcher has to take it to its images
class InstalledToy : public ToyTest {
protected:
    INSTALLATION in;
    std::string elsewhere;         // the unrelated working folder
    std::filesystem::path was_in;  // the test's own working folder
    std::string path_was;          // and its PATH

    InstalledToy() : ToyTest("lumlife") {}

    void SetUp() override
    {
        ToyTest::SetUp();
        if (HasFatalFailure())
            return;
        ASSERT_TRUE(install(in));
        elsewhere = in.work + "/elsewhere";
        std::filesystem::create_directory(elsewhere);
        was_in = std::filesystem::current_path();
        std::filesystem::current_path(elsewhere);
        const char *path = std::getenv("PATH");
        path_was = path ? path : "";
        setenv("PATH", (in.prefix + "/bin:" + path_was).c_str(), 1);
    }

    void TearDown() override
    {
        ToyTest::TearDown();
        if (!was_in.empty()) {
            std::filesystem::current_path(was_in);
            setenv("PATH", path_was.c_str(), 1);
        }
        clean_up(in);
    }

    // Pixel (x, y) of the last frame is within COLOUR_SLACK of `rgb`
    bool pixel_is(int x, int y, const std::array<int, 3> &rgb) const
    {
        const uint8_t *p = &frame.rgb[(static_cast<size_t>(y) * frame.w + x) * 3];
        for (int i = 0; i < 3; i++)
            if (std::abs(p[i] - rgb[i]) > COLOUR_SLACK)
                return false;
        return true;
    }
};

// The toy, started by the launcher's name from an unrelated folder, runs in its data folder, draws
// the game screen from its installed images, takes a click, and saves its settings on Escape
TEST_F(InstalledToy, TheLauncherStartsItFromAnyFolderAndItDrawsTakesAClickAndSavesOnEscape)
{
    // A glider near the top-left corner, away from the grid's label, and one generation of it
    const int glider_cells[][2] = {{3, 1}, {4, 2}, {2, 3}, {3, 3}, {4, 3}};
    const int next_cells[][2] = {{2, 2}, {4, 2}, {3, 3}, {4, 3}, {3, 4}};
    RECORD_GRID glider{}, next{};
    for (const auto &c : glider_cells)
        glider[c[0]][c[1]] = 1;
    for (const auto &c : next_cells)
        next[c[0]][c[1]] = 1;
    SETTINGS_RECORD rec = record_prepared(glider, {{RECORD_SHOW_STEPS, 0}});
    prepare(rec);

    ASSERT_TRUE(start());
    // The launcher has become the toy, in the data folder
    std::error_code error;
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(toy.pid) + "/exe", error).string(),
              in.prefix + "/libexec/lumlife/lumlife");
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(toy.pid) + "/cwd", error).string(),
              in.prefix + "/share/lumlife");
    EXPECT_TRUE(logged_since_start(literal("image './gfx/font8x8.png' ") + R"([0-9]+x[0-9]+ \([0-9]+ bytes\))"))
        << process_transcript(toy);

    // The window's class is the one that the menu entry names
    XClassHint hint{};
    ASSERT_NE(XGetClassHint(x, window, &hint), 0) << "the window has no class";
    std::string res_class = hint.res_class ? hint.res_class : "";
    XFree(hint.res_name);
    XFree(hint.res_class);
    EXPECT_EQ(res_class, "lumlife");

    // The game screen, drawn with the installed font's icons: the live cells filled with the live
    // colour, the dead ones around them showing the backdrop inside their box
    auto shows = [&](const RECORD_GRID &g) {
        return [this, &g](const XCAPTURE_IMAGE &) {
            for (int c = 0; c < 7; c++)
                for (int r = 0; r < 6; r++) {
                    int px, py, ex, ey;
                    layout_glyph_pixel(view, c, r, INSIDE_PIXEL, INSIDE_PIXEL, px, py);
                    layout_engine_cell(view, c, r, ex, ey);
                    if (!pixel_is(px, py, g[ex][ey] ? LIVE_RGB : BACKDROP_RGB))
                        return false;
                }
            return true;
        };
    };
    ASSERT_TRUE(see(shows(glider), "the glider on the game screen"));
    ASSERT_TRUE(click(layout_control(view, LAYOUT_STEP)));
    ASSERT_TRUE(see(shows(next), "the glider one generation on"));

    ASSERT_TRUE(quit_with_escape());
    SETTINGS_RECORD expected = rec;
    record_set_grid(expected, next);
    record_put32(expected, RECORD_STEPS, 1);
    EXPECT_TRUE(record_same(saved(), expected));
}

// Opened as a file manager opens a pattern file with the menu entry: its Exec line, with %f
// replaced by the file's path, run from an unrelated folder. The toy shows the pattern where its
// :P48,30 suffix places it, with the dead border it names, and saves exactly that on Escape.
TEST_F(InstalledToy, TheMenuEntryOpensAPatternFileAsAFileManagerDoes)
{
    prepare(record_prepared({{RECORD_SHOW_STEPS, 0}, {RECORD_STEPS, 77}}));
    const std::string file = in.work + "/files/a glider.rle";
    std::filesystem::create_directories(in.work + "/files");
    std::ofstream(file) << "#N Glider\n#C near the top-left corner\nx = 48, y = 30, rule = B3/S23:P48,30\n$3bo$4bo$2b3o!\n";
    std::string exec;
    for (const std::string &line : files_lines(files_read(in.prefix + "/share/applications/" + APP_ID + ".desktop")))
        if (line.rfind("Exec=", 0) == 0)
            exec = line.substr(5);
    ASSERT_FALSE(exec.empty());
    // The Exec line's words, %f as one argument: the file's path, spaces and all
    std::vector<std::string> words;
    std::istringstream split(exec);
    for (std::string word; split >> word;)
        words.push_back(word == "%f" ? file : word);
    ASSERT_GE(words.size(), 2u) << exec;
    program = words[0];
    arguments.assign(words.begin() + 1, words.end());

    ASSERT_TRUE(start());
    ASSERT_TRUE(logged_since_start(literal("opened the pattern '" + file + "' (RLE: Glider, 48 x 30 at 0,0)")))
        << process_transcript(toy);
    RECORD_GRID glider{};
    for (auto [cx, cy] : {std::pair{3, 1}, {4, 2}, {2, 3}, {3, 3}, {4, 3}})
        glider[cx][cy] = 1;
    ASSERT_TRUE(see(
        [this, &glider](const XCAPTURE_IMAGE &) {
            for (int c = 0; c < 7; c++)
                for (int r = 0; r < 6; r++) {
                    int px, py, ex, ey;
                    layout_glyph_pixel(view, c, r, INSIDE_PIXEL, INSIDE_PIXEL, px, py);
                    layout_engine_cell(view, c, r, ex, ey);
                    if (!pixel_is(px, py, glider[ex][ey] ? LIVE_RGB : BACKDROP_RGB))
                        return false;
                }
            return true;
        },
        "the glider from the file on the game screen"));
    ASSERT_TRUE(quit_with_escape());
    EXPECT_TRUE(record_same(saved(), record_prepared(glider, {{RECORD_SHOW_STEPS, 0}, {RECORD_BORDER, 1}})));
}
