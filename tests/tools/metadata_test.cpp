// What a straightened photo's file says beside its pixels.
#include "tools/metadata.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <tuple>

#include "tests/tools/made_photos.h"
#include "tests/tools/tool_process.h"
#include "tools/jpeg_segments.h"
#include "tools/jpeg_writer.h"
#include "tools/png_chunks.h"
#include "tools/png_writer.h"

using skylevel::Bytes;

namespace {

using Json = nlohmann::json;

// What exiftool prints; nothing when it fails.
std::string exiftool(const std::string& arguments) {
    FILE* const pipe = popen(("exiftool " + arguments).c_str(), "r");
    std::string text;
    char buffer[4096];
    for (std::size_t count; (count = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0;) text.append(buffer, count);
    return pclose(pipe) == 0 ? text : "";
}

bool hasExiftool() { return !exiftool("-ver 2>/dev/null").empty(); }

// Everything exiftool can tell of a file, binary values and what it finds wrong included.
Json tagsOf(const std::string& file) {
    return Json::parse(exiftool("-j -a -G1 -u -U -b -n -all -validate " + file)).at(0);
}

// All but what a new picture has to change.
Json unchanging(Json tags) {
    for (auto tag = tags.begin(); tag != tags.end();) {
        const std::string name = tag.key().substr(tag.key().find(':') + 1);
        const bool changes = name == "SourceFile" || name == "ImageWidth" || name == "ImageHeight" ||
                             name == "ExifImageWidth" || name == "ExifImageHeight" || name == "Orientation" ||
                             tag.key().starts_with("System:") || tag.key().starts_with("Composite:") ||
                             tag.key().starts_with("IFD1:");
        tag = changes ? tags.erase(tag) : std::next(tag);
    }
    return tags;
}

// The least that passes for a colour profile: a header and one tag.
Bytes profile() {
    Bytes bytes(160, 0);
    const auto put = [&](std::ptrdiff_t at, std::string_view text) {
        std::copy(text.begin(), text.end(), bytes.begin() + at);
    };
    bytes[3] = 160;
    put(12, "mntrRGB XYZ ");
    put(36, "acsp");
    bytes[131] = 1;
    put(132, "cprt");
    bytes[139] = 144;
    bytes[143] = 16;
    put(144, "text");
    put(152, "Nobody");
    return bytes;
}

// Empty when WebP is not built in.
Bytes webpOf(const skylevel::Picture& picture) {
    const skylevel::Format& webp = skylevel::formatOf(skylevel::PhotoFormat::webp);
    if (webp.encode == nullptr) return {};
    skylevel::Photo photo;
    photo.picture = skylevel::turned(picture, 0);
    return webp.encode(photo, 90);
}

const std::string richTags =
    " -Make=Maker -Model='Model 1' -DateTimeOriginal='2020:02:03 04:05:06' -ExifImageWidth=1125 -ExifImageHeight=630"
    " -UserComment='a comment' -GPSLatitude=48.5 -GPSLatitudeRef=N -GPSLongitude=11.25 -GPSLongitudeRef=E"
    " -GPSAltitude=500 -XMP:Title='A title' -XMP-tiff:Orientation#=3 -XMP:Subject=one -XMP:Subject=two ";

TEST(Metadata, IsKeptAsExiftoolReadsIt) {
    if (!hasExiftool()) GTEST_SKIP() << "exiftool is not installed";
    const TemporaryFolder folder;
    writeBytes(folder.file("profile"), profile());
    const skylevel::Picture noise = noisyPicture(64, 48);
    const struct {
        std::string name;
        Bytes photo;
        std::string tags;
        std::string widthTag;
        std::vector<std::string> kept;
    } cases[] = {{"photo.jpg",
                  bytesOf(bundled("sea-breaker-p09.jpg")),
                  "-IPTC:Keywords=key -IPTC:Caption-Abstract='A caption' -Comment='a jpeg comment' '-ThumbnailImage<=" +
                      bundled("odd-1x1.jpg") + "'",
                  "File:ImageWidth",
                  {"ExifIFD:DateTimeOriginal", "GPS:GPSLatitude", "XMP-dc:Subject", "IPTC:Keywords",
                   "ICC-header:ProfileClass", "File:Comment"}},
                 {"photo.png",
                  skylevel::encodePng(noise),
                  "-PNG:Author=Me -PNG:PixelsPerUnitX=3000 -PNG:PixelsPerUnitY=3000",
                  "PNG:ImageWidth",
                  {"ExifIFD:DateTimeOriginal", "GPS:GPSLatitude", "XMP-dc:Subject", "PNG:Author",
                   "ICC-header:ProfileClass", "PNG-pHYs:PixelsPerUnitX"}},
                 {"photo.webp",
                  webpOf(noise),
                  "",
                  "RIFF:ImageWidth",
                  {"ExifIFD:DateTimeOriginal", "GPS:GPSLatitude", "XMP-dc:Subject", "ICC-header:ProfileClass"}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.photo.empty()) continue;  // a format that is not built in
        const std::string photo = folder.file(c.name);
        const std::string out = folder.file("out-" + c.name);
        writeBytes(photo, c.photo);
        exiftool("-q -overwrite_original -Orientation#=3 '-ICC_Profile<=" + folder.file("profile") + "' " + c.tags +
                 richTags + photo);
        EXPECT_EQ(runTool({"straighten", "--angle", "3", "-o", out, photo}).err, "");
        const Json before = tagsOf(photo);
        const Json after = tagsOf(out);
        for (const std::string& tag : c.kept) EXPECT_TRUE(before.contains(tag)) << tag;
        EXPECT_EQ(unchanging(after), unchanging(before));
        EXPECT_EQ(after["IFD0:Orientation"], 1);
        EXPECT_EQ(after["XMP-tiff:Orientation"], 1);
        EXPECT_EQ(after["ExifIFD:ExifImageWidth"], after[c.widthTag]);
        EXPECT_EQ(before.contains("IFD1:ThumbnailImage"), c.name == "photo.jpg");
        EXPECT_FALSE(after.contains("IFD1:ThumbnailImage"));
    }
}

Bytes operator+(std::string_view start, const Bytes& rest) {
    Bytes bytes(start.begin(), start.end());
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    return bytes;
}

const std::vector<std::string> filmLost = {"not kept: 6 bytes behind the picture, such as further pictures or a film"};

using Segments = std::vector<std::pair<int, Bytes>>;

Bytes jpegWith(const Segments& segments, std::string_view behind) {
    const Bytes plain = skylevel::encodeJpeg(noisyPicture(8, 8), {}, 90);
    Bytes file(plain.begin(), plain.begin() + 2);
    for (const auto& [marker, data] : segments) skylevel::appendSegment(file, static_cast<unsigned char>(marker), data);
    file.insert(file.end(), plain.begin() + 2, plain.end());
    file.insert(file.end(), behind.begin(), behind.end());
    return file;
}

TEST(Metadata, ChangesOnlyTheSegmentsOfAJpegThatWouldBeWrong) {
    using namespace std::string_view_literals;
    const auto xmp = "http://ns.adobe.com/xap/1.0/\0<tiff:Orientation>6</tiff:Orientation> tiff:Orientation = '8'"sv;
    const auto xmpUpright =
        "http://ns.adobe.com/xap/1.0/\0<tiff:Orientation>1</tiff:Orientation> tiff:Orientation = '1'"sv;
    const Bytes icc = "ICC_PROFILE\0\1\1tiff:Orientation=6"sv + Bytes(70, 3);
    const Segments before = {{0xFE, "first"sv + Bytes()},
                             {0xE0, "JFIF\0\1\2\1\0H\0H\1\1abc"sv + Bytes()},
                             {0xE0, "JFXX\0\20"sv + Bytes(9, 9)},
                             {0xE1, "Exif\0\0"sv + exifBlock(6)},
                             {0xE1, "Exif\0\0"sv + exifBlock(8)},
                             {0xE1, xmp + Bytes()},
                             {0xE2, "MPF\0II"sv + Bytes(20, 1)},
                             {0xE2, icc},
                             {0xEE, "Adobe\0d\0\0\0\0\1"sv + Bytes()},
                             {0xEB, Bytes(65533, 7)},
                             {0xFE, {}}};
    Segments after = before;
    after[1].second = "JFIF\0\1\2\1\0H\0H\0\0"sv + Bytes();
    after[3].second = "Exif\0\0"sv + exifBlock(1);
    for (const bool turned : {false, true}) {
        after[5].second = (turned ? xmpUpright : xmp) + Bytes();
        Segments expected = after;
        expected.erase(expected.begin() + 6);
        expected.erase(expected.begin() + 2);
        const Bytes file = jpegWith(before, turned ? "a film"sv : "\0\0"sv);
        skylevel::Photo photo = skylevel::decodePhoto(file, skylevel::PixelWish::stored, 64);
        EXPECT_EQ(photo.orientation.turn, 90);
        photo.orientation.turn = turned ? 90 : 0;
        const Bytes encoded = jpegWith({}, "");
        const auto carried = skylevel::carryMetadata(file, photo, encoded, 8, 8);
        EXPECT_EQ(carried.bytes, jpegWith(expected, ""));
        EXPECT_EQ(carried.warnings, turned ? filmLost : std::vector<std::string>());
    }
}

TEST(Metadata, KeepsTheChunksOfAPngThatStillHold) {
    using namespace std::string_view_literals;
    const Bytes plain = skylevel::encodePng(noisyPicture(8, 8));
    const Bytes xmp = "XML:com.adobe.xmp\0\0\0\0\0tiff:Orientation=\"3\""sv + Bytes();
    const Bytes xmpUpright = "XML:com.adobe.xmp\0\0\0\0\0tiff:Orientation=\"1\""sv + Bytes();
    // Type, data, data afterwards; the last two stand behind the pixels.
    const std::vector<std::tuple<std::string_view, Bytes, std::optional<Bytes>>> chunks = {
        {"gAMA", {0, 0, 1, 1}, Bytes{0, 0, 1, 1}},
        {"sBIT", {5, 5, 5}, {}},
        {"bKGD", {0, 1, 0, 1, 0, 1}, {}},
        {"acTL", {0, 0, 0, 2, 0, 0, 0, 0}, {}},
        {"prVt", Bytes(5, 5), Bytes(5, 5)},
        {"prVT", Bytes(5, 5), {}},
        {"iTXt", xmp, xmpUpright},
        {"eXIf", exifBlock(3), exifBlock(1)},
        {"tIME", Bytes(7, 1), Bytes(7, 1)}};
    Bytes before(plain.begin(), plain.begin() + 33);  // to the end of IHDR
    Bytes expected = before;
    for (std::size_t i = 0; i < chunks.size(); ++i) {
        const auto& [type, data, dataAfter] = chunks[i];
        if (i + 2 == chunks.size())
            for (Bytes* file : {&before, &expected}) file->insert(file->end(), plain.begin() + 33, plain.end() - 12);
        skylevel::appendChunk(before, type, data);
        if (dataAfter) skylevel::appendChunk(expected, type, *dataAfter);
    }
    for (Bytes* file : {&before, &expected}) file->insert(file->end(), plain.end() - 12, plain.end());
    for (const char letter : "a film"sv) before.push_back(static_cast<unsigned char>(letter));
    const skylevel::Photo photo = skylevel::decodePhoto(before, skylevel::PixelWish::stored, 64);
    const auto carried = skylevel::carryMetadata(before, photo, plain, 8, 8);
    EXPECT_EQ(carried.bytes, expected);
    EXPECT_EQ(carried.warnings,
              (std::vector<std::string>{"not kept: all but the first picture of an animation", filmLost[0]}));
}

}  // namespace
