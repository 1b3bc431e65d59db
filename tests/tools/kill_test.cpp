// The tool killed at random moments: whatever the moment, no photo is lost, and a second run completes the work.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <thread>

#include "tests/tools/made_photos.h"
#include "tests/tools/tool_process.h"
#include "tools/photo.h"
#include "tools/png_writer.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Files = std::map<std::string, skylevel::Bytes>;
using Words = std::vector<std::string>;

constexpr int usualKills = 12;

// scripts/kill-test asks for more.
int wantedKills() {
    const char* const wish = std::getenv("SKYLEVEL_KILLS");
    return wish == nullptr ? usualKills : std::atoi(wish);
}

void makeArchive(const std::string& folder) {
    for (const char* sub : {"a", "b/deep"}) fs::create_directories(fs::path(folder) / sub);
    const auto put = [&](const std::string& name, const skylevel::Bytes& bytes) {
        writeBytes(folder + "/" + name, bytes);
    };
    for (const char* name : {"1", "3", "a/5", "b/deep/7"}) {
        const skylevel::Picture sea = tiltedSea(640, 480, -8.0);
        put(std::string(name) + ".png", skylevel::encodePng(sea));
        put(std::string(name) + ".jpg", makeJpeg(sea, JpegKind::baseline));
    }
    for (const char* name : {"2.png", "b/6.png"}) put(name, skylevel::encodePng(noisyPicture(300, 200)));
    put("b/broken.jpg", {1, 2, 3});
#if SKYLEVEL_HAS_WEBP
    skylevel::Photo photo;
    photo.picture = tiltedSea(640, 480, -8.0);
    put("4.webp", skylevel::formatOf(skylevel::PhotoFormat::webp).encode(photo, 90));
#endif
}

Files filesIn(const std::string& folder) {
    Files files;
    if (!fs::exists(folder)) return files;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) files[fs::relative(entry.path(), folder).string()] = bytesOf(entry.path());
    return files;
}

std::size_t dropTemporaries(Files& files) {
    return std::erase_if(files, [](const auto& file) { return fs::path(file.first).filename().string()[0] == '.'; });
}

struct Figures {
    int ended = 0;        // before the work was done
    int amid = 0;         // of these, some photos done and some not
    int temporaries = 0;  // files left by SIGKILL
};

class Kill : public testing::Test {
protected:
    Kill() {
        makeArchive(in);
        originals = filesIn(in);
        const Clock::time_point start = Clock::now();
        runTool(straighten({"-o", folder.file("out"), in}));
        duration = std::chrono::duration<double>(Clock::now() - start).count();
        results = filesIn(folder.file("out"));
    }

    // A photo that was straightened is then left alone.
    static Words straighten(const Words& more) {
        Words arguments = {"straighten", "-r", "-j", "2"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }

    void killOnce(bool inPlace, int signal, double delay) {
        const std::string work = folder.file("work");
        fs::remove_all(work);
        if (inPlace) fs::copy(in, work, fs::copy_options::recursive);
        const Words arguments = straighten(inPlace ? Words{"--in-place", work} : Words{"-o", work, in});
        ToolProcess tool(arguments);
        std::this_thread::sleep_for(std::chrono::duration<double>(delay));
        tool.send(signal);
        const int status = tool.finish().status;

        Files left = filesIn(work);
        const std::size_t temporaries = dropTemporaries(left);
        EXPECT_TRUE(signal == SIGKILL || temporaries == 0);
        std::size_t done = 0;
        for (const auto& [name, bytes] : left) {
            const bool isResult = results.count(name) > 0 && bytes == results[name];
            EXPECT_TRUE(isResult || (inPlace && bytes == originals[name])) << name;
            done += isResult ? 1 : 0;
        }
        EXPECT_EQ(left.size(), inPlace ? originals.size() : done);
        EXPECT_EQ(filesIn(in), originals);
        const bool ended = status == -1 || status == 128 + signal;
        figures.ended += ended ? 1 : 0;
        figures.amid += ended && !left.empty() && left != originals && done < results.size() ? 1 : 0;
        figures.temporaries += static_cast<int>(temporaries);

        runTool(arguments);
        left = filesIn(work);
        dropTemporaries(left);
        Files complete = results;
        if (inPlace) complete.insert(originals.begin(), originals.end());
        EXPECT_EQ(left, complete) << "after a second run";
    }

    const TemporaryFolder folder;
    const std::string in = folder.file("in");
    Files originals;
    Files results;
    double duration = 0.0;
    Figures figures;
};

TEST_F(Kill, LosesNoPhoto) {
    ASSERT_EQ(results.size() + 1, originals.size()) << "all but the broken one";
    for (const auto& [name, bytes] : results) {
        EXPECT_NO_THROW(skylevel::decodePhoto(bytes, skylevel::PixelWish::stored, 1'000'000)) << name;
        EXPECT_EQ(bytes == originals[name], name == "2.png" || name == "b/6.png") << name;
    }
    std::mt19937 generator(20);
    const int kills = wantedKills();
    ASSERT_GT(kills, 0);
    for (int i = 0; i < kills && !HasFailure(); ++i) {
        const double delay = duration * 1.1 * static_cast<double>(generator()) / 4294967296.0;
        SCOPED_TRACE(std::to_string(i) + ", after " + std::to_string(delay) + " s");
        killOnce(i % 2 == 1, i % 4 < 2 ? SIGKILL : SIGTERM, delay);
    }
    EXPECT_TRUE(kills < 100 || figures.amid > 0) << "some of many hit amid the work";
    std::printf(
        "%d kills: %d before the end, %d with some photos done and some not; %d temporary files after SIGKILL\n", kills,
        figures.ended, figures.amid, figures.temporaries);
}

}  // namespace
