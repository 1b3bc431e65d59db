// The command as its users see it: exit status, standard output and standard error.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <png.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>

#include "tests/tools/made_photos.h"
#include "tests/tools/tool_process.h"

namespace {

using Json = nlohmann::json;

std::vector<Json> objectsOf(const ToolRun& run) {
    std::vector<Json> objects;
    for (const std::string& line : linesOf(run.out)) objects.push_back(Json::parse(line));
    return objects;
}

// A dark lower part below a straight line, low enough in the picture for the top-edge stage.
skylevel::Picture tallScene(int width, int height, double leftY, double rightY) {
    skylevel::Picture scene = skylevel::makePicture(width, height, 3);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool below = y > leftY + (rightY - leftY) * x / width;
            std::fill_n(scene.row(y) + std::ptrdiff_t{x} * 3, 3, static_cast<unsigned char>(below ? 40 : 200));
        }
    return scene;
}

TEST(Detect, DecidesOnTheBundledPhotos) {
    constexpr double none = 1000.0;
    const struct {
        const char* name;
        const char* verdict;  // or the error
        double angle = none;
        const char* threshold = "10";
    } cases[] = {
        {"beach-haze.jpg", "segment", 0.0},
        {"fir-forest.jpg", "busy scene"},
        {"odd-16bit-alpha.png", "no solid segment"},
        {"odd-1x1.jpg", "too small"},
        {"odd-alpha-tulips.png", "no solid segment near level"},
        {"odd-alpha-tulips.png", "no segment long enough", none, "45"},
        {"odd-cmyk-flower.jpg", "no segment long enough"},
        {"odd-huge-header.png", "100000 x 100000 pixels are more than the limit of 500000000"},
        {"odd-truncated.jpg", "segment", 0.0},
        {"page-scan.png", "no segment long enough"},
        {"pavilion.jpg", "no segment long enough"},
        {"sea-breaker.jpg", "segment", 0.0},
        {"uav-06.jpg", "no solid segment near level"},
        {"uav-06.jpg", "segment", 26.76399040222168, "45"},
        {"waterfall-exif6.jpg", "no segment long enough"},
    };
    for (const auto& c : cases) {
        const Json object = objectsOf(runTool({"detect", "--json", "--threshold", c.threshold, bundled(c.name)})).at(0);
        SCOPED_TRACE(object.dump());
        EXPECT_EQ(object["file"], bundled(c.name));
        EXPECT_EQ(object.value("verdict", object.value("error", "")), c.verdict);
        EXPECT_EQ(object.value("horizon", false), c.angle != none);
        for (const char* angle : {"angle", "decisionAngle"})
            EXPECT_EQ(object.value(angle, Json()), c.angle == none ? Json() : Json(c.angle));
    }
}

TEST(Detect, TellsPeopleInALineEach) {
    const std::string sea = bundled("sea-breaker.jpg");
    const std::string cut = bundled("odd-truncated.jpg");
    const std::string bad = bundled("odd-corrupt-header.jpg");
    const std::string drone = bundled("uav-06.jpg");
    const ToolRun run = runTool({"detect", "--threshold", "22", sea, bad, cut, drone});
    EXPECT_EQ(run.out, sea + ": horizon, +0.00 degrees, segment\n" + cut + ": horizon, +0.00 degrees, segment\n" +
                           drone + ": no horizon, +26.76 degrees, too tilted\n");
    EXPECT_EQ(run.err, "skylevel: " + bad + ": JPEG datastream contains no image\nskylevel: " + cut +
                           ": warning: truncated: 560 of 1066 rows read\n");
}

TEST(Detect, ExitsInTheMannerOfGrep) {
    const std::string sea = bundled("sea-breaker.jpg");
    const std::string page = bundled("page-scan.png");
    const std::string bad = bundled("odd-corrupt-header.jpg");
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::size_t lines;
    } cases[] = {
        {{page, sea}, 0, 2},       {{page}, 1, 1},
        {{page, bad, sea}, 2, 2},  {{bad}, 2, 0},
        {{"-q", bad, sea}, 0, 0},  {{"-q", page}, 1, 0},
        {{"-q", bad, page}, 2, 0}, {{"--max-pixels", "1000", sea}, 2, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        std::vector<std::string> arguments = {"detect"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, c.status);
        EXPECT_EQ(linesOf(run.out).size(), c.lines);
    }
    const ToolRun full = runTool({"detect", sea}, "/dev/null", "/dev/full");
    EXPECT_EQ(full.status, 2);
    EXPECT_EQ(full.err, "skylevel: standard output: No space left on device\n");
}

TEST(Detect, RefusesArgumentsThatMakeNoSense) {
    const std::vector<std::string> cases[] = {
        {},
        {"dissect", "x.jpg"},
        {"detect"},
        {"detect", "--threshold", "nan", "x.jpg"},
        {"detect", "--threshold", "90.5", "x.jpg"},
        {"detect", "--orientation", "45", "x.jpg"},
        {"detect", "--gray", "pale", "x.jpg"},
        {"detect", "--max-pixels", "2147483648", "x.jpg"},
        {"detect", "--json", "--quiet", "x.jpg"},
        {"detect", "--jobs", "0", "x.jpg"},
        {"detect", "--overlay", "o.png", "x.jpg", "y.jpg"},
        {"detect", "--overlay", "o.png", "--overlay-dir", "o", "x.jpg"},
        {"detect", "--unknown\033", "x.jpg"},
    };
    for (const auto& arguments : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const ToolRun run = runTool(arguments);
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.find("x.jpg:"), std::string::npos) << "went on to the photo";
        EXPECT_EQ(run.err.find('\033'), std::string::npos);
        EXPECT_EQ(linesOf(run.err).size(), 2U) << run.err;
    }
}

TEST(Detect, DescribesItself) {
    EXPECT_TRUE(runTool({"--version"}).out.starts_with("skylevel 2.0.0\n"));
    const ToolRun help = runTool({"detect", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("Exit status"), std::string::npos);
}

TEST(Detect, ReadsStandardInputAndTellsFormatsByContent) {
    const ToolRun run = runTool({"detect", "-"}, bundled("sea-breaker.jpg"));
    EXPECT_EQ(run.out, "(standard input): horizon, +0.00 degrees, segment\n");
    const ToolRun object = runTool({"detect", "--json", "-"}, bundled("page-scan.png"));
    EXPECT_EQ(objectsOf(object).at(0)["format"], "png");
    EXPECT_EQ(objectsOf(object).at(0)["file"], "-");
    EXPECT_EQ(runTool({"detect", "-"}).err, "skylevel: (standard input): empty file\n");
    EXPECT_EQ(runTool({"detect", "-"}, "").err, "skylevel: (standard input): Bad file descriptor\n");
    // Both are endless or nothing to read; neither may be swallowed first.
    EXPECT_EQ(runTool({"detect", "/dev/zero"}).err, "skylevel: /dev/zero: not a JPEG, PNG, WebP or HEIC file\n");
    EXPECT_EQ(runTool({"detect", "/"}).err, "skylevel: /: is a folder; -r takes the photos in it\n");
}

TEST(Detect, KeepsOddNamesAwayFromTerminalAndJson) {
    const TemporaryFolder folder;
    // With a mark in it that lets the rest run to the left.
    const std::string name = folder.file("a\x7F\033[31m\xC2\x9B\xFF\n\xC3\xA9\xE2\x80\xAEgpj.png");
    EXPECT_EQ(
        runTool({"detect", name}).err,
        "skylevel: " + folder.file("a\\x7F\\x1B[31m\\xC2\\x9B\\xFF\\x0A\xC3\xA9\\xE2\\x80\\xAEgpj.png: No such file or "
                                   "directory\n"));
    const ToolRun run = runTool({"detect", "--json", name});
    ASSERT_EQ(objectsOf(run).size(), 1U);
    EXPECT_TRUE(std::all_of(run.out.begin(), run.out.end() - 1, [](char byte) { return byte >= ' ' && byte < 0x7F; }));
    const std::string valid = folder.file("a\x7F\033[31m\xC2\x9B\xEF\xBF\xBD\n\xC3\xA9\xE2\x80\xAEgpj.png");
    EXPECT_EQ(objectsOf(run)[0]["file"], valid);
    EXPECT_TRUE(runTool({"detect", "--csv", name})
                    .out.ends_with("\r\n\"" + valid + "\",,,,,,,,,,,,,,No such file or directory\r\n"));
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
    runTool({"detect", "--csv", name}, "/dev/null", ::ptsname(terminal));
    std::string shown(4096, '\0');
    shown.resize(static_cast<std::size_t>(std::max<ssize_t>(0, ::read(terminal, shown.data(), shown.size()))));
    ::close(terminal);
    EXPECT_NE(shown.find("a\\x7F\\x1B[31m\\xC2\\x9B\xEF\xBF\xBD\\x0A\xC3\xA9\\xE2\\x80\\xAEgpj.png,"),
              std::string::npos)
        << shown;
    // The argument parser takes brackets for a list, another for its end, and others for numbers.
    for (const std::string odd : {"[a,b]", "++"})
        EXPECT_EQ(runTool({"detect", odd}).err, "skylevel: ./" + odd + ": No such file or directory\n");
    EXPECT_EQ(runTool({"detect", "--", "-.5"}).err, "skylevel: -.5: No such file or directory\n");
}

TEST(Detect, HonoursAllOrientations) {
    const TemporaryFolder folder;
    const skylevel::Picture upright = tallScene(400, 800, 740.0, 770.0);
    const double angle = std::atan2(30.0, 400.0) * 180.0 / 3.141592653589793;
    for (unsigned exif = 1; exif <= 8; ++exif) {
        const skylevel::Picture stored = storedFor(upright, exif);
        const skylevel::Bytes rows(stored.row(0), stored.row(0) + stored.rowBytes() * stored.height);
        writeBytes(
            folder.file("p"),
            makePng(
                {stored.width, stored.height, PNG_COLOR_TYPE_RGB, 8, false, rows, {}, exifBlock(exif), exif % 2 == 0}));
        writeBytes(folder.file("j"), withExif(makeJpeg(stored, JpegKind::baseline), exifBlock(exif, false)));
        const std::vector<Json> objects = objectsOf(runTool({"detect", "--json", folder.file("p"), folder.file("j")}));
        ASSERT_EQ(objects.size(), 2U);
        for (const Json& object : objects) {
            SCOPED_TRACE(object.dump());
            EXPECT_EQ(object["verdict"], "top edge");
            EXPECT_NEAR(object["angle"], angle, 0.25);
            EXPECT_EQ(object["width"], 400);
            EXPECT_EQ(object["height"], 800);
            // Turned by a quarter, the scene is squeezed to twice its width and half its height.
            const double squeezed = std::atan2(30.0 / 4, 400.0) * 180.0 / 3.141592653589793;
            EXPECT_NEAR(object["decisionAngle"], exif < 5 ? angle : squeezed, 0.15);
            EXPECT_EQ(object["decisionAngle"] == object["angle"], exif < 5);
        }
    }
    // Told otherwise, the file's own orientation does not count.
    const Json forced = objectsOf(runTool({"detect", "--json", "--orientation", "0", folder.file("p")})).at(0);
    EXPECT_EQ(forced["width"], 800);
    EXPECT_EQ(forced["turn"], 0);
}

TEST(Detect, ShowsTheLogOnRequestOnly) {
    const std::string sea = bundled("sea-breaker.jpg");
    EXPECT_EQ(runTool({"detect", sea}).err, "");
    const ToolRun run = runTool({"detect", "--log", sea});
    EXPECT_NE(run.err.find("TILT_CORRECTION: smallWidth is: 1600, smallHeight is: 898, imageAngle is: 0\n"),
              std::string::npos);
    EXPECT_EQ(linesOf(run.out).size(), 1U);
}

}  // namespace
