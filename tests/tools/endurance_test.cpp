// Files that no archive should hold, and disks that are full: each costs its photo and no other.
#include <gtest/gtest.h>
#include <png.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <span>

#include "tests/tools/made_photos.h"
#include "tests/tools/tool_process.h"
#include "tools/jpeg_segments.h"
#include "tools/png_chunks.h"
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
    EXPECT_EQ(namesIn(disk), (Words{"a.png", "c.png"}));
}

Bytes joined(std::initializer_list<std::span<const unsigned char>> parts) {
    Bytes file;
    for (const auto& part : parts) file.insert(file.end(), part.begin(), part.end());
    return file;
}

// Files that cost far more than their size promises, or promise more than they hold: what is said of them, and that no
// memory is filled for it.
TEST(Endurance, TakesLittleForBombsAndPromises) {
    const skylevel::Picture noise = noisyPicture(64, 48);
    const Bytes plain = skylevel::encodePng(noise);
    constexpr std::size_t pngHeaderEnd = 33;
    const std::span<const unsigned char> pngStart = std::span(plain).first(pngHeaderEnd);
    const std::span<const unsigned char> pngRest = std::span(plain).subspan(pngHeaderEnd);
    Bytes hugeHeader(plain.begin(), plain.begin() + 8);
    const Bytes huge = {0, 0, 0x4E, 0x20, 0, 0, 0x61, 0xA8, 8, 2, 0, 0, 0};
    skylevel::appendChunk(hugeHeader, "IHDR", huge);

    // Each inflates to 8 MB.
    Bytes text = {'a', 0, 0};
    const Bytes spaces(8'000'000, ' ');
    uLongf packed = compressBound(spaces.size());
    text.resize(3 + packed);
    ASSERT_EQ(compress(&text[3], &packed, spaces.data(), spaces.size()), Z_OK);
    text.resize(3 + packed);
    Bytes texts;
    for (int i = 0; i < 100; ++i) skylevel::appendChunk(texts, "zTXt", text);

    const Bytes jpeg = makeJpeg(noise, JpegKind::baseline);
    Bytes hugeJpeg = jpeg;
    const Bytes frameStart = {0xFF, 0xC0};
    const Bytes hugeFrame = {0x1D, 0xB0, 0xFF, 0xDC};
    const auto frame = std::search(hugeJpeg.begin(), hugeJpeg.end(), frameStart.begin(), frameStart.end());
    std::copy(hugeFrame.begin(), hugeFrame.end(), frame + 5);

    const Bytes progressive = makeJpeg(noise, JpegKind::progressive);
    const Bytes scanStart = {0xFF, 0xDA};
    const Bytes lastScan(std::find_end(progressive.begin(), progressive.end(), scanStart.begin(), scanStart.end()),
                         progressive.end() - 2);
    Bytes scans(progressive.begin(), progressive.end() - 2);
    for (int i = 0; i < 100; ++i) scans.insert(scans.end(), lastScan.begin(), lastScan.end());

    const Bytes photo = withExif(jpeg, exifBlock(6));
    Bytes segments;
    for (int i = 0; i < 200'000; ++i) skylevel::appendSegment(segments, 0xE1, {});
    const std::span<const unsigned char> jpegStart = std::span(photo).first(2);
    const std::span<const unsigned char> jpegRest = std::span(photo).subspan(2);

    constexpr int bombSide = 12000;
    const Bytes bomb =
        makePng({bombSide, bombSide, PNG_COLOR_TYPE_GRAY, 1, false, Bytes(bombSide / 8 * bombSide), {}, {}});
    constexpr std::uintmax_t gigabyte = std::uintmax_t{1} << 30;
    const struct {
        const char* what;
        Bytes file;
        std::string outcome;
        const char* maxPixels = "500000000";
        int turn = 0;
        std::uintmax_t size = 0;  // to which zeros fill it
    } cases[] = {
        {"a PNG of nothing but a header", joined({hugeHeader, pngRest}), "Not enough image data"},
        {"a JPEG of nothing but a header", hugeJpeg, "truncated before the first rows"},
        {"more scans than any JPEG has", scans, "more than 100 scans"},
        {"more segments than any JPEG has", joined({jpegStart, segments, jpegRest}), "decided", "500000000", 90},
        {"packed texts", joined({pngStart, texts, pngRest}), "decided"},
        {"a PNG of zeros", bomb, "decided", "144000000"},
        {"a PNG of zeros, too large", bomb, "12000 x 12000 pixels are more than the limit of 143999999", "143999999"},
        {"a large file", jpeg, "larger than 4 GiB", "500000000", 0, 5 * gigabyte},
    };
    const TemporaryFolder folder;
    const std::string name = folder.file("photo");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        writeBytes(name, c.file);
        if (c.size > 0) fs::resize_file(name, c.size);
        const ToolRun run = runTool({"detect", "--json", "--max-pixels", c.maxPixels, name});
        const auto told = nlohmann::json::parse(run.out);
        EXPECT_EQ(told.value("error", "decided"), c.outcome);
        EXPECT_EQ(told.value("turn", 0), c.turn);
        EXPECT_LT(run.peakKilobytes, 500'000)
            << "not a byte for each pixel promised, even where an eighth is held for a sanitizer";
    }
}

}  // namespace
