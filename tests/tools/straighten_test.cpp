// Straightening as its users see it: files, exit status, standard output and standard error.
#include <gtest/gtest.h>
#include <png.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>

#include "skylevel/skylevel.h"
#include "tests/tools/made_photos.h"
#include "tests/tools/tool_process.h"
#include "tools/jpeg_writer.h"
#include "tools/photo.h"
#include "tools/straight_crop.h"

namespace {

using Json = nlohmann::json;
using skylevel::Bytes;
using skylevel::JpegCoding;
using skylevel::Photo;
using skylevel::Picture;

Bytes pngOf(const Picture& picture, unsigned orientation) {
    return makePng(
        {picture.width, picture.height, PNG_COLOR_TYPE_RGB, 8, false, pixelsOf(picture), {}, exifBlock(orientation)});
}

Photo stored(const std::string& file) {
    return skylevel::decodePhoto(bytesOf(file), skylevel::PixelWish::stored, 100'000'000);
}

double angleAfter(const std::string& file, const std::string& gray) {
    const Json object = Json::parse(runTool({"detect", "--json", "--gray", gray, file}).out);
    return object["angle"].is_number() ? object["angle"].get<double>() : 1000.0;
}

TEST(Straighten, GivesTheSamePixelsForAllOrientations) {
    const TemporaryFolder folder;
    const Picture sea = tiltedSea(420, 280, -5.0);
    std::vector<std::string> arguments = {"straighten", "-o", folder.file("out")};
    for (unsigned exif = 1; exif <= 8; ++exif) {
        arguments.push_back(folder.file(std::to_string(exif) + ".png"));
        writeBytes(arguments.back(), pngOf(storedFor(sea, exif), exif));
    }
    const ToolRun run = runTool(arguments);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    const Photo first = stored(folder.file("out/1.png"));
    EXPECT_LT(first.picture.width, 420);
    EXPECT_LT(std::fabs(angleAfter(folder.file("out/1.png"), "luma")), 0.5);
    const std::string what = linesOf(run.out).at(0).substr(arguments[3].size());
    for (std::size_t i = 0; i < 8; ++i) {
        SCOPED_TRACE(i + 1);
        EXPECT_EQ(linesOf(run.out).at(i), arguments[3 + i] + what);
        const Photo photo = stored(folder.file("out/" + std::to_string(i + 1) + ".png"));
        EXPECT_EQ(photo.orientation.turn, 0);
        EXPECT_FALSE(photo.orientation.mirrored);
        EXPECT_EQ(photo.picture.width, first.picture.width);
        EXPECT_EQ(pixelsOf(photo.picture), pixelsOf(first.picture));
    }
}

TEST(Straighten, MakesTiltedPhotosLevel) {
    const TemporaryFolder folder;
    const std::string sea = folder.file("sea.png");
    for (const double degrees : {-11.0, -8.0, 8.0}) {
        SCOPED_TRACE(degrees);
        writeBytes(sea, pngOf(tiltedSea(640, 480, degrees), 1));
        const ToolRun run = runTool({"straighten", "--json", "--force", "-o", folder.file("level.png"), sea});
        EXPECT_NEAR(Json::parse(run.out)["turn"].get<double>(), -degrees, 0.5);
        EXPECT_LT(std::fabs(angleAfter(folder.file("level.png"), "luma")), 0.5);
    }
    const ToolRun run =
        runTool({"straighten", "--gray", "rgb", "-o", folder.file("p09.jpg"), bundled("sea-breaker-p09.jpg")});
    EXPECT_EQ(run.out, bundled("sea-breaker-p09.jpg") +
                           ": turned by -8.99 degrees, 888 x 497 of 1125 x 630 pixels: horizon, +8.99 degrees, "
                           "segment\n");
    EXPECT_LT(std::fabs(angleAfter(folder.file("p09.jpg"), "rgb")), 0.5);
}

TEST(Straighten, LeavesAloneWhatNeedsNoTurn) {
    const TemporaryFolder folder;
    const std::string sea = folder.file("sea.png");
    writeBytes(sea, pngOf(storedFor(tiltedSea(640, 480, -8.0), 6), 6));
    const struct {
        std::string photo;
        std::vector<std::string> options;
        std::string reason;
    } cases[] = {{bundled("page-scan.png"), {}, "left alone: no horizon, no segment long enough"},
                 {bundled("odd-cmyk-flower.jpg"), {}, "left alone: no horizon, no segment long enough"},
                 {bundled("sea-breaker.jpg"), {}, "left alone, level enough: horizon, +0.00 degrees, segment"},
                 {sea, {"--min-angle", "9"}, "left alone, level enough: horizon, -7.98 degrees, segment"},
                 {sea, {"--angle", "-0.05"}, "left alone, level enough"},
                 {sea, {"--max-angle", "4"}, "left alone, tilted beyond the limit: horizon, -7.98 degrees, segment"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason);
        std::vector<std::string> arguments = {"straighten", "--force", c.photo, "-o", folder.file("out/")};
        arguments.insert(arguments.end(), c.options.begin(), c.options.end());
        ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, c.photo + ": " + c.reason + "\n");
        EXPECT_EQ(bytesOf(folder.file("out/" + c.photo.substr(c.photo.rfind('/') + 1))), bytesOf(c.photo));
        arguments[4] = folder.file("file");
        run = runTool(arguments);
        EXPECT_EQ(run.status, 1);
    }
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"out", "sea.png"}));
}

// Every channel of every kind of PNG, compared with the turn of that channel alone.
TEST(Straighten, TurnsEveryChannelByTheAngle) {
    const TemporaryFolder folder;
    constexpr int width = 40;
    constexpr int height = 26;
    const Bytes noise = pixelsOf(noisyPicture(width * 2, height * 2));
    const auto recipe = [&](int colourType, int depth, int bytesPerPixel) {
        const Bytes rows(noise.begin(), noise.begin() + std::ptrdiff_t{width} * height * bytesPerPixel);
        return PngRecipe{width, height, colourType, depth, false, rows, {}, {}};
    };
    PngRecipe palette = recipe(PNG_COLOR_TYPE_PALETTE, 8, 1);
    for (unsigned char& index : palette.rows) index %= 2;
    palette.palette = {1, 2, 3, 255, 0, 100, 200, 51};
    const struct {
        PngRecipe recipe;
        int channels;
        const char* warning = "";
    } cases[] = {
        {recipe(PNG_COLOR_TYPE_GRAY, 8, 1), 1},
        {recipe(PNG_COLOR_TYPE_GRAY_ALPHA, 8, 2), 2},
        {recipe(PNG_COLOR_TYPE_RGB, 8, 3), 3},
        {recipe(PNG_COLOR_TYPE_RGB_ALPHA, 8, 4), 4},
        {palette, 4},
        {recipe(PNG_COLOR_TYPE_RGB, 16, 6), 3, "warning: 16 bits a channel, written with 8"},
    };
    for (const auto& c : cases)
        for (const bool keepCanvas : {false, true}) {
            SCOPED_TRACE(c.recipe.colourType);
            writeBytes(folder.file("in.png"), makePng(c.recipe));
            std::vector<std::string> arguments = {
                "straighten", "--force", "--angle", "-33.5", "-o", folder.file("out.png"), folder.file("in.png")};
            if (keepCanvas) arguments.emplace_back("--keep-canvas");
            const ToolRun run = runTool(arguments);
            EXPECT_EQ(run.status, 0);
            EXPECT_EQ(run.err, *c.warning ? "skylevel: " + folder.file("in.png") + ": " + c.warning + "\n" : "");
            const Picture in = std::move(stored(folder.file("in.png")).picture);
            const Picture out = std::move(stored(folder.file("out.png")).picture);
            ASSERT_EQ(out.channels, c.channels);
            for (int channel = 0; channel < c.channels; ++channel) {
                Picture plane = skylevel::makePicture(width, height, 3);
                for (int i = 0; i < width * height; ++i)
                    std::fill_n(&plane.pixels[3 * i], 3, in.pixels[i * in.channels + channel]);
                TiltCorrection corrector(nullptr, 0, 0, 0);
                unsigned char* data = nullptr;
                skylevel::Cut cut;
                corrector.rotateImage(plane.pixels.get(), width, height, data, cut.width, cut.height, -33.5);
                const std::unique_ptr<unsigned char[]> turned(data);
                const int turnedWidth = cut.width;
                if (!keepCanvas) cut = skylevel::straightCut(width, height, -33.5);
                ASSERT_EQ(out.width, cut.width);
                ASSERT_EQ(out.height, cut.height);
                for (int y = 0; y < out.height; ++y)
                    for (int x = 0; x < out.width; ++x)
                        ASSERT_EQ(out.row(y)[x * out.channels + channel],
                                  turned[3 * ((cut.top + y) * turnedWidth + cut.left + x)]);
            }
        }
}

TEST(Straighten, TurnsWhatTheLibraryOrTheCutRefuses) {
    const TemporaryFolder folder;
    const std::string in = folder.file("in.png");
    std::vector<std::string> arguments = {"straighten", "--force", "--angle", "135", "-o", folder.file("out.png"), in};
    writeBytes(in, pngOf(noisyPicture(30, 30), 1));  // its crop rectangle lies beside the picture
    EXPECT_EQ(runTool(arguments).status, 0);
    EXPECT_EQ(stored(folder.file("out.png")).picture.width, 21);
    arguments[3] = "90";
    writeBytes(in, pngOf(noisyPicture(1, 30), 1));
    EXPECT_EQ(runTool(arguments).err,
              "skylevel: " + in + ": too thin to be turned without empty corners; --keep-canvas keeps them\n");
    arguments.emplace_back("--keep-canvas");
    EXPECT_EQ(runTool(arguments).status, 0);
    EXPECT_EQ(stored(folder.file("out.png")).picture.width, 30);
}

TEST(Straighten, KeepsTheCodingOfAJpeg) {
    const TemporaryFolder folder;
    const auto coding = [](JpegCoding::Colours colours, bool progressive, int horizontal, int vertical) {
        JpegCoding result{colours, progressive, {}};
        result.sampling[0] = {horizontal, vertical};
        return result;
    };
    const auto luma = JpegCoding::Colours::luma;
    const struct {
        int channels;
        JpegCoding coding;
    } cases[] = {{1, coding(luma, false, 1, 1)},
                 {3, coding(luma, false, 1, 1)},
                 {3, coding(luma, false, 2, 1)},
                 {3, coding(luma, true, 2, 2)},
                 {3, coding(luma, false, 1, 2)},
                 {3, coding(luma, false, 4, 1)},
                 {3, coding(JpegCoding::Colours::rgb, false, 1, 1)}};
    for (const auto& c : cases) {
        Picture picture = noisyPicture(64, 48);
        picture.channels = c.channels;
        writeBytes(folder.file("in.jpg"), skylevel::encodeJpeg(picture, c.coding, 90));
        const auto fileFor = [&](const std::string& quality) {
            EXPECT_EQ(runTool({"straighten", "--force", "--angle", "2", "--quality", quality, "-o",
                               folder.file("out.jpg"), folder.file("in.jpg")})
                          .err,
                      "");
            return bytesOf(folder.file("out.jpg"));
        };
        EXPECT_LT(fileFor("20").size() * 2, fileFor("98").size());
        const Photo photo = stored(folder.file("out.jpg"));
        EXPECT_EQ(photo.picture.channels, c.channels);
        EXPECT_EQ(photo.jpegCoding.colours, c.coding.colours);
        EXPECT_EQ(photo.jpegCoding.progressive, c.coding.progressive);
        for (std::size_t i = 0; i < static_cast<std::size_t>(c.channels); ++i) {
            EXPECT_EQ(photo.jpegCoding.sampling[i].horizontal, c.coding.sampling[i].horizontal);
            EXPECT_EQ(photo.jpegCoding.sampling[i].vertical, c.coding.sampling[i].vertical);
        }
    }
}

TEST(Straighten, RefusesWhatWouldLoseSomething) {
    const TemporaryFolder folder;
    const std::string sea = folder.file("sea.png");
    const std::string other = folder.file("other.png");
    const std::string link = folder.file("link.png");
    std::filesystem::create_directory(folder.file("sub"));
    for (const std::string& file : {sea, other, folder.file("sub/sea.png")})
        writeBytes(file, pngOf(noisyPicture(32, 32), 1));
    std::filesystem::create_symlink("sea.png", link);
    // libjpeg passes over a segment that is shorter than the length itself.
    const std::string odd = folder.file("odd.jpg");
    Bytes damaged = withExif(makeJpeg(noisyPicture(32, 32), JpegKind::baseline), exifBlock(6));
    const Bytes shortSegment = {0xFF, 0xE3, 0, 0};
    damaged.insert(damaged.begin() + 2, shortSegment.begin(), shortSegment.end());
    writeBytes(odd, damaged);
    EXPECT_EQ(stored(odd).orientation.turn, 90);
    const Bytes before = bytesOf(sea);
    const std::vector<std::string> names = folder.names();
    const std::string flower = bundled("odd-cmyk-flower.jpg");
    const std::string cut = bundled("odd-truncated.jpg");
    const struct {
        std::vector<std::string> arguments;
        std::string reason;
    } cases[] = {
        {{sea}, "-o FILE|DIR is missing"},
        {{sea, "-o", "-"}, "-o needs a file; nothing is written to standard output"},
        {{sea, other, "-o", link}, "-o must be a folder for several photos, and " + link + " is none"},
        {{"-", "-o", folder.file("")}, "standard input has no name; it needs -o FILE"},
        {{sea, "--in-place", "-o", ""}, "--output: needs a name"},
        {{sea, sea, "-o", folder.file("new")}, sea + " was given twice"},
        {{"-", "--in-place"}, "standard input has no name; it needs -o FILE"},
        {{sea, "-o", sea, "--force"}, "the result of " + sea + " would replace it; --in-place allows that"},
        {{sea, "-o", folder.file("")}, "the result of " + sea + " would replace it; --in-place allows that"},
        {{link, "-o", sea}, "the result of " + link + " would replace it; --in-place allows that"},
        {{sea, other, "--in-place", "-o", folder.file("sub"), folder.file("sub/sea.png")},
         "the result of " + sea + " would replace the photo " + folder.file("sub/sea.png")},
        {{sea, folder.file("sub/sea.png"), "-o", folder.file("new")},
         sea + " and " + folder.file("sub/sea.png") + " would both be written to " + folder.file("new/sea.png")},
        {{sea, link, "--in-place"}, sea + " and " + link + " would both be written to " + sea},
        {{sea, "-o", other}, sea + ": cannot write " + other + ": exists, and --force was not given"},
        {{sea, "-o", folder.file("x.jpg")}, sea + ": is a png file and stays one, unlike " + folder.file("x.jpg")},
        {{sea, "-o", "/dev/null", "--force"}, sea + ": cannot write /dev/null: exists and is not a file"},
        {{sea, "-o", other + "/x.png"}, sea + ": cannot write " + other + "/x.png: Not a directory"},
        {{flower, "-o", folder.file("x.jpg")},
         flower + ": in printing inks (CMYK), and so not straightened: its colour profile would no longer fit"},
        {{cut, "-o", folder.file("x.jpg")},
         cut + ": damaged, and so not straightened: truncated: 560 of 1066 rows read"},
        {{odd, "-o", folder.file("x.jpg")}, odd + ": damaged, and so not straightened: a segment of impossible length"},
        {{sea, "--angle", "181", "-o", folder.file("x.png")}, "--angle: must be a number of degrees from -180 to 180"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> arguments = {"straighten", "--angle", "5"};
        if (c.arguments.size() > 2 && c.arguments[1] == "--angle") arguments.resize(1);
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(linesOf(run.err).at(0), "skylevel: " + c.reason);
        EXPECT_EQ(folder.names(), names);
        EXPECT_EQ(bytesOf(sea), before);
    }
}

TEST(Straighten, ReplacesAPhotoInPlaceWhenAllowed) {
    const TemporaryFolder folder;
    const std::string sea = folder.file("sea.png");
    writeBytes(sea, pngOf(noisyPicture(64, 48), 1));
    ::chmod(sea.c_str(), 0640);
    static_cast<void>(!::chown(sea.c_str(), 1234, 2345));  // only the superuser can
    struct stat before = {};
    ::stat(sea.c_str(), &before);
    std::filesystem::create_symlink("sea.png", folder.file("link.png"));
    EXPECT_EQ(runTool({"straighten", "--angle", "5", "--in-place", folder.file("link.png")}).status, 0);
    const int width = stored(sea).picture.width;
    EXPECT_LT(width, 64);
    EXPECT_EQ(runTool({"straighten", "--angle", "5", "--in-place", "-o", folder.file(""), sea}).status, 0);
    EXPECT_LT(stored(sea).picture.width, width);
    skylevel::FileState read;
    const Bytes bytes = skylevel::readFile(sea, skylevel::requirePhoto, &read);
    EXPECT_NO_THROW(skylevel::writeFile(sea, bytes, skylevel::Existing::replace, read));
    EXPECT_THROW(skylevel::writeFile(sea, {}, skylevel::Existing::replace, read), skylevel::FileError) << "changed";
    EXPECT_EQ(bytesOf(sea), bytes);
    struct stat status = {};
    ::stat(sea.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
    EXPECT_EQ(status.st_uid, before.st_uid);
    EXPECT_EQ(status.st_gid, before.st_gid);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link.png")));
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"link.png", "sea.png"}));
}

TEST(Straighten, LeavesNothingBehindWhenWritingFails) {
    const TemporaryFolder folder;
    const std::string sea = folder.file("sea.png");
    const std::string out = folder.file("out.png");
    writeBytes(sea, pngOf(noisyPicture(200, 100), 1));
    writeBytes(out, {1, 2, 3});
    rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small = {4096, limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const ToolRun full = runTool({"straighten", "--angle", "5", "--force", "-o", out, sea});
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(full.status, 2);
    EXPECT_EQ(full.err, "skylevel: " + sea + ": cannot write " + out + ": File too large\n");
    EXPECT_EQ(bytesOf(out), (Bytes{1, 2, 3}));
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"out.png", "sea.png"}));

    if (::geteuid() == 0) return;  // whom access rights do not bind
    std::filesystem::create_directory(folder.file("sub"));
    ::chmod(folder.file("sub").c_str(), 0500);
    const ToolRun locked = runTool({"straighten", "--angle", "5", "-o", folder.file("sub"), sea});
    EXPECT_EQ(locked.err,
              "skylevel: " + sea + ": cannot write " + folder.file("sub/sea.png") + ": Permission denied\n");
}

TEST(Straighten, GoesOnAfterABrokenPhoto) {
    const TemporaryFolder folder;
    const std::string sea = folder.file("sea.png");
    writeBytes(sea, pngOf(tiltedSea(640, 480, 8.0), 1));
    const std::string broken = bundled("odd-corrupt-header.jpg");
    const ToolRun run = runTool({"straighten", "--json", "-o", folder.file("out"), broken, sea});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "skylevel: " + broken + ": JPEG datastream contains no image\n");
    const Json failed = Json::parse(linesOf(run.out).at(0));
    EXPECT_EQ(failed["error"], "JPEG datastream contains no image");
    const ToolRun damaged =
        runTool({"straighten", "--json", "--min-angle", "0", "-o", folder.file("x.jpg"), bundled("odd-truncated.jpg")});
    EXPECT_EQ(Json::parse(damaged.out)["warnings"].at(0), "truncated: 560 of 1066 rows read");
    const Json done = Json::parse(linesOf(run.out).at(1));
    EXPECT_EQ(done["output"], folder.file("out/sea.png"));
    EXPECT_EQ(done["newWidth"], stored(folder.file("out/sea.png")).picture.width);
    EXPECT_EQ(runTool({"straighten", "-q", "-o", folder.file("from-input"), "-"}, sea).out, "");
    EXPECT_EQ(bytesOf(folder.file("from-input")), bytesOf(folder.file("out/sea.png")));
}

TEST(Orientation, PrintsTheQuarterTurn) {
    const struct {
        std::vector<std::string> gravity;
        std::string out;
    } cases[] = {{{"0", "9.8", "0"}, "90\n"},    {{"9.8", "0", "0"}, "0\n"},   {{"-9.8", "0", "0"}, "180\n"},
                 {{"0", "-9.8", "-1"}, "270\n"}, {{"0", "-.5", "0"}, "270\n"}, {{"0", "9.8", "9.01"}, "0\n"},
                 {{"0", "9.8", "x"}, ""},        {{"0", "9.8"}, ""},           {{"0", "-inf", "0"}, ""},
                 {{"nan", "0", "0"}, ""},        {{"1e39", "0", "0"}, ""},     {{"1", "2", "3", "4"}, ""}};
    for (const auto& c : cases) {
        std::vector<std::string> arguments = {"orientation"};
        arguments.insert(arguments.end(), c.gravity.begin(), c.gravity.end());
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.out, c.out) << testing::PrintToString(c.gravity);
        EXPECT_EQ(run.status, c.out.empty() ? 2 : 0);
        EXPECT_EQ(run.err.empty(), !c.out.empty());
    }
}

}  // namespace
