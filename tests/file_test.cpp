// Tests of file access: the base paths and the per-user directories, composing names, opening,
// deleting, renaming and synchronising with their log lines, the little-endian integers, the
// length, and the directory walk.
// The per-user paths are computed once per process, from HOME and the application name at the
// first request. Every test that requests them sets its own temporary HOME first and expects a
// fresh process, as CTest gives it (each test case runs alone); run together in one process,
// those tests after the first are skipped rather than run against another test's paths.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "capture.h"
#include "fake_wrapper.h"
#include "file.h"
#include "lum.h"
#include "wrapper_file.h"

namespace fs = std::filesystem;

namespace {

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
using Lines = std::vector<std::string>;

// A fresh directory under /tmp
std::string make_temp_dir()
{
    char pattern[] = "/tmp/lum-file-test-XXXXXX";
    const char *dir = mkdtemp(pattern);
    EXPECT_NE(dir, nullptr) << "mkdtemp failed";
    return dir ? dir : "";
}

void write_bytes(const std::string &path, const std::vector<uint8_t> &bytes)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<uint8_t> read_bytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// What a directory walk saw, and what its callback answers
struct WALK {
    std::vector<std::string> names;  // entries in the order visited
    std::vector<std::string> paths;  // the path handed to each call
    std::string stop_at;             // the entry on which the callback answers stop_result
    int stop_result = 0;
    int go_result = 1;               // the answer on every other entry
};

int record_entry(const char *path, const char *name, void *data)
{
    WALK *walk = static_cast<WALK *>(data);
    walk->names.push_back(name);
    walk->paths.push_back(path);
    return walk->stop_at == name ? walk->stop_result : walk->go_result;
}

// Whether a home directory gives per-user paths that fit their buffers for an application name
bool home_fits(const char *home, const std::string &app)
{
    std::string temp = std::string(home) + "/.kobaltine/" + app + (app.empty() ? "" : "/") + "temp/";
    return home[0] == '/' && temp.size() < static_cast<size_t>(WRAPPER_FILE_BASE_MAX);
}

// Tests of streams on explicit paths, in a private temporary directory
class FileIo : public ::testing::Test {
protected:
    std::string dir;

    void SetUp() override
    {
        fake_platform_reset();
        dir = make_temp_dir();
    }

    void TearDown() override
    {
        if (!dir.empty())
            fs::remove_all(dir);
    }

    std::string at(const std::string &name) const { return dir + "/" + name; }

    // A stream over a file holding the given bytes, positioned at the start
    FILE *open_bytes(const std::vector<uint8_t> &bytes)
    {
        write_bytes(at("bytes"), bytes);
        return std::fopen(at("bytes").c_str(), "rb");
    }
};

// Tests of the per-user paths, with a private temporary HOME set before the first request
class FilePaths : public ::testing::Test {
protected:
    std::string home;             // the temporary HOME
    std::string fallback_app;     // set when a test lets the paths fall back to the real home
    std::string fallback_home;
    int fallback_lock = -1;       // held while a test uses the real home's shared directory

    void SetUp() override
    {
        static bool paths_requested = false;
        if (paths_requested)
            GTEST_SKIP() << "the per-user paths were computed by an earlier test: run each test in its own process";
        paths_requested = true;
        home = make_temp_dir();
        setenv("HOME", home.c_str(), 1);
        lum_set_app_name(nullptr);
    }

    void TearDown() override
    {
        if (!home.empty())
            fs::remove_all(home);
        if (fallback_app.empty())
            return;
        fs::path kobaltine = fs::path(fallback_home) / ".kobaltine";
        fs::remove_all(kobaltine / fallback_app);
        // NOTE: removed whenever it is left empty, not only when this test created it: tests
        // running at the same time in other processes may have created it, and the last one to
        // finish cannot tell. An empty directory holds nothing of the user's.
        std::error_code ignored;
        if (fs::is_empty(kobaltine, ignored))
            fs::remove(kobaltine, ignored);
        close(fallback_lock);
    }

    std::string kobaltine() const { return home + "/.kobaltine/"; }

    // Prepare a test whose HOME is not usable: the paths fall back to the password database's
    // home, under an application name of this process alone, removed afterwards.
    // The test is skipped when this user has no usable home there.
    void expect_password_database_fallback()
    {
        static std::string app_name;  // the runtime keeps the pointer
        app_name = "lum-file-test-" + std::to_string(getpid());
        lum_set_app_name(app_name.c_str());
        const passwd *entry = getpwuid(getuid());
        if (!entry || !home_fits(entry->pw_dir, app_name))
            GTEST_SKIP() << "this user's password entry has no usable home directory";
        fallback_app = app_name;
        fallback_home = entry->pw_dir;
        // The shared ".kobaltine" is created by one test and removed by another once empty;
        // tests in other processes take turns with it, so none removes it under another.
        fallback_lock = open("/tmp/lum-file-test-fallback.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        ASSERT_GE(fallback_lock, 0);
        ASSERT_EQ(flock(fallback_lock, LOCK_EX), 0);
    }

    // Request the save path and check that it and the log name the password database's home
    void check_password_database_fallback()
    {
        testing::internal::CaptureStdout();
        std::string save = wrapper_file_save_path();
        Lines log = log_messages(testing::internal::GetCapturedStdout());
        EXPECT_EQ(log, Lines{"HOME is not usable: using '" + fallback_home + "' from the password database"});
        EXPECT_EQ(save, fallback_home + "/.kobaltine/" + fallback_app + "/");
        EXPECT_EQ(std::string(wrapper_file_temp_path()), save + "temp/");
        EXPECT_EQ(std::string(wrapper_file_doc_path()), save + "doc/");
        EXPECT_TRUE(fs::is_directory(save + "temp/"));
    }
};

}  // namespace

// --- Base paths and the per-user directories ---

TEST_F(FilePaths, SavePathOfLumlifeIsUnderKobaltineInHomeAndLogged)
{
    lum_set_app_name("lumlife");

    testing::internal::CaptureStdout();
    const char *path = file_save_path("settings.cfg");
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(path, _filepath);
    EXPECT_EQ(std::string(path), home + "/.kobaltine/lumlife/settings.cfg");
    EXPECT_EQ(log, Lines{home + "/.kobaltine/lumlife/settings.cfg"});
}

TEST_F(FilePaths, FirstRequestCreatesTheKobaltineApplicationTempAndDocDirectories)
{
    lum_set_app_name("lumlife");
    ASSERT_FALSE(fs::exists(kobaltine()));

    testing::internal::CaptureStdout();
    wrapper_file_doc_path();
    testing::internal::GetCapturedStdout();

    EXPECT_TRUE(fs::is_directory(kobaltine()));
    EXPECT_TRUE(fs::is_directory(kobaltine() + "lumlife"));
    EXPECT_TRUE(fs::is_directory(kobaltine() + "lumlife/temp"));
    EXPECT_TRUE(fs::is_directory(kobaltine() + "lumlife/doc"));
}

TEST_F(FilePaths, ExistingDirectoriesAreKeptWithTheirFiles)
{
    lum_set_app_name("lumlife");
    fs::create_directories(kobaltine() + "lumlife/temp");
    write_bytes(kobaltine() + "lumlife/settings.cfg", {1, 2, 3});

    testing::internal::CaptureStdout();
    std::string save = wrapper_file_save_path();
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(save, kobaltine() + "lumlife/");
    EXPECT_EQ(log, Lines{});
    EXPECT_EQ(read_bytes(save + "settings.cfg"), (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_TRUE(fs::is_directory(save + "doc"));
}

TEST_F(FilePaths, TempAndDocPathsAreDirectoriesInTheApplicationDirectory)
{
    lum_set_app_name("lumlife");

    testing::internal::CaptureStdout();
    std::string temp = file_temp_path("scratch.bin");
    std::string doc = file_doc_path("notes.txt");
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(temp, kobaltine() + "lumlife/temp/scratch.bin");
    EXPECT_EQ(doc, kobaltine() + "lumlife/doc/notes.txt");
    EXPECT_EQ(log, (Lines{temp, doc}));
    EXPECT_EQ(std::string(wrapper_file_save_path()), kobaltine() + "lumlife/");
    EXPECT_EQ(std::string(wrapper_file_temp_path()), kobaltine() + "lumlife/temp/");
    EXPECT_EQ(std::string(wrapper_file_doc_path()), kobaltine() + "lumlife/doc/");
}

TEST_F(FilePaths, EmptyApplicationNameLeavesOutTheApplicationDirectory)
{
    lum_set_app_name("");

    EXPECT_EQ(std::string(wrapper_file_save_path()), kobaltine());
    EXPECT_EQ(std::string(wrapper_file_temp_path()), kobaltine() + "temp/");
    EXPECT_EQ(std::string(wrapper_file_doc_path()), kobaltine() + "doc/");
    EXPECT_TRUE(fs::is_directory(kobaltine() + "temp"));
    EXPECT_TRUE(fs::is_directory(kobaltine() + "doc"));
}

TEST_F(FilePaths, NoApplicationNameGivesTheUnnamedDirectory)
{
    EXPECT_EQ(std::string(wrapper_file_save_path()), kobaltine() + "unnamed/");
    EXPECT_EQ(std::string(wrapper_file_temp_path()), kobaltine() + "unnamed/temp/");
    EXPECT_TRUE(fs::is_directory(kobaltine() + "unnamed/doc"));
}

TEST_F(FilePaths, PathsAreComputedOnceAndIgnoreLaterChangesOfHomeAndName)
{
    lum_set_app_name("lumlife");
    std::string first = wrapper_file_save_path();
    std::string other = make_temp_dir();
    setenv("HOME", other.c_str(), 1);
    lum_set_app_name("other");

    EXPECT_EQ(std::string(wrapper_file_save_path()), first);
    EXPECT_EQ(std::string(wrapper_file_temp_path()), first + "temp/");
    EXPECT_FALSE(fs::exists(other + "/.kobaltine"));
    fs::remove_all(other);
}

TEST_F(FilePaths, LongestHomeWhosePathsFitIsKept)
{
    lum_set_app_name("lumlife");
    // "/.kobaltine/lumlife/temp/" is 25 characters: with the terminator the temp path fills
    // all 512 bytes
    std::string longest = "/" + std::string(485, 'h');
    setenv("HOME", longest.c_str(), 1);

    testing::internal::CaptureStdout();
    std::string temp = wrapper_file_temp_path();
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(log, Lines{});
    EXPECT_EQ(temp, longest + "/.kobaltine/lumlife/temp/");
    EXPECT_EQ(temp.size(), static_cast<size_t>(WRAPPER_FILE_BASE_MAX - 1));
    EXPECT_EQ(std::string(wrapper_file_save_path()), longest + "/.kobaltine/lumlife/");
}

TEST_F(FilePaths, HomeOneCharacterTooLongFallsBackToThePasswordDatabase)
{
    expect_password_database_fallback();
    if (IsSkipped())
        return;
    // One more than the longest home whose temp path would just fill its buffer
    size_t longest = WRAPPER_FILE_BASE_MAX - 1 - std::strlen("/.kobaltine//temp/") - fallback_app.size();
    std::string too_long = "/" + std::string(longest, 'h');
    ASSERT_TRUE(home_fits(too_long.substr(0, longest).c_str(), fallback_app));
    ASSERT_FALSE(home_fits(too_long.c_str(), fallback_app));
    setenv("HOME", too_long.c_str(), 1);

    check_password_database_fallback();
}

TEST_F(FilePaths, UnsetHomeFallsBackToThePasswordDatabase)
{
    expect_password_database_fallback();
    if (IsSkipped())
        return;
    unsetenv("HOME");

    check_password_database_fallback();
}

TEST_F(FilePaths, EmptyHomeFallsBackToThePasswordDatabase)
{
    expect_password_database_fallback();
    if (IsSkipped())
        return;
    setenv("HOME", "", 1);

    check_password_database_fallback();
}

TEST_F(FilePaths, RelativeHomeFallsBackToThePasswordDatabase)
{
    expect_password_database_fallback();
    if (IsSkipped())
        return;
    setenv("HOME", "relative/home", 1);

    check_password_database_fallback();
}

TEST_F(FilePaths, HomeOf600CharactersFallsBackToThePasswordDatabase)
{
    expect_password_database_fallback();
    if (IsSkipped())
        return;
    std::string huge = "/tmp/" + std::string(595, 'h');
    setenv("HOME", huge.c_str(), 1);

    check_password_database_fallback();
}

TEST_F(FilePaths, ApplicationNameTooLongForAnyHomeIsCutAndNothingIsCreated)
{
    static const std::string huge_name(600, 'n');
    lum_set_app_name(huge_name.c_str());
    bool had_kobaltine_here = fs::exists(".kobaltine");

    testing::internal::CaptureStdout();
    std::string save = wrapper_file_save_path();
    std::string temp = wrapper_file_temp_path();
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(save.size(), static_cast<size_t>(WRAPPER_FILE_BASE_MAX - 1));
    EXPECT_EQ(temp.size(), static_cast<size_t>(WRAPPER_FILE_BASE_MAX - 1));
    EXPECT_EQ(save.rfind("./.kobaltine/nnn", 0), 0u);
    EXPECT_EQ(log, (Lines{"HOME is not usable: using the current directory",
                          "per-user paths do not fit in 512 bytes: directories not created"}));
    EXPECT_FALSE(fs::exists(kobaltine()));
    EXPECT_EQ(fs::exists(".kobaltine"), had_kobaltine_here);
}

// --- Composing names ---
// The data path is fixed: these need no per-user paths and run in any process.

TEST(FileNames, DataPathOfNullIsTheWorkingDirectoryAndLogged)
{
    testing::internal::CaptureStdout();
    std::string path = file_data_path(nullptr);
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(path, "./");
    EXPECT_EQ(log, Lines{"./"});
    EXPECT_EQ(std::string(wrapper_file_data_path()), "./");
}

TEST(FileNames, DataPathPrefixesTheName)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(std::string(file_data_path("gfx/font8x8.png")), "./gfx/font8x8.png");
    testing::internal::GetCapturedStdout();
}

TEST(FileNames, SecondPathCallOverwritesTheFirstResult)
{
    testing::internal::CaptureStdout();
    const char *first = file_data_path("first.bin");
    const char *second = file_data_path("second.bin");
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(first, second);
    EXPECT_EQ(std::string(first), "./second.bin");
    EXPECT_EQ(log, (Lines{"./first.bin", "./second.bin"}));
}

TEST_F(FilePaths, VeryLongNameIsCutToFitTheSharedBuffer)
{
    lum_set_app_name("lumlife");
    std::string save = wrapper_file_save_path();
    std::string name(3000, 'x');

    testing::internal::CaptureStdout();
    std::string path = file_save_path(name.c_str());
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(path.size(), static_cast<size_t>(FILE_PATH_MAX - 1));
    EXPECT_EQ(path, save + name.substr(0, FILE_PATH_MAX - 1 - save.size()));
    EXPECT_EQ(log, Lines{path});
}

TEST_F(FilePaths, VeryLongNameToOpenSaveWriteIsCutAndFailsSafely)
{
    lum_set_app_name("lumlife");
    std::string save = wrapper_file_save_path();
    std::string name(3000, 'x');
    std::string cut = save + name.substr(0, 1023 - save.size());

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    FILE *stream = file_open_save_write(name.c_str());
    std::string errors = testing::internal::GetCapturedStderr();
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(log, Lines{"file_open_write '" + cut + "': FAIL"});
    EXPECT_EQ(errors, "file open failed: File name too long\n");
    file_close(stream);
}

// --- Opening and closing ---

TEST_F(FileIo, OpenWriteAndReadLogOK)
{
    std::string path = at("data.bin");

    testing::internal::CaptureStdout();
    FILE *out = file_open_write(path.c_str());
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(file_write(out, "abc", 3), 3u);
    file_close(out);
    FILE *in = file_open_read(path.c_str());
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    ASSERT_NE(in, nullptr);
    char buf[8] = {};
    EXPECT_EQ(file_read(in, buf, sizeof buf), 3u);
    EXPECT_STREQ(buf, "abc");
    file_close(in);
    EXPECT_EQ(log, (Lines{"file_open_write '" + path + "': OK", "file_open_read '" + path + "': OK"}));
}

TEST_F(FileIo, OpenWriteTruncatesAnExistingFile)
{
    write_bytes(at("old.bin"), {1, 2, 3, 4, 5});

    testing::internal::CaptureStdout();
    file_close(file_open_write(at("old.bin").c_str()));
    testing::internal::GetCapturedStdout();

    EXPECT_EQ(fs::file_size(at("old.bin")), 0u);
}

TEST_F(FileIo, OpenReadOfAMissingFileLogsFailAndTheSystemError)
{
    std::string path = at("missing.bin");

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    FILE *stream = file_open_read(path.c_str());
    std::string errors = testing::internal::GetCapturedStderr();
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(log, Lines{"file_open_read '" + path + "': FAIL"});
    EXPECT_EQ(errors, "file open failed: No such file or directory\n");
}

TEST_F(FileIo, OpenWriteInAMissingDirectoryLogsFailAndTheSystemError)
{
    std::string path = at("no-such-dir/out.bin");

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    FILE *stream = file_open_write(path.c_str());
    std::string errors = testing::internal::GetCapturedStderr();
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(log, Lines{"file_open_write '" + path + "': FAIL"});
    EXPECT_EQ(errors, "file open failed: No such file or directory\n");
}

TEST_F(FileIo, DataReadOpensRelativeToTheWorkingDirectory)
{
    write_bytes(at("data.bin"), {42});
    std::string relative = fs::relative(at("data.bin"), fs::current_path()).string();

    testing::internal::CaptureStdout();
    FILE *stream = file_open_data_read(relative.c_str());
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(file_getc(stream), 42);
    file_close(stream);
    EXPECT_EQ(log, Lines{"file_open_read './" + relative + "': OK"});
}

TEST(FileClose, NullIsIgnored)
{
    file_close(nullptr);
}

TEST_F(FileIo, CloseFlushesWhatWasWritten)
{
    FILE *stream = std::fopen(at("flush.bin").c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    file_putc(stream, 'z');
    file_close(stream);

    EXPECT_EQ(read_bytes(at("flush.bin")), std::vector<uint8_t>{'z'});
}

TEST_F(FilePaths, SaveTempAndDocOpenInTheirOwnDirectories)
{
    lum_set_app_name("lumlife");
    std::string save = wrapper_file_save_path();

    testing::internal::CaptureStdout();
    FILE *s = file_open_save_write("s.bin");
    FILE *t = file_open_temp_write("t.bin");
    FILE *d = file_open_doc_write("d.bin");
    file_putc(s, 's');
    file_putc(t, 't');
    file_putc(d, 'd');
    file_close(s);
    file_close(t);
    file_close(d);
    FILE *rs = file_open_save_read("s.bin");
    FILE *rt = file_open_temp_read("t.bin");
    FILE *rd = file_open_doc_read("d.bin");
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    ASSERT_NE(rs, nullptr);
    ASSERT_NE(rt, nullptr);
    ASSERT_NE(rd, nullptr);
    EXPECT_EQ(file_getc(rs), 's');
    EXPECT_EQ(file_getc(rt), 't');
    EXPECT_EQ(file_getc(rd), 'd');
    file_close(rs);
    file_close(rt);
    file_close(rd);
    EXPECT_EQ(read_bytes(save + "temp/t.bin"), std::vector<uint8_t>{'t'});
    EXPECT_EQ(log, (Lines{
                       "file_open_write '" + save + "s.bin': OK",
                       "file_open_write '" + save + "temp/t.bin': OK",
                       "file_open_write '" + save + "doc/d.bin': OK",
                       "file_open_read '" + save + "s.bin': OK",
                       "file_open_read '" + save + "temp/t.bin': OK",
                       "file_open_read '" + save + "doc/d.bin': OK",
                   }));
}

TEST_F(FilePaths, OpenInAMissingDirectoryOfTheSavePathFails)
{
    lum_set_app_name("lumlife");
    std::string save = wrapper_file_save_path();

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    FILE *stream = file_open_save_write("nodir/settings.cfg");
    std::string errors = testing::internal::GetCapturedStderr();
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(log, Lines{"file_open_write '" + save + "nodir/settings.cfg': FAIL"});
    EXPECT_EQ(errors, "file open failed: No such file or directory\n");
}

// --- Deleting, renaming, synchronising ---

TEST_F(FileIo, DeleteRemovesTheFileAndLogs)
{
    write_bytes(at("gone.bin"), {1});

    testing::internal::CaptureStdout();
    int result = file_delete(at("gone.bin").c_str());
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(result, 0);
    EXPECT_FALSE(fs::exists(at("gone.bin")));
    EXPECT_EQ(log, Lines{"delete '" + at("gone.bin") + "'"});
}

TEST_F(FileIo, DeleteOfAMissingFileIsNegativeAndPrintsTheSystemError)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    int result = file_delete(at("missing.bin").c_str());
    std::string errors = testing::internal::GetCapturedStderr();
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_LT(result, 0);
    EXPECT_EQ(log, Lines{"delete '" + at("missing.bin") + "'"});
    EXPECT_EQ(errors, "file delete failed: No such file or directory\n");
}

TEST_F(FilePaths, DeleteVariantsRemoveFromTheirOwnDirectories)
{
    lum_set_app_name("lumlife");
    std::string save = wrapper_file_save_path();
    for (const char *path : {"x.bin", "temp/x.bin", "doc/x.bin"})
        write_bytes(save + path, {7});

    testing::internal::CaptureStdout();
    EXPECT_EQ(file_delete_temp("x.bin"), 0);
    EXPECT_TRUE(fs::exists(save + "x.bin"));
    EXPECT_TRUE(fs::exists(save + "doc/x.bin"));
    EXPECT_EQ(file_delete_doc("x.bin"), 0);
    EXPECT_EQ(file_delete_save("x.bin"), 0);
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_FALSE(fs::exists(save + "temp/x.bin"));
    EXPECT_FALSE(fs::exists(save + "doc/x.bin"));
    EXPECT_FALSE(fs::exists(save + "x.bin"));
    EXPECT_EQ(log, (Lines{"delete '" + save + "temp/x.bin'", "delete '" + save + "doc/x.bin'",
                          "delete '" + save + "x.bin'"}));
}

TEST_F(FileIo, RenameReplacesAnExistingTarget)
{
    write_bytes(at("new.tmp"), {'n', 'e', 'w'});
    write_bytes(at("settings.cfg"), {'o', 'l', 'd', '!'});

    testing::internal::CaptureStdout();
    int result = file_rename(at("new.tmp").c_str(), at("settings.cfg").c_str());
    Lines log = log_messages(testing::internal::GetCapturedStdout());

    EXPECT_EQ(result, 0);
    EXPECT_FALSE(fs::exists(at("new.tmp")));
    EXPECT_EQ(read_bytes(at("settings.cfg")), (std::vector<uint8_t>{'n', 'e', 'w'}));
    EXPECT_EQ(log, Lines{"rename '" + at("new.tmp") + "' to '" + at("settings.cfg") + "'"});
    EXPECT_EQ(fake_platform.changed_files, std::vector<std::string>{at("settings.cfg")})
        << "the platform hears of the replaced file, so that a browser can copy it to its storage";
}

TEST_F(FileIo, RenameOfAMissingFileIsNegativeAndPrintsTheSystemError)
{
    write_bytes(at("kept.cfg"), {1, 2});

    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    int result = file_rename(at("missing.tmp").c_str(), at("kept.cfg").c_str());
    std::string errors = testing::internal::GetCapturedStderr();
    testing::internal::GetCapturedStdout();

    EXPECT_LT(result, 0);
    EXPECT_EQ(errors, "file rename failed: No such file or directory\n");
    EXPECT_EQ(read_bytes(at("kept.cfg")), (std::vector<uint8_t>{1, 2}));
    EXPECT_TRUE(fake_platform.changed_files.empty()) << "nothing changed, so there is nothing to copy";
}

TEST_F(FileIo, SyncPushesBufferedBytesToTheFile)
{
    FILE *stream = std::fopen(at("sync.bin").c_str(), "wb");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(file_write(stream, "hello", 5), 5u);
    ASSERT_EQ(fs::file_size(at("sync.bin")), 0u) << "the stream should still hold the bytes in its buffer";

    EXPECT_EQ(file_sync(stream), 0);

    EXPECT_EQ(read_bytes(at("sync.bin")), (std::vector<uint8_t>{'h', 'e', 'l', 'l', 'o'}));
    file_close(stream);
}

TEST(FileSync, FullDiskGivesMinusOne)
{
    FILE *stream = std::fopen("/dev/full", "wb");
    ASSERT_NE(stream, nullptr);
    file_putc(stream, 'x');

    EXPECT_EQ(file_sync(stream), -1);
    std::fclose(stream);
}

TEST(FileSync, StreamThatCannotBeSynchronisedGivesMinusOne)
{
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    FILE *stream = fdopen(fds[1], "wb");
    ASSERT_NE(stream, nullptr);
    file_putc(stream, 'x');

    EXPECT_EQ(file_sync(stream), -1);
    std::fclose(stream);
    close(fds[0]);
}

// --- Bytes and integers ---

TEST_F(FileIo, GetcAndPutcMoveOneByteAndEndOfFileIsMinusOne)
{
    FILE *out = std::fopen(at("c.bin").c_str(), "wb");
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(file_putc(out, 0xFF), 0xFF);
    EXPECT_EQ(file_putc(out, 0x141), 0x41);  // only the low byte is written
    file_close(out);

    FILE *in = std::fopen(at("c.bin").c_str(), "rb");
    ASSERT_NE(in, nullptr);
    EXPECT_EQ(file_getc(in), 0xFF);
    EXPECT_EQ(file_getc(in), 0x41);
    EXPECT_EQ(file_getc(in), -1);
    file_close(in);
}

TEST_F(FileIo, PutwWritesTheLowSixteenBitsLowByteFirst)
{
    FILE *out = std::fopen(at("w.bin").c_str(), "wb");
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(file_putw(out, 0x1234), 1);
    EXPECT_EQ(file_putw(out, 0x7ABCD), 1);
    EXPECT_EQ(file_putw(out, -2), 1);
    file_close(out);

    EXPECT_EQ(read_bytes(at("w.bin")), (std::vector<uint8_t>{0x34, 0x12, 0xCD, 0xAB, 0xFE, 0xFF}));
}

TEST_F(FileIo, GetwOfFF7FIs32767AndOfFEFFIsMinusTwo)
{
    FILE *in = open_bytes({0xFF, 0x7F, 0xFE, 0xFF, 0x00, 0x80});
    ASSERT_NE(in, nullptr);

    EXPECT_EQ(file_getw(in), 32767);
    EXPECT_EQ(file_getw(in), -2);
    EXPECT_EQ(file_getw(in), -32768);
    EXPECT_EQ(file_getw(in), -1);  // end of file
    file_close(in);
}

TEST_F(FileIo, GetwWithOneByteLeftIsMinusOne)
{
    FILE *in = open_bytes({0x05, 0x00, 0x07});
    ASSERT_NE(in, nullptr);

    EXPECT_EQ(file_getw(in), 5);
    EXPECT_EQ(file_getw(in), -1);
    file_close(in);
}

TEST_F(FileIo, PutwGetwRoundTripSignedValues)
{
    const int values[] = {0, 1, -2, 255, 256, -256, 32767, -32768, 12345, -12345};
    FILE *out = std::fopen(at("rt.bin").c_str(), "wb");
    ASSERT_NE(out, nullptr);
    for (int v : values)
        EXPECT_EQ(file_putw(out, v), 1);
    file_close(out);

    FILE *in = std::fopen(at("rt.bin").c_str(), "rb");
    ASSERT_NE(in, nullptr);
    for (int v : values)
        EXPECT_EQ(file_getw(in), v);
    file_close(in);
}

TEST_F(FileIo, PutlWritesFourBytesLowByteFirst)
{
    FILE *out = std::fopen(at("l.bin").c_str(), "wb");
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(file_putl(out, 0x01020304), 1);
    EXPECT_EQ(file_putl(out, INT32_MIN), 1);
    file_close(out);

    EXPECT_EQ(read_bytes(at("l.bin")), (std::vector<uint8_t>{4, 3, 2, 1, 0, 0, 0, 0x80}));
}

TEST_F(FileIo, PutlGetlRoundTripSignedValues)
{
    const int values[] = {0, 1, -2, 65536, -65536, INT32_MAX, INT32_MIN, 0x12345678, -0x12345678};
    FILE *out = std::fopen(at("rtl.bin").c_str(), "wb");
    ASSERT_NE(out, nullptr);
    for (int v : values)
        EXPECT_EQ(file_putl(out, v), 1);
    file_close(out);

    FILE *in = std::fopen(at("rtl.bin").c_str(), "rb");
    ASSERT_NE(in, nullptr);
    for (int v : values)
        EXPECT_EQ(file_getl(in), v);
    EXPECT_EQ(file_getl(in), -1);  // end of file
    file_close(in);
}

TEST_F(FileIo, GetlWithThreeBytesLeftIsMinusOne)
{
    FILE *in = open_bytes({0xFE, 0xFF, 0xFF, 0xFF, 0x01, 0x02, 0x03});
    ASSERT_NE(in, nullptr);

    EXPECT_EQ(file_getl(in), -2);
    EXPECT_EQ(file_getl(in), -1);
    file_close(in);
}

TEST_F(FileIo, PutwAndPutlOnAReadOnlyStreamWriteNoItem)
{
    FILE *in = open_bytes({1, 2, 3, 4});
    ASSERT_NE(in, nullptr);

    EXPECT_EQ(file_putw(in, 7), 0);
    EXPECT_EQ(file_putl(in, 7), 0);
    file_close(in);
}

TEST_F(FileIo, ReadAndWriteReturnTheBytesTransferred)
{
    FILE *out = std::fopen(at("rw.bin").c_str(), "wb");
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(file_write(out, "0123456789", 10), 10u);
    file_close(out);

    FILE *in = std::fopen(at("rw.bin").c_str(), "rb");
    ASSERT_NE(in, nullptr);
    char buf[20] = {};
    EXPECT_EQ(file_read(in, buf, 4), 4u);
    EXPECT_EQ(file_read(in, buf, sizeof buf), 6u);  // only what the file still holds
    EXPECT_EQ(std::string(buf, 6), "456789");
    EXPECT_EQ(file_read(in, buf, sizeof buf), 0u);
    file_close(in);
}

// --- Length ---

TEST_F(FileIo, LengthKeepsThePosition)
{
    FILE *in = open_bytes(std::vector<uint8_t>(100, 9));
    ASSERT_NE(in, nullptr);
    ASSERT_EQ(std::fseek(in, 37, SEEK_SET), 0);

    EXPECT_EQ(file_length(in), 100);
    EXPECT_EQ(std::ftell(in), 37);
    EXPECT_EQ(file_getc(in), 9);
    file_close(in);
}

TEST_F(FileIo, LengthOfAnEmptyFileIsZero)
{
    FILE *in = open_bytes({});
    ASSERT_NE(in, nullptr);

    EXPECT_EQ(file_length(in), 0);
    file_close(in);
}

TEST_F(FileIo, LengthCountsBytesStillInTheWriteBuffer)
{
    FILE *out = std::fopen(at("len.bin").c_str(), "wb");
    ASSERT_NE(out, nullptr);
    file_write(out, "abcdef", 6);

    EXPECT_EQ(file_length(out), 6);
    EXPECT_EQ(std::ftell(out), 6);
    file_close(out);
}

TEST(FileLength, StreamWithoutAPositionGivesMinusOne)
{
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    FILE *stream = fdopen(fds[0], "rb");
    ASSERT_NE(stream, nullptr);

    EXPECT_EQ(file_length(stream), -1);
    std::fclose(stream);
    close(fds[1]);
}

// --- Directories ---

TEST_F(FileIo, MkdirCreatesWithMode0777BeforeTheUmask)
{
    mode_t saved = umask(0);
    int result = wrapper_mkdir(at("made").c_str());
    umask(saved);

    EXPECT_EQ(result, 0);
    struct stat st;
    ASSERT_EQ(stat(at("made").c_str(), &st), 0);
    EXPECT_TRUE(S_ISDIR(st.st_mode));
    EXPECT_EQ(st.st_mode & 0777, 0777u);
}

TEST_F(FileIo, MkdirOfAnExistingDirectoryFails)
{
    EXPECT_EQ(wrapper_mkdir(dir.c_str()), -1);
    EXPECT_EQ(errno, EEXIST);
}

TEST_F(FileIo, WalkVisitsEntriesInAscendingOrderWithDotEntries)
{
    for (const char *name : {"b", "a", "c"})
        write_bytes(at(name), {});
    WALK walk;

    int result = wrapper_file_dir_walk(dir.c_str(), &walk, record_entry);

    EXPECT_EQ(result, 1);
    EXPECT_EQ(walk.names, (std::vector<std::string>{".", "..", "a", "b", "c"}));
    EXPECT_EQ(walk.paths, std::vector<std::string>(5, dir));
}

TEST_F(FileIo, WalkReturnsTheLastCallbackResult)
{
    for (const char *name : {"b", "a", "c"})
        write_bytes(at(name), {});
    WALK walk;
    walk.go_result = 7;
    walk.stop_at = "c";
    walk.stop_result = 3;

    EXPECT_EQ(wrapper_file_dir_walk(dir.c_str(), &walk, record_entry), 3);
    EXPECT_EQ(walk.names.size(), 5u);
}

TEST_F(FileIo, WalkStopsWhenTheCallbackReturnsZero)
{
    for (const char *name : {"b", "a", "c"})
        write_bytes(at(name), {});
    WALK walk;
    walk.stop_at = "a";
    walk.stop_result = 0;

    EXPECT_EQ(wrapper_file_dir_walk(dir.c_str(), &walk, record_entry), 0);
    EXPECT_EQ(walk.names, (std::vector<std::string>{".", "..", "a"}));
}

// The entries left unvisited belong to the walk; the leak checker at exit sees any it keeps
TEST_F(FileIo, WalkStoppedEarlyByANegativeResultReturnsItAndLeaksNothing)
{
    for (int i = 0; i < 50; i++)
        write_bytes(at("entry" + std::to_string(i)), {});
    WALK walk;
    walk.stop_at = "..";
    walk.stop_result = -5;

    EXPECT_EQ(wrapper_file_dir_walk(dir.c_str(), &walk, record_entry), -5);
    EXPECT_EQ(walk.names, (std::vector<std::string>{".", ".."}));
}

TEST_F(FileIo, WalkOfAMissingDirectoryIsMinusOneWithoutCalls)
{
    WALK walk;

    EXPECT_EQ(wrapper_file_dir_walk(at("missing").c_str(), &walk, record_entry), -1);
    EXPECT_TRUE(walk.names.empty());
}
