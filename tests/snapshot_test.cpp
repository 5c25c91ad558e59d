// Tests of saving the grid as a pattern in the documents folder: the folder as user-dirs.dirs
// names it ($HOME/... or absolute, quoted), else ~/Documents; the file named with the date and
// time in "Lum Life/", a second one in the same second beside it, each reading back to the grid,
// rule and border; and a folder that cannot be made, said in the log with nothing written.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "exchange.h"
#include "game.h"
#include "life.h"
#include "pattern.h"
#include "process.h"
#include "snapshot.h"

namespace {

class Snapshot : public ::testing::Test {
protected:
    std::string home;

    void SetUp() override
    {
        home = process_temp_dir("snapshot");
        setenv("HOME", home.c_str(), 1);
        unsetenv("XDG_CONFIG_HOME");
        game_reset();
        game_update_config();
    }

    void TearDown() override { process_remove_dir(home); }

    void user_dirs(const std::string &text)
    {
        std::filesystem::create_directories(home + "/.config");
        std::ofstream(home + "/.config/user-dirs.dirs") << text;
    }
};

TEST_F(Snapshot, TheDocumentsFolderIsTheUsersOrHomeDocuments)
{
    EXPECT_EQ(snapshot_documents_folder(), home + "/Documents");
    user_dirs("# written by xdg-user-dirs-update\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
    EXPECT_EQ(snapshot_documents_folder(), home + "/Dokumente");
    user_dirs("XDG_DOCUMENTS_DIR=\"/srv/papers/\"\n");
    EXPECT_EQ(snapshot_documents_folder(), "/srv/papers");
    user_dirs("XDG_DOCUMENTS_DIR=relative\n");
    EXPECT_EQ(snapshot_documents_folder(), home + "/Documents");
    std::filesystem::create_directories(home + "/elsewhere");
    std::ofstream(home + "/elsewhere/user-dirs.dirs") << "XDG_DOCUMENTS_DIR=\"$HOME/Docs\"\n";
    setenv("XDG_CONFIG_HOME", (home + "/elsewhere").c_str(), 1);
    EXPECT_EQ(snapshot_documents_folder(), home + "/Docs");
}

TEST_F(Snapshot, TheGridIsSavedInLumLifeUnderADatedNameAndReadsBack)
{
    game.border_mode = GAME_BORDER_LIVE;
    game.bparams[6] = 1;
    config_changed = 1;
    game_update_config();
    std::string first = snapshot_save();
    std::string second = snapshot_save();
    const std::regex named(std::regex_replace(home, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)") +
                           R"(/Documents/Lum Life/\d{4}-\d\d-\d\d \d\d-\d\d-\d\d( 2)?\.rle)");
    EXPECT_TRUE(std::regex_match(first, named)) << first;
    EXPECT_TRUE(std::regex_match(second, named)) << second;
    EXPECT_NE(first, second);
    for (const std::string &path : {first, second}) {
        PATTERN p{};
        PATTERN_ERROR e{};
        ASSERT_EQ(pattern_read_file(path.c_str(), &p, &e), 1) << e.text.data();
        for (int x = 0; x < LIFE_W; x++)
            for (int y = 0; y < LIFE_H; y++)
                ASSERT_EQ(p.cells[x][y], life_cell(x, y) != 0);
        EXPECT_EQ(pattern_rule_text(p.rule), "B36/S23");
        EXPECT_EQ(p.border, PATTERN_BORDER_LIVE);
        EXPECT_FALSE(std::filesystem::exists(path + ".new"));
    }
}

TEST_F(Snapshot, AFolderThatCannotBeMadeWritesNothing)
{
    std::ofstream(home + "/Documents") << "a file where the folder belongs";
    EXPECT_EQ(snapshot_save(), "");
    EXPECT_TRUE(std::filesystem::is_regular_file(home + "/Documents"));
}

}  // namespace
