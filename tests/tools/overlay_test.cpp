#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "tests/tools/made_photos.h"
#include "tests/tools/tool_process.h"
#include "tools/photo.h"

namespace {

using Names = std::vector<std::string>;

skylevel::Picture pictureOf(const std::string& file) {
    return std::move(skylevel::decodePhoto(bytesOf(file), skylevel::PixelWish::rgb, 10'000'000).picture);
}

TEST(Overlay, ShowsTheUprightPhotoTheDecidingLineAndTheVerdict) {
    const TemporaryFolder folder;
    const std::string file = folder.file("o.png");
    EXPECT_EQ(runTool({"detect", "--overlay", file, bundled("sea-breaker.jpg")}).status, 0);
    const skylevel::Picture sea = pictureOf(file);
    EXPECT_EQ(sea.width, 1600);
    EXPECT_GT(sea.height, 898);
    const auto isGreen = [&](int x, int y) {
        const unsigned char* pixel = sea.row(y) + std::ptrdiff_t{x} * 3;
        return pixel[0] == 60 && pixel[1] == 240 && pixel[2] == 60;
    };
    EXPECT_TRUE(isGreen(480, 234)) << "the horizon lies in row 234";
    EXPECT_FALSE(isGreen(480, 100));
    bool written = false;
    for (int x = 0; x < sea.width; ++x) written = written || isGreen(x, sea.height - 20);
    EXPECT_TRUE(written);

    const skylevel::Bytes before = bytesOf(file);
    const ToolRun refused = runTool({"detect", "--csv", "--overlay", file, bundled("waterfall-exif6.jpg")});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err, "skylevel: " + file + ": exists, and --force was not given\n");
    EXPECT_NE(refused.out.find(",no segment long enough,"), std::string::npos);
    EXPECT_TRUE(refused.out.ends_with(",,,\"exists, and --force was not given\",\r\n")) << refused.out;
    EXPECT_EQ(bytesOf(file), before);

    EXPECT_EQ(runTool({"detect", "--force", "--overlay", file, bundled("waterfall-exif6.jpg")}).status, 1);
    EXPECT_EQ(pictureOf(file).width, 1200) << "upright";
    EXPECT_EQ(runTool({"detect", "--force", "--overlay", file, bundled("odd-1x1.jpg")}).status, 1);
    EXPECT_GE(pictureOf(file).width, 480) << "magnified";
}

TEST(Overlay, GoesIntoAFolderUnderNamesThatDoNotClash) {
    const TemporaryFolder folder;
    const std::string target = folder.file("made/here");
    const std::string drone = bundled("uav-06.jpg");
    const ToolRun run = runTool(
        {"detect", "--overlay-dir", target, drone, bundled("odd-1x1.jpg"), drone, bundled("odd-huge-header.png"), "-"},
        bundled("uav-06.jpg"));
    EXPECT_EQ(run.status, 2);
    Names names;
    for (const char* name : {"odd-1x1.png", "stdin.png", "uav-06-2.png", "uav-06.png"}) {
        EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(target) / name)) << name;
        names.emplace_back(name);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(target), {}), 4) << "and nothing beside them";
}

TEST(Overlay, NeverReplacesAPhoto) {
    const TemporaryFolder folder;
    const std::string photo = folder.file("page.png");
    const skylevel::Bytes before = bytesOf(bundled("page-scan.png"));
    writeBytes(photo, before);
    ASSERT_EQ(symlink(photo.c_str(), folder.file("link.png").c_str()), 0);
    for (const auto& [option, value] :
         {std::pair{"--overlay", photo}, {"--overlay", folder.file("link.png")}, {"--overlay-dir", folder.file("")}}) {
        for (const std::string& name : {photo, std::string("-")}) {
            if (name == "-" && option == std::string("--overlay-dir")) continue;  // stdin.png is free
            const ToolRun run = runTool({"detect", "--force", option, value, name}, photo);
            EXPECT_EQ(run.status, 2);
            EXPECT_NE(run.err.find("would replace a photo"), std::string::npos) << run.err;
        }
        EXPECT_EQ(bytesOf(photo), before);
    }
}

TEST(Overlay, LeavesNothingBehindWhenItCannotBeWritten) {
    const TemporaryFolder folder;
    const std::string missing = folder.file("missing/o.png");
    const ToolRun run = runTool({"detect", "--overlay", missing, bundled("uav-06.jpg")});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "skylevel: " + missing + ": No such file or directory\n");
    EXPECT_EQ(linesOf(run.out).size(), 1U) << "the verdict is told all the same";

    // A folder of that name is in the way of the last step.
    ASSERT_EQ(mkdir(folder.file("o.png").c_str(), 0700), 0);
    EXPECT_EQ(runTool({"detect", "--force", "--overlay", folder.file("o.png"), bundled("uav-06.jpg")}).status, 2);
    EXPECT_EQ(folder.names(), Names{"o.png"});
}

}  // namespace
