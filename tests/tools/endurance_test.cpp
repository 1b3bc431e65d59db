// Files that no archive should hold, and disks that are full: each costs its photo and no other.
#include <gtest/gtest.h>
#include <png.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <utility>

#include "tests/tools/made_photos.h"
#include "tests/tools/tool_process.h"
#include "tools/png_writer.h"

namespace {

namespace fs = std::filesystem;
using skylevel::Bytes;
using Words = std::vector<std::string>;

// A pipe among the photos holds the tool, which has listed the others by then, while they change.
TEST(Endurance, GoesOnWhateverBecomesOfPhotos) {
    const TemporaryFolder folder;
    const std::string in = folder.file("in");
    const std::string out = folder.file("out");
    const std::string pipe = folder.file("pipe.png");
    const std::string longName = std::string(251, 'x') + ".png";
    const std::string oddName = "\n\033[31m\xFF\xE2\x80\xAE.png";
    for (const char* sub : {"in/d.png", "out/e.png"}) fs::create_directories(folder.file(sub));
    const Bytes plain = skylevel::encodePng(noisyPicture(60, 40));
    for (const std::string& name : {std::string("a.png"), std::string("b.png"), std::string("d.png/a.png"),
                                    std::string("e.png"), oddName, longName})
        writeBytes(in + "/" + name, plain);
    fs::create_symlink("loop.png", in + "/loop.png");
    fs::create_directory_symlink("..", in + "/up");
    for (const std::string& name : {pipe, in + "/unnoticed.png"}) ASSERT_EQ(::mkfifo(name.c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", in + "/zero.png");

    ToolProcess tool({"straighten", "-r", "-j", "1", "-q", "--summary", "--angle", "5", "-o", out, pipe, in});
    const int end = tool.openWhenRead(pipe);
    ASSERT_GE(end, 0);
    fs::remove(in + "/a.png");
    fs::remove(in + "/b.png");
    fs::create_directory(in + "/b.png");
    ::close(end);
    const ToolRun run = tool.finish();
    EXPECT_EQ(run.status, 2);
    const std::string start = "skylevel: ";
    EXPECT_EQ(linesOf(run.err),
              (Words{start + pipe + ": empty file", start + in + "/a.png: No such file or directory",
                     start + in + "/b.png: is a folder; -r takes the photos in it",
                     start + in + "/e.png: cannot write " + out + "/e.png: exists, and --force was not given",
                     start + in + "/loop.png: Too many levels of symbolic links",
                     start + "8 photos: 3 read, 3 straightened, 0 left alone, 5 failed"}));
    for (const std::string& name : {std::string("d.png/a.png"), oddName, longName})
        EXPECT_TRUE(fs::is_regular_file(out + "/" + name)) << name;
    EXPECT_EQ(runTool({"straighten", "-q", "--angle", "5", "--force", "-o", out + "/e.png/", in + "/e.png"}).status, 0);
    EXPECT_EQ(runTool({"straighten", "-q", "--angle", "5", "--force", "-o", out, in + "/e.png", in + "/zero.png"}).err,
              start + in + "/e.png: cannot write " + out + "/e.png: exists and is not a file\n" + start + in +
                  "/zero.png: not a JPEG, PNG, WebP or HEIC file\n");
}

TEST(Endurance, LeavesPathsAloneThatAreTooLong) {
    const TemporaryFolder folder;
    fs::create_directory(folder.file("in"));
    const fs::path before = fs::current_path();
    fs::current_path(folder.file("in"));
    for (int depth = 0; depth < 20; ++depth) {
        writeBytes("a.png", skylevel::encodePng(noisyPicture(8, 8)));
        fs::create_directory(std::string(250, 'd'));
        fs::current_path(std::string(250, 'd'));
    }
    fs::current_path(before);
    const ToolRun run =
        runTool({"straighten", "-r", "-q", "--angle", "5", "-o", folder.file("out"), folder.file("in")});
    EXPECT_EQ(run.status, 2);
    // The folder that cannot be entered, and at most one photo of which the result's path would be too long.
    const Words lines = linesOf(run.err);
    EXPECT_TRUE(lines.size() == 1 || lines.size() == 2);
    for (const std::string& line : lines) EXPECT_TRUE(line.ends_with(": File name too long")) << line;
    int files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder.file("out"))) files += entry.is_regular_file();
    EXPECT_GE(files, 15);
}

class SmallDisk {
public:
    explicit SmallDisk(const std::string& folder) : path(folder) {
        fs::create_directory(path);
        mounted = ::mount("tmpfs", path.c_str(), "tmpfs", 0, "size=256k") == 0;
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() {
        if (mounted) ::umount(path.c_str());
    }

    bool mounted = false;

private:
    std::string path;
};

TEST(Endurance, WritesWhatFitsOnAFullDisk) {
    const TemporaryFolder folder;
    const std::string disk = folder.file("disk");
    const SmallDisk mounted(disk);
    if (!mounted.mounted) GTEST_SKIP() << "only the superuser can mount a small disk";
    const Bytes large = skylevel::encodePng(noisyPicture(260, 260));
    const Bytes small = skylevel::encodePng(noisyPicture(30, 20));
    Words photos;
    for (const char* name : {"a.png", "b.png", "c.png"}) {
        photos.push_back(folder.file(name));
        writeBytes(photos.back(), *name == 'c' ? small : large);
    }
    Words arguments = {"straighten", "-q", "-j", "1", "--angle", "1", "-o", disk};
    arguments.insert(arguments.end(), photos.begin(), photos.end());
    const ToolRun run = runTool(arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "skylevel: " + photos[1] + ": cannot write " + disk + "/b.png: No space left on device\n");
    EXPECT_EQ(namesIn(disk), (Words{"a.png", "c.png"}));

    // In place the new form needs room beside the old one.
    fs::remove(disk + "/a.png");
    writeBytes(disk + "/a.png", large);
    const ToolRun inPlace =
        runTool({"straighten", "-q", "-j", "1", "--in-place", "--angle", "1", disk + "/a.png", disk + "/c.png"});
    EXPECT_EQ(inPlace.status, 2);
    EXPECT_EQ(linesOf(inPlace.err).size(), 1U) << inPlace.err;
    EXPECT_EQ(bytesOf(disk + "/a.png"), large);
    EXPECT_EQ(namesOn(), (Words{"a.png", "c.png"}));
}

// A few bytes of file promise 500 million pixels: no memory is filled before they are there.
TEST(Endurance, TakesLittleMemoryForPromises) {
    const TemporaryFolder folder;
    Bytes png = makePng({64, 48, PNG_COLOR_TYPE_RGB, 8, false, pixelsOf(noisyPicture(64, 48)), {}, {}});
    const Bytes pngSize = {0, 0, 0x4E, 0x20, 0, 0, 0x61, 0xA8};
    std::copy(pngSize.begin(), pngSize.end(), png.begin() + 16);
    const uLong sum = crc32(0, &png[12], 17);
    for (std::size_t i = 0; i < 4; ++i) png[29 + i] = static_cast<unsigned char>(sum >> (24 - 8 * i));

    Bytes jpeg = makeJpeg(noisyPicture(64, 48), JpegKind::baseline);
    const Bytes frameStart = {0xFF, 0xC0};
    const Bytes jpegSize = {0x1D, 0xB0, 0xFF, 0xDC};
    const auto frame = std::search(jpeg.begin(), jpeg.end(), frameStart.begin(), frameStart.end());
    std::copy(jpegSize.begin(), jpegSize.end(), frame + 5);

    const std::string photo = folder.file("photo");
    for (const auto& [bytes, reason] :
         {std::pair(png, "Not enough image data"), {jpeg, "truncated before the first rows"}}) {
        writeBytes(photo, bytes);
        const ToolRun run = runTool({"detect", photo});
        EXPECT_EQ(run.err, "skylevel: " + photo + ": " + reason + "\n");
        EXPECT_LT(run.peakKilobytes, 500'000)
            << "not a byte for each pixel, even where an eighth is held for a sanitizer";
    }
}

}  // namespace
