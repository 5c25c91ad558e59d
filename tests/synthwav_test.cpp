// Tests of the sound renderer: it remakes the committed sounds and their picture byte for byte,
// and every file it writes is a canonical 16-bit mono 22050 Hz WAV file holding a sound.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "process.h"

namespace {

// A file's bytes, empty when it cannot be read
std::string file_bytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The names of the files in a directory
std::set<std::string> names_in(const std::string &dir)
{
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(dir))
        names.insert(entry.path().filename().string());
    return names;
}

uint32_t le32(const std::string &b, size_t at)
{
    return static_cast<uint8_t>(b[at]) | static_cast<uint8_t>(b[at + 1]) << 8 |
           static_cast<uint8_t>(b[at + 2]) << 16 | static_cast<uint32_t>(static_cast<uint8_t>(b[at + 3])) << 24;
}

uint16_t le16(const std::string &b, size_t at)
{
    return static_cast<uint16_t>(static_cast<uint8_t>(b[at]) | static_cast<uint8_t>(b[at + 1]) << 8);
}

// Run the renderer for every sound into a fresh directory; its path, or empty on failure
std::string render_all()
{
    std::string out = process_temp_dir("lumtest-sounds");
    if (out.empty())
        return out;
    std::string error;
    pid_t pid = process_spawn({SYNTHWAV_PATH, "--all", out, out + "/sounds.png", "assets/font8x8.txt"}, {}, -1, -1,
                              -1, SIGKILL, error);
    int status = 0;
    if (pid <= 0 || !process_reap(pid, 120.0, status) || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        ADD_FAILURE() << "synthwav failed: " << error << " " << describe_status(status);
        process_remove_dir(out);
        return "";
    }
    return out;
}

TEST(Synthwav, RemakesTheCommittedSoundsAndTheirPictureByteForByte)
{
    std::string out = render_all();
    ASSERT_FALSE(out.empty());
    std::set<std::string> made = names_in(out);
    made.erase("sounds.png");
    EXPECT_EQ(made, names_in("docs/sounds")) << "run `make sounds`";
    for (const std::string &name : made)
        EXPECT_TRUE(file_bytes(out + "/" + name) == file_bytes("docs/sounds/" + name))
            << name << " differs from what synthwav makes now: run `make sounds`";
    EXPECT_TRUE(file_bytes(out + "/sounds.png") == file_bytes("docs/sounds.png"))
        << "docs/sounds.png differs from what synthwav makes now: run `make sounds`";
    process_remove_dir(out);
}

TEST(Synthwav, RemakesTheMusicTestsTuneByteForByte)
{
    std::string out = process_temp_dir("lumtest-tune");
    ASSERT_FALSE(out.empty());
    std::string error;
    pid_t pid = process_spawn({SYNTHWAV_PATH, "tune", out + "/tune.wav"}, {}, -1, -1, -1, SIGKILL, error);
    int status = 0;
    ASSERT_GT(pid, 0) << error;
    ASSERT_TRUE(process_reap(pid, 60.0, status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << describe_status(status);
    EXPECT_FALSE(file_bytes("assets/tune.wav").empty());
    EXPECT_TRUE(file_bytes(out + "/tune.wav") == file_bytes("assets/tune.wav"))
        << "assets/tune.wav differs from what synthwav makes now: run `make sounds`";
    process_remove_dir(out);
}

TEST(Synthwav, EverySoundIsACanonicalSixteenBitMonoWaveFileThatIsNotSilent)
{
    std::set<std::string> names = names_in("docs/sounds");
    EXPECT_GE(names.size(), 10u);
    for (const std::string &name : names) {
        std::string b = file_bytes("docs/sounds/" + name);
        ASSERT_GE(b.size(), 44u) << name;
        EXPECT_EQ(b.substr(0, 4), "RIFF") << name;
        EXPECT_EQ(le32(b, 4), b.size() - 8) << name;
        EXPECT_EQ(b.substr(8, 8), "WAVEfmt ") << name;
        EXPECT_EQ(le32(b, 16), 16u) << name;
        EXPECT_EQ(le16(b, 20), 1) << name << ": PCM";
        EXPECT_EQ(le16(b, 22), 1) << name << ": mono";
        EXPECT_EQ(le32(b, 24), 22050u) << name;
        EXPECT_EQ(le32(b, 28), 44100u) << name;
        EXPECT_EQ(le16(b, 32), 2) << name;
        EXPECT_EQ(le16(b, 34), 16) << name;
        EXPECT_EQ(b.substr(36, 4), "data") << name;
        EXPECT_EQ(le32(b, 40), b.size() - 44) << name;
        int peak = 0;
        for (size_t k = 44; k + 1 < b.size(); k += 2)
            peak = std::max(peak, std::abs(static_cast<int>(static_cast<int16_t>(le16(b, k)))));
        EXPECT_GT(peak, 3000) << name << " is heard";
    }
}

}  // namespace
